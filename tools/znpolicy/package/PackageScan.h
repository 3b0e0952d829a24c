// Finding package zips without changing anything.
#pragma once

#include <string>
#include <vector>

#include "ZnPackageInfo.h"

// Returns the records that ZnVcUpdate::ZnScanLocalZipFiles finds below an existing directory.
std::vector<ZnPackageInfo> ScanZips(const std::string& directory);
