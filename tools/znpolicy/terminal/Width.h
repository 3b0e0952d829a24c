// Fitting text into a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Returns the width of the terminal that `descriptor` is: the environment variable COLUMNS if it is
// a positive number, else what the terminal says, else 80.
std::size_t TerminalWidth(int descriptor);

// Returns the number of characters, not of bytes.
std::size_t TextWidth(const std::string& text);

// Breaks a text at spaces into lines of at most `width` characters. A longer word is not broken.
std::vector<std::string> WrapWords(const std::string& text, std::size_t width);
