// Creating a package zip from a directory.
#pragma once

#include <string>

#include "PackageCheck.h"

// Writes the zip `zipPath` from `directory`, which contains FileList.ini and the payload in
// Common/. Only the manifest and the files it lists go into the zip. Returns the findings of
// CheckPackage; with errors among them, nothing is written and an older zip is kept. Throws
// std::runtime_error when the directory cannot be read or the zip cannot be written.
PackageReport BuildPackage(const std::string& directory, const std::string& zipPath);
