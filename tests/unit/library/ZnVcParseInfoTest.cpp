// The readers of session settings: data transport, reconnection, login hint.
#include "PolicyTest.h"
#include "ZnIdtVek.h"
#include "ZnVcVek.h"

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Field;
using testing::IsEmpty;
using testing::Not;

constexpr int kId = 4711;

class IntelligentDataTransport : public PolicyTest {};
class Reconnect : public PolicyTest {
   protected:
    // Must be overwritten by every read.
    AutoReconnect reconnect_ = {-1, -1};
};
class LoginHint : public PolicyTest {};

// --- Intelligent data transport flag ---

TEST_F(IntelligentDataTransport, ReturnsFlagUnchanged) {
    for (const int flag : {0, 1, 7, -1, 2147483647}) {
        ScriptedPolicyStore::Publish(kId, {{"IntelligentDataTransportFlag", std::to_string(flag)}});
        EXPECT_EQ(ZnIdtVek::ReadIdtPolicy(kId), flag);
    }
    EXPECT_THAT(RecordingLogger::Records(), IsEmpty());
}

TEST_F(IntelligentDataTransport, ReadsOnlyFlag) {
    ScriptedPolicyStore::Publish(kId, {{"IntelligentDataTransportFlag", "1"}});
    ZnIdtVek::ReadIdtPolicy(kId);
    EXPECT_THAT(ScriptedPolicyStore::Calls(),
                ElementsAre("load 4711", "int IntelligentDataTransportFlag"));
}

TEST_F(IntelligentDataTransport, ReturnsZeroForMissingPolicy) {
    EXPECT_EQ(ZnIdtVek::ReadIdtPolicy(kId), 0);
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Failure("ReadIdtPolicy", "load policy failed, sessionId:4711")));
    EXPECT_THAT(ScriptedPolicyStore::Calls(), ElementsAre("load 4711"));
}

TEST_F(IntelligentDataTransport, ReturnsZeroForMissingFlag) {
    ScriptedPolicyStore::Publish(kId, {{"PolicyName", "p"}});
    EXPECT_EQ(ZnIdtVek::ReadIdtPolicy(kId), 0);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(Failure("ReadIdtPolicy", "load policy failed, sessionId:4711, value=0")));
}

TEST_F(IntelligentDataTransport, LogsValueLeftByFailedRead) {
    ScriptedPolicyStore::Publish(kId, {{"IntelligentDataTransportFlag", "yes"}});
    ScriptedPolicyStore::ScribbleOnFailure("", 99);
    EXPECT_EQ(ZnIdtVek::ReadIdtPolicy(kId), 0);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(Failure("ReadIdtPolicy", "load policy failed, sessionId:4711, value=99")));
}

TEST_F(IntelligentDataTransport, LogsFullSourcePath) {
    ZnIdtVek::ReadIdtPolicy(kId);
    EXPECT_THAT(
        RecordingLogger::Origins(),
        ElementsAre(Field(&LogOrigin::path,
                          EndsWith("/BaseAPI/ZnConfigFormat/ZnPolicy/src/ZnVcParseInfo.cpp"))));
}

TEST_F(IntelligentDataTransport, LogsSourceFileAndTags) {
    ZnIdtVek::ReadIdtPolicy(kId);
    const std::vector<LogOrigin> origins = RecordingLogger::Origins();
    ASSERT_EQ(origins.size(), 1U);
    EXPECT_EQ(origins[0].file, "ZnVcParseInfo.cpp");
    EXPECT_GT(origins[0].line, 0);
    EXPECT_EQ(origins[0].tag1, " ");
    EXPECT_EQ(origins[0].tag2, "");
}

// --- Automatic reconnection ---

static Logged ReconnectProgress(const std::string& text) {
    return Progress("ZnReadVekReconnectPolicy", text);
}

