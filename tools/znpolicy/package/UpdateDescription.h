// Update descriptions: the records of packages, from a file or from a terminal's policy.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ZnPackageInfo.h"

// The largest update description that is read from a file, in bytes: no policy can hold more.
constexpr size_t kMaxUpdateSize = size_t{64} << 20;

// Returns the records of an update description, plain JSON or Base64 of it, which messages call
// `name`. Throws std::runtime_error when there are none.
std::vector<ZnPackageInfo> ParseUpdate(const std::string& text, const std::string& name);

// Returns the records of the update description in a terminal's policy, which the library stores.
// Throws std::runtime_error, with the reason, when the library refuses it.
std::vector<ZnPackageInfo> TakeUpdate(int terminalId);

// Returns the same records without storing the description. Throws for the same reasons, except
// those of storing.
std::vector<ZnPackageInfo> PeekUpdate(int terminalId);

// Returns the same records even if there is no package tree to store the description in.
std::vector<ZnPackageInfo> ReadUpdate(int terminalId);
