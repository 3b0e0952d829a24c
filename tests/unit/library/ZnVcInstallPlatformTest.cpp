// GetModelPlatform: reads the platform model from platforminfo.ini.
#include "PolicyTest.h"
#include "ZnVcUpdate.h"

using testing::Each;
using testing::ElementsAre;
using testing::Field;

class PlatformModel : public PolicyTest {
   protected:
    PlatformModel() {
        ScriptedServices::Get().processDirectory = "/opt/app";
    }

    static void SetPlatform(const std::string& value) {
        ScriptedServices::Get().iniFiles["/opt/app/platforminfo.ini"] = {
            {"os", {{"platform", value}}}};
    }
};

static Logged PlatformFound(const std::string& platform) {
    return Progress("GetModelPlatform", "platform=" + platform);
}

TEST_F(PlatformModel, IsReadFromProcessDirectory) {
    SetPlatform("Model-A");
    EXPECT_EQ(ZnVcUpdate::GetModelPlatform(SERVER_SIDE), "Model-A");
    EXPECT_THAT(ScriptedServices::Get().iniCalls,
                ElementsAre("string os/platform /opt/app/platforminfo.ini"));
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(PlatformFound("Model-A")));
}

TEST_F(PlatformModel, IsTrimmed) {
    const struct {
        const char* value;
        const char* platform;
    } cases[] = {
        {"  Model-A\r", "Model-A"},
        {"\t \r\nModel-A\n\r \t", "Model-A"},
        {"Model-A ", "Model-A"},
        {" Model-A", "Model-A"},
        {" x ", "x"},
        {" Model A ", "Model A"},          // inner blanks stay
        {" \vModel-A\f ", "\vModel-A\f"},  // these two are no blanks
        {"\v", "\v"},
        {"Model-A", "Model-A"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        RecordingLogger::Clear();
        SetPlatform(c.value);
        EXPECT_EQ(ZnVcUpdate::GetModelPlatform(SERVER_SIDE), c.platform);
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(PlatformFound(c.platform)));
    }
}

TEST_F(PlatformModel, KeepsValueOfOnlyBlanks) {
    for (const char* const value : {" ", "   ", "\t", "\r\n", " \t\r\n ", ""}) {
        SCOPED_TRACE(testing::PrintToString(value));
        RecordingLogger::Clear();
        SetPlatform(value);
        EXPECT_EQ(ZnVcUpdate::GetModelPlatform(CLIENT_SIDE), value);
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(PlatformFound(value)));
    }
}

TEST_F(PlatformModel, EndsAtFirstNul) {
    SetPlatform(std::string("Model-A \0B", 10));
    EXPECT_EQ(ZnVcUpdate::GetModelPlatform(SERVER_SIDE), "Model-A");
}

TEST_F(PlatformModel, IsTruncatedAt258Characters) {
    SetPlatform(std::string(300, 'm'));
    EXPECT_EQ(ZnVcUpdate::GetModelPlatform(SERVER_SIDE), std::string(258, 'm'));
}

TEST_F(PlatformModel, DoesNotDependOnSide) {
    SetPlatform("Model-A");
    for (const int side : {0, 1, 2, -1, 7}) {
        EXPECT_EQ(ZnVcUpdate::GetModelPlatform(static_cast<ZnSide>(side)), "Model-A");
    }
    const std::vector<Logged> expected(5, PlatformFound("Model-A"));
    EXPECT_EQ(RecordingLogger::Records(), expected);
}

TEST_F(PlatformModel, IsEmptyWhenUnreadableAndLogsSide) {
    const ScriptedServices::IniFile unreadable[] = {
        {},
        {{"os", {}}},
        {{"os", {{"Platform", "Model-A"}}}},
        {{"OS", {{"platform", "Model-A"}}}},
    };
    for (const auto& file : unreadable) {
        ScriptedServices::Get().iniFiles["/opt/app/platforminfo.ini"] = file;
        for (const int side : {0, 1, 7, -1}) {
            RecordingLogger::Clear();
            EXPECT_EQ(ZnVcUpdate::GetModelPlatform(static_cast<ZnSide>(side)), "");
            EXPECT_THAT(RecordingLogger::Records(),
                        ElementsAre(Failure("GetModelPlatform",
                                            "Invalid:platform side=" + std::to_string(side))));
        }
    }
}

TEST_F(PlatformModel, IsEmptyForMissingFile) {
    EXPECT_EQ(ZnVcUpdate::GetModelPlatform(static_cast<ZnSide>(7)), "");
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Failure("GetModelPlatform", "Invalid:platform side=7")));
}

TEST_F(PlatformModel, LogsSourceFileAndTags) {
    ZnVcUpdate::GetModelPlatform(SERVER_SIDE);
    SetPlatform("Model-A");
    ZnVcUpdate::GetModelPlatform(SERVER_SIDE);
    const std::vector<LogOrigin> origins = RecordingLogger::Origins();
    EXPECT_EQ(origins.size(), 2U);
    EXPECT_THAT(origins, Each(Field(&LogOrigin::file, "ZnVcInstall.cpp")));
    EXPECT_THAT(origins, Each(Field(&LogOrigin::tag1, " ")));
    EXPECT_THAT(origins, Each(Field(&LogOrigin::tag2, "")));
}