TEST_F(Reconnect, ReturnsValuesUnchanged) {
    ScriptedPolicyStore::Publish(kId, {{"PolicyName", "p"},
                                       {"AutoConnectInterval", "-5"},
                                       {"SessionKeepliveTime", "2147483647"}});
    ZnVcVek::ZnReadVekReconnectPolicy(kId, reconnect_);
    EXPECT_EQ(reconnect_.reconnectInterval, -5);
    EXPECT_EQ(reconnect_.reconnectKeepliveTime, 2147483647);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(ReconnectProgress("terminalId=4711"), ReconnectProgress("Normal:read VEK"),
                    ReconnectProgress("reconnectInterval=-5,reconnectKeepliveTime=2147483647")));
}

TEST_F(Reconnect, ReadsItemsInOrder) {
    ScriptedPolicyStore::Publish(
        kId, {{"PolicyName", ""}, {"AutoConnectInterval", "1"}, {"SessionKeepliveTime", "2"}});
    ZnVcVek::ZnReadVekReconnectPolicy(kId, reconnect_);
    EXPECT_THAT(ScriptedPolicyStore::Calls(),
                ElementsAre("load 4711", "text PolicyName", "int AutoConnectInterval",
                            "int SessionKeepliveTime"));
}

TEST_F(Reconnect, LogsSourceFile) {
    ZnVcVek::ZnReadVekReconnectPolicy(kId, reconnect_);
    EXPECT_THAT(RecordingLogger::Origins(),
                AllOf(Not(IsEmpty()), Each(Field(&LogOrigin::file, "ZnVcParseInfo.cpp"))));
}

TEST_F(Reconnect, ReturnsZerosForMissingPolicy) {
    ZnVcVek::ZnReadVekReconnectPolicy(kId, reconnect_);
    EXPECT_EQ(reconnect_.reconnectInterval, 0);
    EXPECT_EQ(reconnect_.reconnectKeepliveTime, 0);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(
            ReconnectProgress("terminalId=4711"), ReconnectProgress("Normal:read VEK"),
            Failure("ZnReadVekReconnectPolicy", "LoadPolicyShareMemory Failed:terminalId=4711")));
}

TEST_F(Reconnect, ReturnsZerosForMissingItem) {
    struct Case {
        ScriptedPolicyStore::Items items;
        std::string notice;
    };
    const Case cases[] = {
        {{{"AutoConnectInterval", "10"}, {"SessionKeepliveTime", "20"}}, "PolicyName Failed"},
        {{{"PolicyName", "p"}, {"SessionKeepliveTime", "20"}}, "AutoConnectInterval Failed"},
        {{{"PolicyName", "p"}, {"AutoConnectInterval", "10"}}, "SessionKeepliveTime Failed"},
        {{{"PolicyName", "p"}, {"AutoConnectInterval", "10"}, {"SessionKeepliveTime", "soon"}},
         "SessionKeepliveTime Failed"},
    };
    ScriptedPolicyStore::ScribbleOnFailure("scribble", 99);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.notice);
        RecordingLogger::Clear();
        ScriptedPolicyStore::Publish(kId, c.items);
        reconnect_ = {-1, -1};
        ZnVcVek::ZnReadVekReconnectPolicy(kId, reconnect_);
        EXPECT_EQ(reconnect_.reconnectInterval, 0);
        EXPECT_EQ(reconnect_.reconnectKeepliveTime, 0);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(ReconnectProgress("terminalId=4711"),
                                ReconnectProgress("Normal:read VEK"), ReconnectProgress(c.notice)));
    }
}

// --- Login hint ---

static ScriptedPolicyStore::Items Customisation(const std::string& rule) {
    return {{"PolicyName", "p"}, {"configArg1Enable", "1"}, {"configArg1Rule", rule}};
}

static const Logged kLoginHintBegins =
    Progress("ZnDisableLoginHintPolicy", "Normal:read disable login hint policy");

