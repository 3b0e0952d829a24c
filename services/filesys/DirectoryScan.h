// Listing the files of a directory tree.
#pragma once

#include <string>
#include <vector>

// Appends the paths of all regular files below `directory` to `files`, in no particular order.
// `directory` must end in "/" and is the prefix of every path; it may be a link. Links below it are
// neither followed nor listed, even if they replace a directory during the scan. Returns false when
// a directory could not be read; the others are listed nevertheless.
bool ScanDirectory(const std::string& directory, std::vector<std::string>& files);
