// ZnVmVekJsonUpdateInfo: reads, decodes, checks and stores the update description.
#include <algorithm>
#include <filesystem>

#include "UpdateTest.h"

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Not;

constexpr int kId = 4711;

static const std::string kStored =
    "/usr/local/vornserver/bin/microservices/Package/VEK_Microservices_UpdateInfo.json";
static const std::string kDebugFile =
    "/usr/local/PermanenceDataPath/Workspace/debug/DebugModulesConfigList.ini";
static const std::string kDescription =
    R"({"packageInfo": [{"packageName": "p", "platform": "x86_64", "sha256Hash": "00"}]})";

static Logged Says(const std::string& text) {
    return Progress("ZnVmVekJsonUpdateInfo", text);
}
static Logged Complains(const std::string& text) {
    return Failure("ZnVmVekJsonUpdateInfo", text);
}
static Logged Converts(const std::string& text) {
    return Progress("ConvertVcDetail", text);
}
static Logged Refuses(const std::string& text) {
    return Failure("ConvertVcDetail", text);
}

static Logged Passes(size_t length) {
    const std::string number = std::to_string(length);
    return Converts("Pass:len=" + number + ",vekJsonUpdateInfo.size=" + number);
}

static ScriptedPolicyStore::Items PolicyWith(const std::string& details) {
    return {{"PolicyName", "p"},
            {"VirtualChannelEnable", "1"},
            {"VirtualChannelOptionNames", "A@B"},
            {"VirtualChannelPluginDetails", details}};
}

static ScriptedPolicyStore::Items WithDebugItem(ScriptedPolicyStore::Items items,
                                                const std::string& description) {
    items["ThirdPartyPluginNames"] = description;
    return items;
}

static void SwitchDebugging(const std::string& debugVc) {
    ScriptedServices::Get().iniFiles[kDebugFile]["PolicyName"]["debugVc"] = debugVc;
    ScriptedFiles::Get().fixedFiles[kDebugFile] = "";
}

class UpdateDescription : public UpdateTest {
   protected:
    UpdateDescription() {
        std::filesystem::create_directories(Package());
    }

    int Read() {
        return ZnVcUpdate::ZnVmVekJsonUpdateInfo(kId, text_);
    }

    // The records until the formal item is read, then `rest`.
    static std::vector<Logged> AfterFormal(std::vector<Logged> rest) {
        std::vector<Logged> records = {Says("terminalId=4711"), Says("vcRegInfo=A@B"),
                                       Says("Formal:VirtualChannelPluginDetails")};
        records.insert(records.end(), rest.begin(), rest.end());
        return records;
    }

    static std::string Stored() {
        return ScriptedFiles::Get().fixedFiles.at(kStored);
    }
    static bool AnythingStored() {
        return ScriptedFiles::Get().fixedFiles.count(kStored) != 0;
    }

    std::string text_ = "from the last call";
};

// --- The formal item ---

TEST_F(UpdateDescription, ReturnsAndStoresPlainTextUnchanged) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kDescription));
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, kDescription);
    EXPECT_EQ(Stored(), kDescription);
    EXPECT_EQ(RecordingLogger::Records(),
              AfterFormal({Converts("plaintext"), Passes(kDescription.size())}));
    EXPECT_THAT(ScriptedFiles::Get().calls, ElementsAre("write " + kStored));
}

TEST_F(UpdateDescription, ReadsItemsInOrderWithoutDebugFile) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kDescription));
    Read();
    EXPECT_THAT(ScriptedPolicyStore::Calls(),
                ElementsAre("load 4711", "text PolicyName", "int VirtualChannelEnable",
                            "text VirtualChannelOptionNames", "text VirtualChannelPluginDetails"));
    EXPECT_THAT(ScriptedServices::Get().iniCalls, IsEmpty());
}

TEST_F(UpdateDescription, LogsSourceFile) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kDescription));
    Read();
    EXPECT_THAT(RecordingLogger::Origins(),
                AllOf(Not(IsEmpty()), Each(Field(&LogOrigin::file, "ZnVcUpdate.cpp"))));
}

TEST_F(UpdateDescription, LogsEmptyTextForMissingPluginNames) {
    ScriptedPolicyStore::Items items = PolicyWith(kDescription);
    items.erase("VirtualChannelOptionNames");
    ScriptedPolicyStore::Publish(kId, items);
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(RecordingLogger::Records()[1], Says("vcRegInfo="));
}

