// The calls of ZnConvertToVekPackInfo to the JSON service. The same number for each package makes
// its time linear. Replaces libZnJson with an array of any number of equal packages.
#include <map>
#include <string>
#include <vector>

#include "UpdateTest.h"
#include "ZnJson.h"

using testing::ElementsAre;

static int g_packages = 0;
static std::map<std::string, int> g_calls;
static std::vector<std::string> g_members;

struct ZnJson::Value::Impl {
    Value child;  // the array of the document, the package of the array
};

ZnJson::Value::Value() = default;
ZnJson::Value::Value(const std::string&) : impl_(std::make_unique<Impl>()) {
    ++g_calls["parse"];
    impl_->child.impl_ = std::make_unique<Impl>();
}
ZnJson::Value::~Value() = default;

ZnJson::Value& ZnJson::Value::operator[](const std::string& key) {
    EXPECT_EQ(key, "packageInfo");
    ++g_calls["member"];
    return impl_->child;
}

ZnJson::Value& ZnJson::Value::operator[](unsigned int index) {
    EXPECT_LT(index, static_cast<unsigned int>(g_packages));
    ++g_calls["element"];
    return impl_->child;
}

int ZnJson::Value::GetArraySize() const {
    ++g_calls["size"];
    return g_packages;
}

// A service may leave the target unchanged when the member is missing, as this one does for
// "version".
bool ZnJson::Value::Get(const std::string& key, std::string& value) const {
    ++g_calls["text"];
    g_members.push_back(key);
    if (key == "version") {
        return false;
    }
    value = key;
    return true;
}

// Needed by the linker only.
bool ZnJson::Value::Parse(const std::string&) {
    return false;
}
bool ZnJson::Value::GetJsonValue(const std::string&, int&) const {
    return false;
}
bool ZnJson::Value::IsEmpty() const {
    return !impl_;
}

class ConvertEffort : public UpdateTest {
   protected:
    // The calls for a description of `packages` packages.
    static std::map<std::string, int> CallsFor(int packages) {
        g_packages = packages;
        g_calls.clear();
        g_members.clear();
        std::vector<ZnPackageInfo> records;
        EXPECT_EQ(ZnVcUpdate::ZnConvertToVekPackInfo("{}", records), kSuccess);
        EXPECT_EQ(records.size(), static_cast<size_t>(packages));
        return g_calls;
    }
};

TEST_F(ConvertEffort, MakesSameNumberOfCallsForEachPackage) {
    const std::map<std::string, int> one = CallsFor(1);
    const std::map<std::string, int> two = CallsFor(2);
    const std::map<std::string, int> many = CallsFor(1001);
    for (const auto& [call, count] : many) {
        SCOPED_TRACE(call);
        EXPECT_EQ(count, one.at(call) + 1000 * (two.at(call) - one.at(call)));
    }
}

TEST_F(ConvertEffort, ParsesTextOnceAndReadsEachMemberOnce) {
    const std::map<std::string, int> calls = CallsFor(1000);
    EXPECT_EQ(calls.at("parse"), 1);
    EXPECT_EQ(calls.at("text"), 11 * 1000);
}

TEST_F(ConvertEffort, ReadsMembersInOrderOfRecord) {
    CallsFor(1);
    EXPECT_THAT(g_members, ElementsAre("application", "description", "downloadUrl",
                                       "downloadZipSha256Hash", "releaseDate", "microserviceName",
                                       "version", "platform", "packageName", "sha256Hash", "size"));
}

TEST_F(ConvertEffort, TreatsNegativeArraySizeAsEmpty) {
    g_packages = -1;
    std::vector<ZnPackageInfo> records;
    EXPECT_EQ(ZnVcUpdate::ZnConvertToVekPackInfo("{}", records), kFailure);
    EXPECT_TRUE(records.empty());
}
