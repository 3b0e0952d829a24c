#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <utility>

#include "LogSettings.h"

namespace {

LogSettings SettingsFor(const char* level, const char* file) {
    setenv("ZN_LOG_LEVEL", level, 1);
    setenv("ZN_LOG_FILE", file, 1);
    LogSettings settings = ReadLogSettings();
    unsetenv("ZN_LOG_LEVEL");
    unsetenv("ZN_LOG_FILE");
    return settings;
}

}  // namespace

TEST(LogSettingsTest, DefaultsAreInfoAndStandardError) {
    const LogSettings settings = SettingsFor("", "");
    EXPECT_EQ(settings.threshold, 3);
    EXPECT_EQ(settings.file, "");
    EXPECT_EQ(settings.complaint, "");
}

TEST(LogSettingsTest, AcceptsLevelsByNameAndNumber) {
    const std::pair<const char*, int> cases[] = {
        {"off", 0}, {"error", 1}, {"warning", 2}, {"info", 3}, {"debug", 4}, {"Debug", 4},
        {"0", 0},   {"1", 1},     {"2", 2},       {"3", 3},    {"4", 4},
    };
    for (const auto& [text, threshold] : cases) {
        EXPECT_EQ(SettingsFor(text, "").threshold, threshold) << text;
        EXPECT_EQ(SettingsFor(text, "").complaint, "") << text;
    }
}

TEST(LogSettingsTest, ComplainsAboutOtherLevels) {
    for (const char* text : {"loud", "5", "-1", "3 ", "00"}) {
        const LogSettings settings = SettingsFor(text, "");
        EXPECT_EQ(settings.threshold, 3) << text;
        EXPECT_THAT(settings.complaint, testing::HasSubstr(text));
    }
}

TEST(LogSettingsTest, MakesFileAbsolute) {
    EXPECT_EQ(SettingsFor("", "/a/zn.log").file, "/a/zn.log");
    EXPECT_EQ(SettingsFor("", "zn.log").file,
              (std::filesystem::current_path() / "zn.log").string());
}
