// ShellCall, the package tree, the directories of one package, and SplitFilePath.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>

#include "ChildProcess.h"
#include "UpdateTest.h"

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace fs = std::filesystem;

class ShellCall : public UpdateTest {};
class MicroserviceDirectories : public UpdateTest {};
class PackagePath : public UpdateTest {
   protected:
    int Create(const std::string& subDirName, const std::string& packageName) {
        return ZnVcUpdate::ZnCreateMicroservicePackagePath(subDirName, packageName, result_);
    }

    static Logged Says(const std::string& text) {
        return Progress("ZnCreateMicroservicePackagePath", text);
    }
    static Logged Complains(const std::string& text) {
        return Failure("ZnCreateMicroservicePackagePath", text);
    }

    std::string result_ = "from the last call";
};
class SplitFilePath : public UpdateTest {};

// --- Running commands ---

TEST_F(ShellCall, JoinsProgramAndArgumentsWithOneBlank) {
    const struct {
        const char* exeName;
        const char* args;
        const char* command;
    } cases[] = {
        {"unzip", "-o a.zip", "unzip -o a.zip"},
        {"unzip", "", "unzip "},
        {"unzip", " -o a.zip", "unzip  -o a.zip"},
        {"", "", " "},
        {"a b", "'c' \"d\"; $e %s", "a b 'c' \"d\"; $e %s"},
    };
    for (const auto& c : cases) {
        ScriptedServices::Get().shellCommands.clear();
        EXPECT_EQ(ZnVcUpdate::ShellCall(c.exeName, c.args, 1), kSuccess);
        EXPECT_THAT(ScriptedServices::Get().shellCommands, ElementsAre(c.command));
    }
}

TEST_F(ShellCall, OnlyLogsTimeLimit) {
    for (const int timeoutMs : {5, 0, -1, 2147483647}) {
        RecordingLogger::Clear();
        EXPECT_EQ(ZnVcUpdate::ShellCall("unzip", "-v", timeoutMs), kSuccess);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(Progress("ShellCall", "exeName=unzip,args=-v,timeoutMs=" +
                                                          std::to_string(timeoutMs)),
                                Progress("ShellCall", "cmd=unzip -v")));
    }
}

TEST_F(ShellCall, ReturnsZeroForAnyOutcome) {
    for (const int status : {0, 256, 127 * 256, 9, -1}) {
        ScriptedServices::Get().shell = [=](const std::string&) { return status; };
        EXPECT_EQ(ZnVcUpdate::ShellCall("false", "", 0), kSuccess);
    }
}

// Runs a command in a child whose descriptors `closed` are closed. Returns whether, while it runs,
// those are open on /dev/null and inherited, the others are untouched, and nothing else is open.
static bool CommandGetsStandardDescriptors(const std::set<int>& closed) {
    const auto check = [&closed] {
        const int firstFree = fcntl(STDIN_FILENO, F_DUPFD, 3);
        close(firstFree);
        struct stat expected[3] = {};
        for (const int descriptor : {0, 1, 2}) {
            if (closed.count(descriptor) == 0) {
                fstat(descriptor, &expected[descriptor]);
            } else {
                close(descriptor);
                stat("/dev/null", &expected[descriptor]);
            }
        }
        bool good = false;
        ScriptedServices::Get().shell = [&](const std::string&) {
            good = fcntl(firstFree, F_GETFD) == -1;
            for (const int descriptor : {0, 1, 2}) {
                struct stat now = {};
                good = good && fstat(descriptor, &now) == 0 &&
                       now.st_dev == expected[descriptor].st_dev &&
                       now.st_ino == expected[descriptor].st_ino && fcntl(descriptor, F_GETFD) == 0;
            }
            return 0;
        };
        ZnVcUpdate::ShellCall("true", "", 0);
        std::exit(good ? 0 : 1);
    };
    return RunInChild(check).Succeeded();
}

TEST_F(ShellCall, OpensClosedStandardDescriptorsOnDevNull) {
    const std::set<int> cases[] = {{}, {0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}};
    for (const std::set<int>& closed : cases) {
        EXPECT_TRUE(CommandGetsStandardDescriptors(closed)) << testing::PrintToString(closed);
    }
}

// --- The package tree ---

TEST_F(MicroserviceDirectories, CreatesParentsFirst) {
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kSuccess);
    EXPECT_THAT(
        ScriptedFiles::Get().calls,
        ElementsAre("mkdir " + Microservices() + " 777", "mkdir " + Package() + " 777",
                    "mkdir " + Package() + "Client/ 777", "mkdir " + Package() + "Server/ 777"));
    EXPECT_TRUE(fs::is_directory(temporary_ / "microservices/Package/Client"));
    EXPECT_TRUE(fs::is_directory(temporary_ / "microservices/Package/Server"));
    EXPECT_THAT(RecordingLogger::Records(), ElementsAre(TreeRecord()));
}

