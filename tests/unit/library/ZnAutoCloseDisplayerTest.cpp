// The reader of the displayer's auto-close delay.
#include "PolicyTest.h"
#include "ZnAutoCloseDisplayerVek.h"

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Not;

constexpr int kId = 4711;

class AutoCloseDisplayer : public PolicyTest {};

static Logged CloseProgress(const std::string& text) {
    return Progress("ReadVekAutoCloseDisplayer", text);
}

TEST_F(AutoCloseDisplayer, ReturnsSecondsUnchangedForNonZeroFlag) {
    const struct {
        int flag;
        int seconds;
    } cases[] = {{1, 30}, {5, -3}, {-1, 0}, {2, 2147483647}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.flag);
        RecordingLogger::Clear();
        ScriptedPolicyStore::Publish(kId,
                                     {{"PolicyName", "p"},
                                      {"AutoCloseDisplayerFlag", std::to_string(c.flag)},
                                      {"AutoCloseDisplayerSecond", std::to_string(c.seconds)}});
        EXPECT_EQ(ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer(kId), c.seconds);
        EXPECT_THAT(
            RecordingLogger::Records(),
            ElementsAre(CloseProgress("terminalId=4711"),
                        CloseProgress("AutoCloseDisplayerFlag=" + std::to_string(c.flag) +
                                      ",AutoCloseDisplayerSecond=" + std::to_string(c.seconds))));
    }
}

TEST_F(AutoCloseDisplayer, ReadsItemsInOrder) {
    ScriptedPolicyStore::Publish(
        kId,
        {{"PolicyName", "p"}, {"AutoCloseDisplayerFlag", "1"}, {"AutoCloseDisplayerSecond", "1"}});
    ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer(kId);
    EXPECT_THAT(ScriptedPolicyStore::Calls(),
                ElementsAre("load 4711", "text PolicyName", "int AutoCloseDisplayerFlag",
                            "int AutoCloseDisplayerSecond"));
}

TEST_F(AutoCloseDisplayer, LogsSourceFile) {
    ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer(kId);
    EXPECT_THAT(RecordingLogger::Origins(),
                AllOf(Not(IsEmpty()), Each(Field(&LogOrigin::file, "ZnAutoCloseDisplayer.cpp"))));
}

TEST_F(AutoCloseDisplayer, ReturnsZeroForMissingPolicy) {
    EXPECT_EQ(ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer(kId), 0);
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(CloseProgress("terminalId=4711"),
                            Failure("ReadVekAutoCloseDisplayer",
                                    "LoadPolicyShareMemory Failed:terminalId=4711")));
}

TEST_F(AutoCloseDisplayer, ReturnsZeroForMissingItemOrZeroFlag) {
    struct Case {
        ScriptedPolicyStore::Items items;
        std::string notice;
    };
    const Case cases[] = {
        {{{"AutoCloseDisplayerFlag", "1"}, {"AutoCloseDisplayerSecond", "9"}}, "PolicyName Failed"},
        {{{"PolicyName", "p"}, {"AutoCloseDisplayerSecond", "9"}},
         "get AutoCloseDisplayerFlag Failed"},
        {{{"PolicyName", "p"}, {"AutoCloseDisplayerFlag", "x"}, {"AutoCloseDisplayerSecond", "9"}},
         "get AutoCloseDisplayerFlag Failed"},
        {{{"PolicyName", "p"}, {"AutoCloseDisplayerFlag", "0"}, {"AutoCloseDisplayerSecond", "9"}},
         "Auto Close Displayer is closed"},
        {{{"PolicyName", "p"}, {"AutoCloseDisplayerFlag", "1"}},
         "get AutoCloseDisplayerSecond Failed"},
        {{{"PolicyName", "p"}, {"AutoCloseDisplayerFlag", "1"}, {"AutoCloseDisplayerSecond", "x"}},
         "get AutoCloseDisplayerSecond Failed"},
    };
    ScriptedPolicyStore::ScribbleOnFailure("scribble", 99);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.notice);
        RecordingLogger::Clear();
        ScriptedPolicyStore::Publish(kId, c.items);
        EXPECT_EQ(ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer(kId), 0);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(CloseProgress("terminalId=4711"), CloseProgress(c.notice)));
    }
}
