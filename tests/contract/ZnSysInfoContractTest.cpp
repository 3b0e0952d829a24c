#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "ZnSysInfo.h"

namespace {

TEST(ZnSysInfoContractTest, DirectoryOfExecutableIsReturned) {
    const std::string directory = ZnSysInfo::GetCurrentProcessDirectory();
    EXPECT_EQ(directory, std::filesystem::canonical("/proc/self/exe").parent_path().string());
}

TEST(ZnSysInfoContractTest, WorkingDirectoryDoesNotMatter) {
    const std::string before = ZnSysInfo::GetCurrentProcessDirectory();
    const std::filesystem::path working = std::filesystem::current_path();
    std::filesystem::current_path("/");
    EXPECT_EQ(ZnSysInfo::GetCurrentProcessDirectory(), before);
    std::filesystem::current_path(working);
}

}  // namespace
