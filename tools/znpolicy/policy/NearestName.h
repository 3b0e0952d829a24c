// Guessing which name was meant by a misspelt one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns the choice nearest to `name`, ignoring case; "" if more than a third of the name would
// have to change.
std::string NearestName(std::string_view name, const std::vector<std::string>& choices);
