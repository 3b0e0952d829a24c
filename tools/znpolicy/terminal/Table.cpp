#include "Table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <iterator>

#include "EscapeText.h"
#include "Utf8.h"

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

// Counts characters, not bytes.
static size_t Width(const std::string& cell) {
    return static_cast<size_t>(std::count_if(cell.begin(), cell.end(), StartsUtf8Character));
}

Table::Table(std::vector<std::string> headings) : rows_({std::move(headings)}) {}

void Table::AddRow(const std::vector<std::string>& cells) {
    std::vector<std::string> row;
    std::transform(cells.begin(), cells.end(), std::back_inserter(row),
                   [](const std::string& cell) { return Escaped(cell); });
    rows_.push_back(std::move(row));
}

void Table::Print() const {
    std::vector<size_t> widths(rows_.front().size(), 0);
    for (const auto& row : rows_) {
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], Width(row[i]));
        }
    }
    for (const auto& row : rows_) {
        std::string line;
        size_t padding = 0;
        for (size_t i = 0; i < row.size(); ++i) {
            line.append(padding, ' ').append(row[i]);
            padding = widths[i] - Width(row[i]) + 2;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::cout << line << '\n';
    }
}