TEST_F(LoginHint, IsSuppressedByIntegerOneOnly) {
    const struct {
        const char* rule;
        bool disabled;
    } cases[] = {
        {R"({"DisableLoginHint": 1})", true},
        {R"({"Other": 2, "DisableLoginHint": 1})", true},
        {R"({"DisableLoginHint": 0})", false},
        {R"({"DisableLoginHint": 2})", false},
        {R"({"DisableLoginHint": -1})", false},
        {R"({"DisableLoginHint": 1.0})", false},
        {R"({"DisableLoginHint": 4294967297})", false},
        {R"({"DisableLoginHint": "1"})", false},
        {R"({"DisableLoginHint": true})", false},
        {R"({"disableloginhint": 1})", false},
        {R"({})", false},
        {R"([1])", false},
        {R"(1)", false},
        {R"({"DisableLoginHint": 1)", false},
        {"no JSON", false},
        {"", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rule);
        RecordingLogger::Clear();
        ScriptedPolicyStore::Publish(kId, Customisation(c.rule));
        EXPECT_EQ(ZnVcVek::ZnDisableLoginHintPolicy(kId), c.disabled);
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(kLoginHintBegins));
    }
}

TEST_F(LoginHint, ReadsItemsInOrder) {
    ScriptedPolicyStore::Publish(kId, Customisation("{}"));
    ZnVcVek::ZnDisableLoginHintPolicy(kId);
    EXPECT_THAT(
        ScriptedPolicyStore::Calls(),
        ElementsAre("load 4711", "text PolicyName", "int configArg1Enable", "text configArg1Rule"));
}

TEST_F(LoginHint, LogsSourceFile) {
    ZnVcVek::ZnDisableLoginHintPolicy(kId);
    EXPECT_THAT(RecordingLogger::Origins(),
                AllOf(Not(IsEmpty()), Each(Field(&LogOrigin::file, "ZnVcParseInfo.cpp"))));
}

TEST_F(LoginHint, KeepsHintWhenPolicyIsMissing) {
    EXPECT_FALSE(ZnVcVek::ZnDisableLoginHintPolicy(kId));
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(kLoginHintBegins, Failure("GetCustomizationPolicy",
                                              "LoadPolicyShareMemory Failed:terminalId=4711")));
}

TEST_F(LoginHint, KeepsHintWhenItemIsMissing) {
    const std::string disabled = "read configArg1Enable Failed  orconfigArg1Enable is disable";
    struct Case {
        ScriptedPolicyStore::Items items;
        std::string notice;
    };
    const std::string rule = R"({"DisableLoginHint": 1})";
    const Case cases[] = {
        {{{"configArg1Enable", "1"}, {"configArg1Rule", rule}}, "PolicyName Failed"},
        {{{"PolicyName", "p"}, {"configArg1Rule", rule}}, disabled},
        {{{"PolicyName", "p"}, {"configArg1Enable", "0"}, {"configArg1Rule", rule}}, disabled},
        {{{"PolicyName", "p"}, {"configArg1Enable", "2"}, {"configArg1Rule", rule}}, disabled},
        {{{"PolicyName", "p"}, {"configArg1Enable", "on"}, {"configArg1Rule", rule}}, disabled},
        {{{"PolicyName", "p"}, {"configArg1Enable", "1"}}, "configArg1Rule Failed"},
    };
    // The value left by a failed read is ignored, even one that would enable the rule.
    ScriptedPolicyStore::ScribbleOnFailure(rule, 1);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.notice);
        RecordingLogger::Clear();
        ScriptedPolicyStore::Publish(kId, c.items);
        EXPECT_FALSE(ZnVcVek::ZnDisableLoginHintPolicy(kId));
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(kLoginHintBegins, Progress("GetCustomizationPolicy", c.notice)));
    }
}

TEST_F(LoginHint, DoesNotReadRuleWhenDisabled) {
    ScriptedPolicyStore::Publish(kId, {{"PolicyName", "p"}, {"configArg1Enable", "2"}});
    ZnVcVek::ZnDisableLoginHintPolicy(kId);
    EXPECT_THAT(ScriptedPolicyStore::Calls(),
                ElementsAre("load 4711", "text PolicyName", "int configArg1Enable"));
}
