#include "PackageScan.h"

#include <cstddef>

#include "PackageSelection.h"
#include "Paths.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"

std::vector<ZnPackageInfo> ScanZips(const std::string& directory) {
    std::vector<std::string> files;
    ZnFile::ScanDirectoriesFiles(directory, files);
    std::vector<ZnPackageInfo> records;
    for (const std::string& path : files) {
        const std::string name = FileName(path);
        const auto size = static_cast<int32_t>(ZnFile::FileSize(path.c_str()));
        if (!Contains(path, ".zip") || IsReleaseBundle(name) || size < 2) {
            continue;
        }
        ZnPackageInfo record = {};
        record.size = size;
        const std::string digest = ZnSha256::FileSha256Value(path);
        digest.copy(record.sha256Hash, sizeof record.sha256Hash - 1);
        if (name.size() < sizeof record.packageName) {  // a longer name is left out
            name.copy(record.packageName, name.size());
        }
        records.push_back(record);
    }
    return records;
}
