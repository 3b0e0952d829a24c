// Package records as the commands read and show them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Json.h"
#include "Table.h"
#include "ZnPackageInfo.h"

// The largest update description that is read, in bytes: more than a policy can hold.
constexpr size_t kMaxDescriptionSize = size_t{64} << 20;

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