TEST_F(MicroserviceDirectories, SkipsExistingDirectories) {
    fs::create_directories(temporary_ / "microservices/Package/Client");
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kSuccess);
    EXPECT_THAT(ScriptedFiles::Get().calls, ElementsAre("mkdir " + Package() + "Server/ 777"));
}

TEST_F(MicroserviceDirectories, UsesProcessDirectoryUnchanged) {
    ScriptedServices::Get().processDirectory = temporary_ / "";
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kSuccess);
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(Progress("ZnCreateMicroserviceDirectories",
                                     temporary_.Path() + "//microservices/")));
}

TEST_F(MicroserviceDirectories, AttemptsRestWhenOneFails) {
    RefuseDirectory(Package() + "Client/");
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kFailure);
    EXPECT_TRUE(fs::is_directory(temporary_ / "microservices/Package/Server"));
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(TreeRecord(), Failure("CreateDirectories", "Failed:" + Package() + "Client/"),
                    Failure("ZnCreateMicroserviceDirectories", "Create Directories failed")));
}

TEST_F(MicroserviceDirectories, LogsMissingParentAndItsChildren) {
    RefuseDirectory(Microservices());
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kFailure);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(TreeRecord(), Failure("CreateDirectories", "Failed:" + Microservices()),
                    Failure("CreateDirectories", "Failed:" + Package()),
                    Failure("CreateDirectories", "Failed:" + Package() + "Client/"),
                    Failure("CreateDirectories", "Failed:" + Package() + "Server/"),
                    Failure("ZnCreateMicroserviceDirectories", "Create Directories failed")));
}

TEST_F(MicroserviceDirectories, ChecksExistenceInsteadOfResult) {
    ScriptedFiles::Get().mkDir = [](const std::string& path, unsigned short) {
        fs::create_directory(path);
        return -1;
    };
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kSuccess);

    fs::remove_all(temporary_ / "microservices");
    ScriptedFiles::Get().mkDir = [](const std::string&, unsigned short) { return 0; };
    EXPECT_EQ(ZnVcUpdate::ZnCreateMicroserviceDirectories(), kFailure);
}

TEST_F(MicroserviceDirectories, LogsSourceFileAndTags) {
    RefuseDirectory(Package());
    ZnVcUpdate::ZnCreateMicroserviceDirectories();
    ZnVcUpdate::ShellCall("true", "", 0);
    EXPECT_EQ(RecordingLogger::Origins().size(), 7U);
    EXPECT_THAT(RecordingLogger::Origins(),
                Each(AllOf(Field(&LogOrigin::file, "ZnVcUpdate.cpp"), Field(&LogOrigin::tag1, " "),
                           Field(&LogOrigin::tag2, ""))));
}

// --- The directories of one package ---

TEST_F(PackagePath, CreatesDirectoryForClientPackage) {
    EXPECT_EQ(Create("download", "abcClient_1.0.zip"), kSuccess);
    EXPECT_EQ(result_, Microservices());
    EXPECT_TRUE(fs::is_directory(temporary_ / "microservices/download"));
    EXPECT_TRUE(
        fs::is_directory(temporary_ / "microservices/Package/Client/abcClient_1.0_Release"));
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(TreeRecord(), Says("thinFilePath=abcClient_1.0"),
                            Says("packagePath=" + Package() + "Client/abcClient_1.0_Release/")));
}

TEST_F(PackagePath, CreatesDirectoriesInOrder) {
    Create("download", "abcClient.zip");
    const std::vector<std::string> calls = ScriptedFiles::Get().calls;
    ASSERT_EQ(calls.size(), 6U);
    EXPECT_EQ(calls[4], "mkdir " + Microservices() + "/download/ 777");
    EXPECT_EQ(calls[5], "mkdir " + Package() + "Client/abcClient_Release/ 777");
}

TEST_F(PackagePath, SkipsExistingDirectories) {
    Create("download", "abcClient.zip");
    ScriptedFiles::Get().calls.clear();
    EXPECT_EQ(Create("download", "abcClient.zip"), kSuccess);
    EXPECT_THAT(ScriptedFiles::Get().calls, IsEmpty());
}

TEST_F(PackagePath, NamesDirectoryUpToFirstZip) {
    const struct {
        const char* packageName;
        const char* thinName;
    } cases[] = {
        {"xClient_1.2_Release.zip", "xClient_1.2_Release"},
        {"xClient", "xClient"},
        {"xClient.zip.bak.zip", "xClient"},
        {"xClient.ZIP", "xClient.ZIP"},
        {"x.zip_Client", "x"},
        {".zipClient", ""},
        {"Server_and_Client.zip", "Server_and_Client"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.packageName);
        RecordingLogger::Clear();
        EXPECT_EQ(Create("d", c.packageName), kSuccess);
        const std::string directory = Package() + "Client/" + c.thinName + "_Release/";
        EXPECT_TRUE(fs::is_directory(directory));
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(TreeRecord(), Says(std::string("thinFilePath=") + c.thinName),
                                Says("packagePath=" + directory)));
    }
}

