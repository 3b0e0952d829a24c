// Services in processes that run out of memory: nothing throws.
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "FailingAllocation.h"
#include "IsolatedCheck.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnIni.h"
#include "ZnJson.h"
#include "ZnLogger.h"
#include "ZnSysInfo.h"

#ifdef __SANITIZE_ADDRESS__
// SimpleIni itself loses its buffer when memory runs out while it parses.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:CSimpleIniTempl";
}
#endif

namespace {

struct OutOfMemoryTest : testing::Test {
    TemporaryDirectory dir;
    std::string file = dir / "a file with a name longer than any small string";
};

}  // namespace

TEST_F(OutOfMemoryTest, ProcessDirectory) {
    EXPECT_TRUE(NeverThrows([] { ZnSysInfo::GetCurrentProcessDirectory(); }));
    setenv("ZN_PROCESS_DIRECTORY", "a relative directory with a rather long name", 1);
    EXPECT_TRUE(NeverThrows([] { ZnSysInfo::GetCurrentProcessDirectory(); }));
    unsetenv("ZN_PROCESS_DIRECTORY");
}

TEST_F(OutOfMemoryTest, Digest) {
    WriteFile(file, "contents");
    // The path is copied before memory runs out: the copy is the caller's.
    std::vector<std::string> paths(100, file);
    EXPECT_TRUE(NeverThrows([&] {
        std::string path = std::move(paths.back());
        paths.pop_back();
        ZnSha256::FileSha256Value(std::move(path));
    }));
}

TEST_F(OutOfMemoryTest, Files) {
    WriteFile(file, "contents");
    const std::string copy = file + ".copy";
    EXPECT_TRUE(NeverThrows([&] { ZnFile::ZnCopyFile(file.c_str(), copy.c_str()); }));
    EXPECT_EQ(ReadFile(copy), "contents");
    EXPECT_TRUE(NeverThrows([&] { ZnFile::WriteBinFile(copy.c_str(), "new", 3); }));
    EXPECT_EQ(ReadFile(copy), "new");
}

TEST_F(OutOfMemoryTest, DirectoryScan) {
    WriteFile(dir / "a directory with a long name/file", "");
    std::vector<std::string> paths(1000, dir.Path());
    std::vector<std::string> files;
    EXPECT_TRUE(NeverThrows([&] {
        std::string path = std::move(paths.back());
        paths.pop_back();
        files = {};
        ZnFile::ScanDirectoriesFiles(std::move(path), files);
    }));
    EXPECT_EQ(files.size(), 1U);
}

TEST_F(OutOfMemoryTest, IniFiles) {
    WriteFile(file, "[s]\na key with a rather long name = a value with a rather long text\n");
    char buffer[100] = {};
    EXPECT_TRUE(NeverThrows([&] {
        IniGetString("s", "a key with a rather long name", "", buffer, sizeof buffer, file.c_str());
    }));
    EXPECT_STREQ(buffer, "a value with a rather long text");
    std::set<std::string> keys;
    EXPECT_TRUE(NeverThrows([&] { IniGetStringItems("s", keys, file.c_str()); }));
    EXPECT_EQ(keys.size(), 1U);
}

TEST_F(OutOfMemoryTest, Json) {
    const std::string text = R"({"list":[{"s":"a string longer than any small string"}],"n":1})";
    const std::string list = "list";
    const std::string s = "s";
    const std::string n = "n";
    std::string value;
    int number = 0;
    EXPECT_TRUE(NeverThrows([&] {
        ZnJson::Value json(text);
        ZnJson::Value copy(json[list][0]);
        copy = json[list][0];
        copy.Get(s, value);
        json.GetJsonValue(n, number);
    }));
    EXPECT_EQ(value, "a string longer than any small string");
    EXPECT_EQ(number, 1);
}

TEST_F(OutOfMemoryTest, Logger) {
    ProcessOptions options;
    options.environment["ZN_LOG_FILE"] = file;
    ExpectHolds(InChild(
        [] {
            return NeverThrows([] {
                ZnLogger::GetInstance()->Log("f", 1, "F", " ", "", LogLevelError, "%s",
                                             "a text longer than any small string of the library");
            });
        },
        options));
    EXPECT_NE(ReadFile(file).find("records lost: "), std::string::npos);
}