TEST_F(UpdateDescription, AcceptsAnyNonZeroSwitch) {
    for (const char* enable : {"1", "2", "-1"}) {
        ScriptedPolicyStore::Items items = PolicyWith(kDescription);
        items["VirtualChannelEnable"] = enable;
        ScriptedPolicyStore::Publish(kId, items);
        EXPECT_EQ(Read(), kSuccess);
    }
}

TEST_F(UpdateDescription, KeepsStoreOpenUntilTextIsStored) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kDescription));
    int accessors = -1;
    ScriptedFiles::Get().writeBinFile = [&](const std::string&, const std::string& data) {
        accessors = ScriptedPolicyStore::LiveAccessors();
        return static_cast<long long>(data.size());
    };
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(accessors, 1);
}

// --- What ends the reading early ---

TEST_F(UpdateDescription, FailsWithoutPackageDirectory) {
    std::filesystem::remove_all(Microservices());
    ScriptedPolicyStore::Publish(kId, PolicyWith(kDescription));
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(text_, "");
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Says("terminalId=4711"), Complains("Not Exsit:" + Package())));
    EXPECT_THAT(ScriptedPolicyStore::Calls(), IsEmpty());
}

TEST_F(UpdateDescription, FailsForMissingPolicy) {
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(text_, "");
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Says("terminalId=4711"),
                            Complains("LoadPolicyShareMemory Failed:terminalId=4711")));
    EXPECT_THAT(ScriptedPolicyStore::Calls(), ElementsAre("load 4711"));
}

TEST_F(UpdateDescription, FailsForMissingPolicyName) {
    ScriptedPolicyStore::Items items = PolicyWith(kDescription);
    items.erase("PolicyName");
    ScriptedPolicyStore::Publish(kId, items);
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(text_, "");
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Says("terminalId=4711"), Says("PolicyName Failed")));
    EXPECT_THAT(ScriptedPolicyStore::Calls(), ElementsAre("load 4711", "text PolicyName"));
}

TEST_F(UpdateDescription, FailsSilentlyWhenDisabled) {
    ScriptedPolicyStore::ScribbleOnFailure("scribble", 1);
    for (const char* enable : {"0", "on", ""}) {
        SCOPED_TRACE(enable);
        RecordingLogger::Clear();
        ScriptedPolicyStore::Items items = PolicyWith(kDescription);
        items["VirtualChannelEnable"] = enable;
        ScriptedPolicyStore::Publish(kId, items);
        EXPECT_EQ(Read(), kFailure);
        EXPECT_EQ(text_, "");
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Says("terminalId=4711")));
    }
    ScriptedPolicyStore::Publish(kId, {{"PolicyName", "p"}});
    EXPECT_EQ(Read(), kFailure);
}

// --- The debug item ---

TEST_F(UpdateDescription, UsesDebugItemWhenFormalItemIsMissing) {
    ScriptedPolicyStore::Items items = WithDebugItem(PolicyWith(""), kDescription);
    items.erase("VirtualChannelPluginDetails");
    ScriptedPolicyStore::Publish(kId, items);
    SwitchDebugging("1");
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, kDescription);
    EXPECT_EQ(Stored(), kDescription);
    EXPECT_EQ(
        RecordingLogger::Records(),
        AfterFormal({Complains("Failed:originalInfo.size=0"), Says("Debug:ThirdPartyPluginNames"),
                     Converts("plaintext"), Passes(kDescription.size())}));
    EXPECT_THAT(ScriptedPolicyStore::Calls(),
                ElementsAre("load 4711", "text PolicyName", "int VirtualChannelEnable",
                            "text VirtualChannelOptionNames", "text VirtualChannelPluginDetails",
                            "text ThirdPartyPluginNames"));
    EXPECT_THAT(ScriptedServices::Get().iniCalls,
                ElementsAre("int PolicyName/debugVc " + kDebugFile));
}

TEST_F(UpdateDescription, TreatsOneCharacterItemAsMissing) {
    ScriptedPolicyStore::Publish(kId, WithDebugItem(PolicyWith("x"), kDescription));
    SwitchDebugging("1");
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, kDescription);
    EXPECT_EQ(RecordingLogger::Records()[3], Complains("Failed:originalInfo.size=1"));
}

TEST_F(UpdateDescription, IgnoresValueLeftByFailedRead) {
    ScriptedPolicyStore::ScribbleOnFailure(kDescription, 0);
    ScriptedPolicyStore::Items items = PolicyWith("");
    items.erase("VirtualChannelPluginDetails");
    ScriptedPolicyStore::Publish(kId, items);
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(text_, "");
    EXPECT_EQ(RecordingLogger::Records(),
              AfterFormal(
                  {Complains("Failed:originalInfo.size=" + std::to_string(kDescription.size()))}));
}

