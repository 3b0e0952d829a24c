// JSON output of the commands.
#pragma once

#include <nlohmann/json.hpp>

// Keeps members in the order they are added.
using Json = nlohmann::ordered_json;

// Prints a document to standard output as ASCII: other characters are escaped, so that none can
// change how a terminal displays the line. Bytes that are not UTF-8 become U+FFFD.
void PrintJson(const Json& document);
