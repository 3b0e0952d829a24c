// AppendInstallScript: installs a package zip that has been unpacked next to itself. The platform
// is read once per process, so every test runs in a child process.
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "ChildProcess.h"
#include "PolicyTest.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

constexpr int kFailed = -10000;

static Logged Refused(const std::string& text) {
    return Failure("AppendInstallScript", text);
}

static Logged PlatformFound(const std::string& platform) {
    return Progress("GetModelPlatform", "platform=" + platform);
}

static Logged Command(const std::string& text) {
    return Progress("ExecuteInstallCommand", text);
}

class InstallScript : public PolicyTest {
   protected:
    InstallScript() {
        ScriptedServices::Get().processDirectory = dir_.Path();
        WriteFile(zip_, "zip");
        WriteFile(package_ + "/FileList.ini", "");
    }

    // Runs `test` in a child process and takes over its outcome.
    static void InItsOwnProcess(const std::function<void()>& test) {
        const ProcessResult result = RunInChild([&] {
            test();
            std::exit(HasFailure() ? 1 : 0);
        });
        EXPECT_TRUE(result.Succeeded()) << result;
    }

    void SetMachine(const std::string& platform) {
        ScriptedServices::Get().iniFiles[dir_ / "platforminfo.ini"] = {
            {"os", {{"platform", platform}}}};
    }

    // The package is for `platform` and holds no files.
    void SetPackage(const std::string& platform) {
        ScriptedServices::Get().iniFiles[package_ + "/FileList.ini"] = {
            {"Package_Intall_Type", {{"PackageIntallType", platform}}}, {platform, {}}};
    }

    int Install(const std::string& platform, ZnSide side = SERVER_SIDE) {
        return ZnVcUpdate::AppendInstallScript(side, zip_, platform);
    }

    TemporaryDirectory dir_;
    const std::string zip_ = dir_ / "Pkg_1.0_Server.zip";
    const std::string package_ = dir_ / "Pkg_1.0_Server";
};

// --- The zip ---

TEST_F(InstallScript, InstallsDirectoryNamedAfterZip) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        SetPackage("arm64");
        EXPECT_EQ(Install("arm64"), 0);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(PlatformFound("arm64"),
                                Command("fileListIni=" + package_ + "/FileList.ini"),
                                Command("vekTellPlatform=arm64"),
                                Command("Match:vekTellPlatform=arm64,platform=arm64")));
    });
}

TEST_F(InstallScript, FailsForMissingZipBeforeReadingPlatform) {
    InItsOwnProcess([this] {
        fs::remove(zip_);
        SetMachine("x86");
        EXPECT_EQ(Install("arm64"), kFailed);
        EXPECT_THAT(RecordingLogger::Records(), ElementsAre(Refused("Not Find zipfile=" + zip_)));
        EXPECT_THAT(ScriptedServices::Get().iniCalls, IsEmpty());

        // The platform has not been read yet.
        WriteFile(zip_, "zip");
        SetMachine("arm64");
        SetPackage("arm64");
        EXPECT_EQ(Install("arm64"), 0);
    });
}

TEST_F(InstallScript, FailsWhenInstallationFails) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        fs::remove(package_ + "/FileList.ini");
        EXPECT_EQ(Install("arm64"), kFailed);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(PlatformFound("arm64"),
                                Command("fileListIni=" + package_ + "/FileList.ini"),
                                Command("vekTellPlatform=arm64"),
                                Failure("ExecuteInstallCommand",
                                        "Not Exsit fileListIni:" + package_ + "/FileList.ini"),
                                Refused("ExecuteInstallCommand Failed")));
    });
}

TEST_F(InstallScript, CutsPathAtLastDot) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        const struct {
            std::string zip;
            std::string package;
        } cases[] = {
            {dir_ / "Pkg_1.0_Server.zip", dir_ / "Pkg_1.0_Server"},
            {dir_ / "a.zip.part", dir_ / "a.zip"},
            {dir_ / "b.c/pkg", dir_ / "b"},  // a dot in a directory's name counts
            {dir_ / "d.", dir_ / "d"},
        };
        for (const auto& c : cases) {
            SCOPED_TRACE(c.zip);
            WriteFile(c.zip, "zip");
            RecordingLogger::Clear();
            ZnVcUpdate::AppendInstallScript(SERVER_SIDE, c.zip, "arm64");
            EXPECT_THAT(RecordingLogger::Records(),
                        testing::Contains(Command("fileListIni=" + c.package + "/FileList.ini")));
        }
    });
}

TEST_F(InstallScript, RefusesPathWithoutDot) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        fs::current_path(dir_.Path());
        WriteFile("./pkg", "zip");
        EXPECT_EQ(ZnVcUpdate::AppendInstallScript(SERVER_SIDE, "pkg", "arm64"), kFailed);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(PlatformFound("arm64"), Refused("Invalid:zipfile=pkg")));
    });
}

TEST_F(InstallScript, RefusesPathWithOnlyLeadingDot) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        fs::current_path(dir_.Path());
        WriteFile("./.zip", "zip");
        EXPECT_EQ(ZnVcUpdate::AppendInstallScript(SERVER_SIDE, ".zip", "arm64"), kFailed);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(PlatformFound("arm64"), Refused("Invalid:zipfile=.zip")));
    });
}

