#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "PackageScan.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

namespace {

namespace fs = std::filesystem;

TEST(PackageScan, FindsWhatTheLibraryFindsAndCreatesNothing) {
    const TemporaryDirectory directory;
    fs::create_directories(directory / "zips/sub.zip");
    WriteFile(directory / "zips/a.zip", "contents of a");
    WriteFile(directory / "zips/b.zip.bak", "contents of b");
    WriteFile(directory / "zips/b_Release.zip", "a bundle");
    WriteFile(directory / "zips/c.txt", "no zip");
    WriteFile(directory / "zips/d.zip", "1");
    WriteFile(directory / "zips/sub.zip/e.txt", "below a directory that looks like a zip");
    WriteFile(directory / ("zips/" + std::string(59, 'x') + ".zip"), "63 bytes");
    WriteFile(directory / ("zips/" + std::string(60, 'x') + ".zip"), "64 bytes");
    const std::string process = directory / "process";
    setenv("ZN_PROCESS_DIRECTORY", process.c_str(), 1);

    const std::vector<ZnPackageInfo> records = ScanZips(directory / "zips");
    EXPECT_FALSE(fs::exists(process));

    fs::create_directory(process);
    std::vector<ZnPackageInfo> expected;
    ASSERT_EQ(ZnVcUpdate::ZnScanLocalZipFiles(directory / "zips", expected), 0);
    unsetenv("ZN_PROCESS_DIRECTORY");
    ASSERT_EQ(records.size(), 5U);
    ASSERT_EQ(expected.size(), records.size());
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(std::memcmp(&records[i], &expected[i], sizeof expected[i]), 0)
            << expected[i].packageName;
    }
}

}  // namespace
