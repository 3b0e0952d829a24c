// Package records as the commands read and show them.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "Output.h"
#include "ZnPackageInfo.h"

// The text of a record's field, which may lack its NUL.
template <size_t N>
std::string FieldText(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}

// The records of an update description, plain JSON or Base64 of it. `name` stands for the text in
// messages. Throws std::runtime_error when it gives no records.
std::vector<ZnPackageInfo> ParseUpdateDescription(const std::string& text, const std::string& name);

// Takes the update description of a terminal from its policy through the library, which stores it,
// and returns its text. Throws std::runtime_error, with the reason, when the library refuses it.
std::string TakeUpdateDescription(int terminalId);

// The same text without storing it, for commands that touch nothing. Throws for the same reasons,
// but for those of storing.
std::string PeekUpdateDescription(int terminalId);

// All fields, as the update description names them; the size as a number.
Json RecordsToJson(const std::vector<ZnPackageInfo>& records);

void PrintRecords(const std::vector<ZnPackageInfo>& records);
