// Listing the files of a directory tree.
#pragma once

#include <string>
#include <vector>

// Adds the paths of all regular files below `folder` to `files`, in no particular order. `folder`
// must end in "/"; every path is `folder` with the rest joined to it. Links are neither followed
// nor listed. Returns false when a directory could not be read; the others are listed all the same.
bool ScanFolder(const std::string& folder, std::vector<std::string>& files);
