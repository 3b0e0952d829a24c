#include "Table.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <limits>
#include <numeric>

#include "EscapeText.h"
#include "Width.h"

// Spaces between columns.
static constexpr size_t kGap = 2;

std::string HumanSize(int64_t bytes) {
    static const char* const kUnits[] = {"KiB", "MiB", "GiB"};
    if (bytes < 1024) {
        return std::to_string(bytes) + " B";
    }
    double size = static_cast<double>(bytes) / 1024;
    size_t unit = 0;
    while (size >= 1024 && unit + 1 < std::size(kUnits)) {
        size /= 1024;
        ++unit;
    }
    std::array<char, 32> text = {};
    (void)std::snprintf(text.data(), text.size(), "%.1f %s", size, kUnits[unit]);
    return text.data();
}

// The width of the longest word.
static size_t LongestWord(const std::string& cell) {
    size_t longest = 0;
    for (const std::string& word : WrapWords(cell, 1)) {
        longest = std::max(longest, TextWidth(word));
    }
    return longest;
}

Table::Table(std::vector<std::string> headings) : rows_({std::move(headings)}) {}

void Table::AddRow(const std::vector<std::string>& cells) {
    std::vector<std::string> row;
    std::transform(cells.begin(), cells.end(), std::back_inserter(row),
                   [](const std::string& cell) { return Escaped(cell); });
    rows_.push_back(std::move(row));
}

// Returns the greatest measure of the cells of each column.
static std::vector<size_t> Widest(const std::vector<std::vector<std::string>>& rows,
                                  size_t (*measure)(const std::string&)) {
    std::vector<size_t> widths(rows.front().size(), 0);
    for (const auto& row : rows) {
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], measure(row[i]));
        }
    }
    return widths;
}

static size_t TotalOf(const std::vector<size_t>& widths) {
    return std::accumulate(widths.begin(), widths.end(), kGap * (widths.size() - 1));
}

// Returns the widths of the columns: as wide as their widest cells, or narrower, but not than their
// longest words, if the table would be wider than `width`.
std::vector<size_t> Table::ColumnWidths(size_t width) const {
    std::vector<size_t> widths = Widest(rows_, TextWidth);
    if (TotalOf(widths) <= width) {
        return widths;
    }
    const std::vector<size_t> least = Widest(rows_, LongestWord);
    for (size_t i = 0; i < widths.size(); ++i) {
        widths[i] = std::max(least[i], std::min(widths[i], width));
    }
    for (size_t total = TotalOf(widths); total > width; --total) {
        size_t widest = widths.size();  // of those that can be narrower
        for (size_t i = 0; i < widths.size(); ++i) {
            if (widths[i] > least[i] && (widest == widths.size() || widths[i] > widths[widest])) {
                widest = i;
            }
        }
        if (widest == widths.size()) {
            break;
        }
        --widths[widest];
    }
    return widths;
}

// Returns a row as one line or, if cells are broken, several.
static std::string RowText(const std::vector<std::string>& row, const std::vector<size_t>& widths) {
    std::vector<std::vector<std::string>> cells;
    size_t height = 1;
    for (size_t i = 0; i < row.size(); ++i) {
        cells.push_back(TextWidth(row[i]) > widths[i] ? WrapWords(row[i], widths[i])
                                                      : std::vector<std::string>{row[i]});
        height = std::max(height, cells.back().size());
    }
    std::string text;
    for (size_t y = 0; y < height; ++y) {
        std::string line;
        size_t padding = 0;
        for (size_t i = 0; i < cells.size(); ++i) {
            const std::string part = y < cells[i].size() ? cells[i][y] : "";
            line.append(padding, ' ').append(part);
            padding = widths[i] - std::min(widths[i], TextWidth(part)) + kGap;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

std::string Table::Text(size_t width) const {
    const std::vector<size_t> widths = ColumnWidths(width);
    std::string text;
    for (const auto& row : rows_) {
        text += RowText(row, widths);
    }
    return text;
}

void Table::Print() const {
    const bool isTerminal = isatty(STDOUT_FILENO) != 0;
    std::cout << Text(isTerminal ? TerminalWidth(STDOUT_FILENO)
                                 : std::numeric_limits<size_t>::max());
}
