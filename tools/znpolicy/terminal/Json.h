// JSON answers of the commands.
#pragma once

#include <nlohmann/json.hpp>

// Keeps members in the order they are added.
using Json = nlohmann::ordered_json;

// Prints a document to standard output. Bytes that are not UTF-8 become U+FFFD.
void PrintJson(const Json& document);
