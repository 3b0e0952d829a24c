// Making a package zip from a folder.
#pragma once

#include <string>

#include "PackageCheck.h"

// Writes the zip `zipPath` from the folder `directory`, which holds FileList.ini and Common/ with
// the payload: the manifest and the files it lists, nothing else. Returns what CheckPackage finds;
// when that has errors, no zip is left and one that was there stays. Throws std::runtime_error when
// the folder cannot be read or the zip not be written.
PackageReport BuildPackage(const std::string& directory, const std::string& zipPath);