TEST_F(UpdateDescription, PrefersTwoCharacterItemToDebugItem) {
    ScriptedPolicyStore::Publish(kId, WithDebugItem(PolicyWith("xx"), kDescription));
    SwitchDebugging("1");
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(RecordingLogger::Records(),
              AfterFormal({Converts("Base64"), Refuses("ZnBase64::Decode Faield:len=0")}));
}

TEST_F(UpdateDescription, EnablesDebuggingByOneOnly) {
    ScriptedPolicyStore::Publish(kId, WithDebugItem(PolicyWith("x"), kDescription));
    for (const char* debugVc : {"0", "2", "-1", "11"}) {
        SCOPED_TRACE(debugVc);
        RecordingLogger::Clear();
        SwitchDebugging(debugVc);
        EXPECT_EQ(Read(), kFailure);
        EXPECT_EQ(text_, "");
        EXPECT_EQ(RecordingLogger::Records(),
                  AfterFormal({Complains("Failed:originalInfo.size=1")}));
    }
}

TEST_F(UpdateDescription, RequiresSwitchAndFileForDebugging) {
    ScriptedPolicyStore::Publish(kId, WithDebugItem(PolicyWith("x"), kDescription));

    ScriptedFiles::Get().fixedFiles[kDebugFile] = "";  // the file, without the switch
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(RecordingLogger::Records(), AfterFormal({Complains("Failed:originalInfo.size=1")}));

    RecordingLogger::Clear();
    SwitchDebugging("1");
    ScriptedFiles::Get().fixedFiles.erase(kDebugFile);  // the switch, without the file
    EXPECT_EQ(Read(), kFailure);
    EXPECT_EQ(RecordingLogger::Records(), AfterFormal({Complains("Failed:originalInfo.size=1")}));
}

TEST_F(UpdateDescription, RefusesMissingOrShortDebugItem) {
    SwitchDebugging("1");
    for (const ScriptedPolicyStore::Items& items :
         {PolicyWith("x"), WithDebugItem(PolicyWith("x"), ""),
          WithDebugItem(PolicyWith("x"), "y")}) {
        RecordingLogger::Clear();
        ScriptedPolicyStore::Publish(kId, items);
        EXPECT_EQ(Read(), kFailure);
        EXPECT_EQ(text_, "");
        EXPECT_EQ(RecordingLogger::Records(), AfterFormal({Complains("Failed:originalInfo.size=1"),
                                                           Says("Debug:ThirdPartyPluginNames"),
                                                           Refuses("Invalid originalInfo.size")}));
    }
}

// --- Plain or Base64 ---

// Makes the decoder produce `bytes` and report `length` of them.
static void DecodeTo(const std::string& bytes, int length) {
    ScriptedServices::Get().decodeBase64 = [=](const std::string&, unsigned char* out, int) {
        std::copy(bytes.begin(), bytes.end(), out);
        return length;
    };
}

static void DecodeTo(const std::string& bytes) {
    DecodeTo(bytes, static_cast<int>(bytes.size()));
}

// Stands for Base64: without the three words, and long enough for the decoded description.
static const std::string kBase64(kDescription.size(), 'Q');

TEST_F(UpdateDescription, DecodesAndStoresBase64) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kBase64));
    DecodeTo(kDescription);
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, kDescription);
    EXPECT_EQ(Stored(), kDescription);
    EXPECT_EQ(RecordingLogger::Records(),
              AfterFormal({Converts("Base64"), Passes(kDescription.size())}));
}

TEST_F(UpdateDescription, PassesClearedBufferOfThreeTimesTheLength) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kBase64));
    int calls = 0;
    ScriptedServices::Get().decodeBase64 = [&](const std::string& text, unsigned char* out,
                                               int outSize) {
        ++calls;
        EXPECT_EQ(text, kBase64);
        EXPECT_EQ(outSize, static_cast<int>(3 * kBase64.size()));
        EXPECT_EQ(std::count(out, out + outSize, 0), outSize);
        return 0;
    };
    Read();
    EXPECT_EQ(calls, 1);
}

