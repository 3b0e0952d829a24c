// How the commands print: tables for people, JSON for programs.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// Keeps members in the order they are added.
using Json = nlohmann::ordered_json;

// Prints a document to standard output. Bytes that are not UTF-8 become U+FFFD.
void PrintJson(const Json& document);

// `text` on one line: control characters and bytes that are not UTF-8 are shown as \n, \t or \x1b,
// a backslash as \\.
std::string Printable(const std::string& text);

// A number of bytes for people: "512 B", "8.0 MiB".
std::string HumanSize(int64_t bytes);

// A table with a line of headings and columns as wide as their widest cell.
class Table {
   public:
    explicit Table(std::vector<std::string> headings);

    // One cell a column; made printable.
    void AddRow(const std::vector<std::string>& cells);

    bool IsEmpty() const {
        return rows_.size() == 1;
    }

    // Prints the table to standard output.
    void Print() const;

   private:
    std::vector<std::vector<std::string>> rows_;
};
