// Tables and numbers for people to read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Formats a number of bytes: "512 B", "8.0 MiB".
std::string HumanSize(int64_t bytes);

// A table with a line of headings and columns as wide as their widest cell.
class Table {
   public:
    explicit Table(std::vector<std::string> headings);

    // One cell for each column; escaped when printed (see EscapeText.h).
    void AddRow(const std::vector<std::string>& cells);

    bool IsEmpty() const {
        return rows_.size() == 1;
    }

    // Prints the table to standard output. On a terminal, cells are broken between words where the
    // table would be wider than the terminal.
    void Print() const;

    // Returns the table as text of at most `width` characters a line, where words allow that.
    std::string Text(std::size_t width) const;

   private:
    std::vector<std::size_t> ColumnWidths(std::size_t width) const;

    std::vector<std::vector<std::string>> rows_;
};