TEST_F(UpdateDescription, TreatsImplausibleTextAsBase64) {
    for (const char* text :
         {R"({"platform": "", "sha256Hash": ""})", R"({"platform": "", "packageName": ""})",
          R"({"sha256Hash": "", "packageName": ""})", "{}"}) {
        SCOPED_TRACE(text);
        RecordingLogger::Clear();
        ScriptedPolicyStore::Publish(kId, PolicyWith(text));
        EXPECT_EQ(Read(), kFailure);
        EXPECT_EQ(text_, "");
        EXPECT_EQ(RecordingLogger::Records(),
                  AfterFormal({Converts("Base64"), Refuses("ZnBase64::Decode Faield:len=0")}));
    }
    EXPECT_FALSE(AnythingStored());
}

TEST_F(UpdateDescription, FindsThreeWordsAnywhereInText) {
    for (const char* text : {"packageName sha256Hash platform", "platformsha256HashpackageName"}) {
        ScriptedPolicyStore::Publish(kId, PolicyWith(text));
        EXPECT_EQ(Read(), kSuccess);
        EXPECT_EQ(text_, text);
        EXPECT_EQ(Stored(), text);
    }
}

TEST_F(UpdateDescription, FailsForDecodedLengthOfOneOrLess) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kBase64));
    for (const int length : {1, 0, -1, -10000}) {
        SCOPED_TRACE(length);
        RecordingLogger::Clear();
        DecodeTo(kDescription, length);
        EXPECT_EQ(Read(), kFailure);
        EXPECT_EQ(text_, "");
        EXPECT_EQ(RecordingLogger::Records(),
                  AfterFormal({Converts("Base64"),
                               Refuses("ZnBase64::Decode Faield:len=" + std::to_string(length))}));
    }
    EXPECT_FALSE(AnythingStored());
}

TEST_F(UpdateDescription, EndsDecodedTextAtFirstNul) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kBase64));
    DecodeTo(kDescription + '\0' + "and more");
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, kDescription);

    DecodeTo(kDescription, 2);
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, kDescription);
}

TEST_F(UpdateDescription, EndsDecodedTextAtEndOfBuffer) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kBase64));
    std::string full = kDescription;
    full.resize(3 * kBase64.size(), ' ');
    DecodeTo(full);
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(text_, full);
}

TEST_F(UpdateDescription, RefusesImplausibleDecodedTextAndReturnsIt) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kBase64));
    for (const std::string text :
         {R"({"platform": "", "sha256Hash": ""})", R"({"platform": "", "packageName": ""})",
          R"({"sha256Hash": "", "packageName": ""})"}) {
        SCOPED_TRACE(text);
        RecordingLogger::Clear();
        DecodeTo(text);
        EXPECT_EQ(Read(), kFailure);
        EXPECT_EQ(text_, text);
        EXPECT_EQ(RecordingLogger::Records(),
                  AfterFormal({Converts("Base64"), Refuses("Invalid vekJsonUpdateInfo")}));
    }
    EXPECT_FALSE(AnythingStored());
}

// --- Storing ---

TEST_F(UpdateDescription, FailsForShortWriteAndReturnsText) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kDescription));
    const auto length = static_cast<long long>(kDescription.size());
    for (const long long written : {length - 1, length + 1, 0LL, -1LL}) {
        SCOPED_TRACE(written);
        RecordingLogger::Clear();
        ScriptedFiles::Get().writeBinFile = [=](const std::string&, const std::string&) {
            return written;
        };
        EXPECT_EQ(Read(), kFailure);
        EXPECT_EQ(text_, kDescription);
        EXPECT_EQ(
            RecordingLogger::Records(),
            AfterFormal({Converts("plaintext"),
                         Refuses("Failed:VEK_MICROSERVICES_VM_UPDATEPOLICY=" + kStored + ",len=" +
                                 std::to_string(written) + " not " + std::to_string(length))}));
    }
}

TEST_F(UpdateDescription, ComparesWrittenBytesIn32Bits) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kDescription));
    ScriptedFiles::Get().writeBinFile = [](const std::string&, const std::string& data) {
        return static_cast<long long>(data.size()) + (1LL << 32);
    };
    EXPECT_EQ(Read(), kSuccess);
    EXPECT_EQ(RecordingLogger::Records(),
              AfterFormal({Converts("plaintext"), Passes(kDescription.size())}));
}

TEST_F(UpdateDescription, CreatesNoDirectory) {
    ScriptedPolicyStore::Publish(kId, PolicyWith(kDescription));
    Read();
    EXPECT_THAT(ScriptedFiles::Get().calls, ElementsAre("write " + kStored));
}