TEST_F(InstallScript, FailsForOneCharacterPackageDirectory) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        fs::current_path(dir_.Path());
        WriteFile("./a.zip", "zip");
        EXPECT_EQ(ZnVcUpdate::AppendInstallScript(SERVER_SIDE, "a.zip", "arm64"), kFailed);
        EXPECT_THAT(
            RecordingLogger::Records(),
            ElementsAre(PlatformFound("arm64"),
                        Failure("ExecuteInstallCommand", "Invalid filePrefix/vekTellPlatform"),
                        Refused("ExecuteInstallCommand Failed")));
    });
}

// --- The platform ---

TEST_F(InstallScript, RequiresExactPlatform) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        SetPackage("arm64");
        Install("arm64");
        for (const char* const request : {"arm", "arm64e", "ARM64", "arm64 ", " arm64", "x86"}) {
            RecordingLogger::Clear();
            EXPECT_EQ(Install(request), kFailed);
            EXPECT_THAT(RecordingLogger::Records(),
                        ElementsAre(Refused(std::string("Invalid:platform=arm64,vekTellPlatform=") +
                                            request)));
        }
    });
}

TEST_F(InstallScript, AcceptsManifestPlatformThatBeginsWithMachines) {
    InItsOwnProcess([this] {
        SetMachine("arm");
        SetPackage("arm64");
        EXPECT_EQ(Install("arm"), 0);
    });
}

TEST_F(InstallScript, RefusesManifestPlatformThatIsShorter) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        SetPackage("arm");
        EXPECT_EQ(Install("arm64"), kFailed);
        EXPECT_THAT(
            RecordingLogger::Records(),
            ElementsAre(
                PlatformFound("arm64"), Command("fileListIni=" + package_ + "/FileList.ini"),
                Command("vekTellPlatform=arm64"),
                Failure("ExecuteInstallCommand", "Not Match:vekTellPlatform=arm64,platform=arm"),
                Refused("ExecuteInstallCommand Failed")));
    });
}

TEST_F(InstallScript, RefusesPlatformBelowTwoCharacters) {
    for (const char* const platform : {"", "A"}) {
        InItsOwnProcess([this, platform] {
            SetMachine(platform);
            EXPECT_EQ(Install(platform), kFailed);
            EXPECT_THAT(RecordingLogger::Records(),
                        ElementsAre(PlatformFound(platform),
                                    Refused(std::string("Invalid:platform=") + platform +
                                            ",vekTellPlatform=" + platform)));
        });
    }
}

TEST_F(InstallScript, RefusesRequestBelowTwoCharacters) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        for (const char* const request : {"", "a"}) {
            EXPECT_EQ(Install(request), kFailed);
            EXPECT_EQ(RecordingLogger::Records().back(),
                      Refused(std::string("Invalid:platform=arm64,vekTellPlatform=") + request));
        }
    });
}

TEST_F(InstallScript, FailsEveryCallWithoutPlatform) {
    InItsOwnProcess([this] {
        EXPECT_EQ(Install("arm64"), kFailed);
        SetMachine("arm64");
        EXPECT_EQ(Install("arm64"), kFailed);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(Failure("GetModelPlatform", "Invalid:platform side=0"),
                                Refused("Invalid:platform=,vekTellPlatform=arm64"),
                                Refused("Invalid:platform=,vekTellPlatform=arm64")));
    });
}

TEST_F(InstallScript, ReadsPlatformOnceWithFirstSide) {
    InItsOwnProcess([this] {
        EXPECT_EQ(Install("arm64", CLIENT_SIDE), kFailed);
        EXPECT_EQ(Install("arm64", SERVER_SIDE), kFailed);
        EXPECT_THAT(ScriptedServices::Get().iniCalls,
                    ElementsAre("string os/platform " + dir_ / "platforminfo.ini"));
        EXPECT_EQ(RecordingLogger::Records().front(),
                  Failure("GetModelPlatform", "Invalid:platform side=1"));
    });
}

TEST_F(InstallScript, KeepsPlatformAfterChange) {
    InItsOwnProcess([this] {
        SetMachine("arm64");
        SetPackage("arm64");
        EXPECT_EQ(Install("arm64", CLIENT_SIDE), 0);
        SetMachine("x86");
        EXPECT_EQ(Install("x86", SERVER_SIDE), kFailed);
        EXPECT_EQ(RecordingLogger::Records().back(),
                  Refused("Invalid:platform=arm64,vekTellPlatform=x86"));
        EXPECT_EQ(Install("arm64", SERVER_SIDE), 0);
    });
}

TEST_F(InstallScript, LogsSourceFile) {
    InItsOwnProcess([this] {
        fs::remove(zip_);
        Install("arm64");
        const std::vector<LogOrigin> origins = RecordingLogger::Origins();
        ASSERT_EQ(origins.size(), 1U);
        EXPECT_EQ(origins[0].file, "AppendInstallScript.cpp");
        EXPECT_EQ(origins[0].tag1, " ");
        EXPECT_EQ(origins[0].tag2, "");
    });
}
