#include <gtest/gtest.h>

#include <set>
#include <string>

#include "TemporaryDirectory.h"
#include "ZnIni.h"

namespace {

class ZnIniContractTest : public testing::Test {
   protected:
    ZnIniContractTest() {
        WriteFile(file_, "[os]\nplatform=Model-A\nempty=\n\n[VERSION]\nb.so=/usr/lib\na.so=/opt\n");
    }

    // The value of `key`, or "missing".
    std::string Get(const char* section, const char* key, const std::string& file) const {
        char buffer[260] = {};
        const int status = IniGetString(section, key, "", buffer, 259, file.c_str());
        return status == 0 ? buffer : "missing";
    }

    const TemporaryDirectory directory_;
    const std::string file_ = directory_ / "file.ini";
};

TEST_F(ZnIniContractTest, ValueIsFoundBySectionAndKey) {
    EXPECT_EQ(Get("os", "platform", file_), "Model-A");
    EXPECT_EQ(Get("VERSION", "a.so", file_), "/opt");
    EXPECT_EQ(Get("os", "empty", file_), "");
}

TEST_F(ZnIniContractTest, MissingKeySectionOrFileIsFailure) {
    EXPECT_EQ(Get("os", "a.so", file_), "missing");
    EXPECT_EQ(Get("none", "platform", file_), "missing");
    EXPECT_EQ(Get("os", "platform", directory_ / "none"), "missing");
    EXPECT_EQ(Get(nullptr, "platform", file_), "missing");
    EXPECT_EQ(Get("os", nullptr, file_), "missing");
}

TEST_F(ZnIniContractTest, BufferHoldsDefaultAfterFailure) {
    char buffer[16] = "old";
    EXPECT_NE(IniGetString("os", "none", "default", buffer, sizeof buffer, file_.c_str()), 0);
    EXPECT_STREQ(buffer, "default");
}

TEST_F(ZnIniContractTest, LongValueIsTruncatedToBuffer) {
    WriteFile(file_, "[s]\nlong=" + std::string(1000, 'x') + "\n");
    EXPECT_EQ(Get("s", "long", file_), std::string(258, 'x'));
}

TEST_F(ZnIniContractTest, NumberIsReadOrDefaultReturned) {
    WriteFile(file_, "[s]\none=1\nnegative=-7\nword=on\n");
    EXPECT_EQ(IniGetInt("s", "one", 0, file_.c_str()), 1);
    EXPECT_EQ(IniGetInt("s", "negative", 0, file_.c_str()), -7);
    EXPECT_EQ(IniGetInt("s", "word", 5, file_.c_str()), 5);
    EXPECT_EQ(IniGetInt("s", "none", 5, file_.c_str()), 5);
    EXPECT_EQ(IniGetInt("s", "one", 5, (directory_ / "none").c_str()), 5);
}

TEST_F(ZnIniContractTest, KeysOfSectionAreListed) {
    std::set<std::string> keys{"old"};
    EXPECT_EQ(IniGetStringItems("VERSION", keys, file_.c_str()), 0);
    EXPECT_EQ(keys, (std::set<std::string>{"a.so", "b.so"}));
}

TEST_F(ZnIniContractTest, MissingSectionOrFileHasNoKeys) {
    std::set<std::string> keys{"old"};
    EXPECT_NE(IniGetStringItems("none", keys, file_.c_str()), 0);
    EXPECT_TRUE(keys.empty());
    EXPECT_NE(IniGetStringItems("os", keys, (directory_ / "none").c_str()), 0);
}

TEST_F(ZnIniContractTest, ChangedFileIsReadAgain) {
    EXPECT_EQ(Get("os", "platform", file_), "Model-A");
    WriteFile(file_, "[os]\nplatform=Model-B\n");
    EXPECT_EQ(Get("os", "platform", file_), "Model-B");
}

}  // namespace