TEST_F(PackagePath, CreatesNoDirectoryForServerPackage) {
    EXPECT_EQ(Create("download", "abcServer_1.0.zip"), kSuccess);
    EXPECT_EQ(result_, Microservices());
    EXPECT_TRUE(fs::is_directory(temporary_ / "microservices/download"));
    EXPECT_TRUE(fs::is_empty(temporary_ / "microservices/Package/Client"));
    EXPECT_TRUE(fs::is_empty(temporary_ / "microservices/Package/Server"));
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(TreeRecord(), Says("thinFilePath=abcServer_1.0")));
}

TEST_F(PackagePath, FailsForNameOfNeitherSide) {
    for (const std::string name : {"abc_1.0.zip", "client_server.zip", ""}) {
        SCOPED_TRACE(name);
        RecordingLogger::Clear();
        EXPECT_EQ(Create("download", name), kFailure);
        EXPECT_EQ(result_, Microservices());
        EXPECT_TRUE(fs::is_directory(temporary_ / "microservices/download"));
        EXPECT_THAT(
            RecordingLogger::Records(),
            ElementsAre(TreeRecord(), Says("thinFilePath=" + name.substr(0, name.find(".zip"))),
                        Complains("Invalid:packageName=" + name)));
    }
}

TEST_F(PackagePath, StopsWithoutTree) {
    RefuseDirectory(Package() + "Server/");
    EXPECT_EQ(Create("download", "abcClient.zip"), kFailure);
    EXPECT_EQ(result_, Microservices());
    EXPECT_FALSE(fs::exists(temporary_ / "microservices/download"));
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(TreeRecord(), Failure("CreateDirectories", "Failed:" + Package() + "Server/"),
                    Failure("ZnCreateMicroserviceDirectories", "Create Directories failed"),
                    Complains("Failed:ZnCreateMicroserviceDirectories")));
}

TEST_F(PackagePath, LogsSubDirectoryThatCannotBeCreated) {
    RefuseDirectory(Microservices() + "/download/");
    EXPECT_EQ(Create("download", "abcClient.zip"), kFailure);
    EXPECT_EQ(result_, Microservices());
    EXPECT_TRUE(fs::is_empty(temporary_ / "microservices/Package/Client"));
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(TreeRecord(), Complains("Failed:" + Microservices() + "/download/")));
}

TEST_F(PackagePath, LogsPackageDirectoryThatCannotBeCreated) {
    const std::string directory = Package() + "Client/abcClient_Release/";
    RefuseDirectory(directory);
    EXPECT_EQ(Create("download", "abcClient.zip"), kFailure);
    EXPECT_EQ(result_, Microservices());
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAre(TreeRecord(), Says("thinFilePath=abcClient"),
                            Says("packagePath=" + directory), Complains("Failed:" + directory)));
}

// --- Splitting paths ---

TEST_F(SplitFilePath, SplitsAfterLastSeparator) {
    const struct {
        const char* path;
        char separator;
        const char* directory;
        const char* file;
    } cases[] = {
        {"/a/b/c.zip", '/', "/a/b/", "c.zip"},
        {"/a/b/", '/', "/a/b/", ""},
        {"c.zip", '/', "", ""},
        {"", '/', "", ""},
        {"/", '/', "/", ""},
        {"//c", '/', "//", "c"},
        {"a/c", '/', "a/", "c"},
        {"/d/abc_1.0.zip", '.', "/d/abc_1.0.", "zip"},
        {"/d.e/abc", '.', "/d.", "e/abc"},
        {"C:\\d\\e", '\\', "C:\\d\\", "e"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        std::string directory = "from the last call";
        std::string file = "from the last call";
        ZnVcUpdate::SplitFilePath(c.path, directory, file, c.separator);
        EXPECT_EQ(directory, c.directory);
        EXPECT_EQ(file, c.file);
    }
    EXPECT_THAT(RecordingLogger::Records(), IsEmpty());
}

TEST_F(SplitFilePath, EndsPathAtFirstNul) {
    std::string directory;
    std::string file;
    ZnVcUpdate::SplitFilePath(std::string("/a/b\0/c", 7), directory, file, '/');
    EXPECT_EQ(directory, "/a/");
    EXPECT_EQ(file, "b");
}

TEST_F(SplitFilePath, AcceptsInputAsOutput) {
    std::string path = "/a/b";
    std::string file;
    ZnVcUpdate::SplitFilePath(path, path, file, '/');
    EXPECT_EQ(path, "/a/");
    EXPECT_EQ(file, "b");
}
