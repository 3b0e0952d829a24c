#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "FileDescriptor.h"
#include "PackageTest.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

class PackageCommands : public PackageTest {};

TEST_F(PackageCommands, ScanListsZipsWithDigestAndSize) {
    const std::string zip = AddPackage();
    const Json records = Json::parse(Output({"package", "scan", "--json", root_ + "/Package"}));
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].at("packageName"), "P_1.0_Server.zip");
    EXPECT_EQ(records[0].at("sha256Hash"), Sha256Of(zip));
    EXPECT_EQ(records[0].at("size"), fs::file_size(zip));
    EXPECT_THAT(Output({"package", "scan", root_ + "/Package"}), HasSubstr("P_1.0_Server.zip"));
}

TEST_F(PackageCommands, ScanCreatesTreeOnlyIfAskedTo) {
    fs::create_directory(directory_ / "zips");
    fs::remove_all(root_);
    const auto before = Snapshot(directory_.Path());
    Output({"package", "scan", directory_ / "zips"});
    EXPECT_EQ(Snapshot(directory_.Path()), before);
    Output({"package", "scan", "--create-tree", directory_ / "zips"});
    EXPECT_TRUE(fs::is_directory(root_ + "/Package/Server"));
}

TEST_F(PackageCommands, ScanReportsMissingDirectory) {
    EXPECT_THAT(Failure({"package", "scan", directory_ / "missing"}),
                HasSubstr("missing: no such directory"));
    EXPECT_THAT(Failure({"package", "scan", process_ + "/platforminfo.ini"}),
                HasSubstr("platforminfo.ini: not a directory"));
}

TEST_F(PackageCommands, UnzipUnpacksNextToTheZip) {
    const std::string one = AddPackage("One_Server.zip");
    const std::string two = AddPackage("Two_Server.zip");
    EXPECT_EQ(Output({"package", "unzip", one, two}), "");
    EXPECT_EQ(ReadFile(packages_ + "One_Server/Common/a.so"), "contents of a");
    EXPECT_EQ(ReadFile(packages_ + "Two_Server/Common/b.so"), "contents of b");
}

TEST_F(PackageCommands, UnzipReportsUnreadableZip) {
    WriteFile(directory_ / "broken.zip", "no zip");
    EXPECT_THAT(Failure({"package", "unzip", directory_ / "broken.zip"}),
                HasSubstr("broken.zip: "));
    EXPECT_THAT(Failure({"package", "unzip", directory_ / "missing.zip"}),
                HasSubstr("missing.zip: No such file"));
}

TEST_F(PackageCommands, UnzipContinuesAfterUnreadableZip) {
    const std::string zip = AddPackage();
    const std::string missing = directory_ / "missing.zip";
    EXPECT_EQ(Failure({"package", "unzip", missing, zip}),
              "znpolicy: " + missing + ": No such file\n");
    EXPECT_EQ(ReadFile(packages_ + "P_1.0_Server/Common/a.so"), "contents of a");
}

// The library does not look at what became of unzip.
TEST_F(PackageCommands, UnzipReportsEncryptedFilesWithoutAsking) {
    const std::string zip = packages_ + "P_Server.zip";
    WriteFile(directory_ / "secret", "contents");
    OutputOf("zip -q -j -P password " + zip + " " + directory_ / "secret");
    EXPECT_THAT(Failure({"package", "unzip", zip}), HasSubstr("secret: is encrypted"));
    EXPECT_FALSE(fs::exists(packages_ + "P_Server"));
}

TEST_F(PackageCommands, UnzipReportsWhenNothingWasUnpacked) {
    const std::string zip = AddZip("P_Server.zip", {{"file", "old"}});
    Output({"package", "unzip", zip});
    AddZip("P_Server.zip", {{"file", "new"}});
    const ProcessResult result =
        Run({"package", "unzip", zip}, Variables({{"PATH", directory_ / "no programs here"}}));
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.err, HasSubstr("unzip did not create " + packages_ +
                                      "P_Server/file with the contents that it has in the zip"));
}

// A path without a directory would be unpacked into the root directory.
TEST_F(PackageCommands, AcceptsZipNameWithoutDirectory) {
    AddPackage();
    const ProcessOptions here = InDirectory(packages_);
    const ProcessResult unzip =
        Run({"package", "unzip", "P_1.0_Server.zip", "--log-level", "info"}, here);
    EXPECT_EQ(unzip.exitCode, kDone);
    EXPECT_THAT(unzip.err, HasSubstr("cmd=unzip  -o ./P_1.0_Server.zip -d .//P_1.0_Server"));
    EXPECT_EQ(ReadFile(packages_ + "P_1.0_Server/Common/a.so"), "contents of a");
    fs::remove_all(packages_ + "P_1.0_Server");
    EXPECT_THAT(Output({"package", "rollback", "P_1.0_Server.zip"}, here), HasSubstr("a.so"));
    EXPECT_THAT(Output({"package", "check", "P_1.0_Server.zip"}, here), HasSubstr("2 files"));
}

TEST_F(PackageCommands, UnzipRejectsPathsThatShellWouldInterpret) {
    const struct {
        std::string name;
        std::string problem;
    } cases[] = {
        {"x;touch PWNED;.zip", "x;touch PWNED;.zip: the path contains \";\""},
        {"a b.zip", "the path contains a blank"},
        {"a\nb.zip", "the path contains a line break"},
        {"a*.zip", "the path contains \"*\""},
        {"a;b/c.zip", "the path contains \";\""},
    };
    const std::string zip = AddPackage();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = directory_ / ("zips/" + c.name);
        fs::create_directories(fs::path(path).parent_path());
        fs::copy_file(zip, path);
        const auto before = Snapshot(directory_.Path());
        const std::string problem =
            Failure({"package", "unzip", path}, InDirectory(directory_ / "zips"));
        EXPECT_THAT(problem, HasSubstr(c.problem));
        EXPECT_THAT(problem, HasSubstr("rename"));
        EXPECT_EQ(Snapshot(directory_.Path()), before);
    }
}

TEST_F(PackageCommands, UnzipAcceptsCharactersThatShellTakesLiterally) {
    const std::string zip = AddPackage();
    const std::string name = "a!b%c+d,e-f:g=h@i^j~k#l\xC3\xA4";
    fs::copy_file(zip, packages_ + name + ".zip");
    EXPECT_EQ(Output({"package", "unzip", packages_ + name + ".zip"}), "");
    EXPECT_EQ(ReadFile(packages_ + name + "/Common/a.so"), "contents of a");
    fs::copy_file(zip, packages_ + "-d.zip");
    EXPECT_EQ(Output({"package", "unzip", "--", "-d.zip"}, InDirectory(packages_)), "");
    EXPECT_EQ(ReadFile(packages_ + "-d/Common/a.so"), "contents of a");
}

// What is shown on a terminal as standard error of the program, with the directory `programs` first
// on its search path. `watch` is called with what has been shown so far.
std::string ShownOnTerminal(const std::vector<std::string>& arguments, const std::string& programs,
                            const std::function<void(const std::string&)>& watch) {
    const FileDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY));
    EXPECT_TRUE(terminal.IsOpen() && grantpt(terminal.Get()) == 0 && unlockpt(terminal.Get()) == 0);
    const std::string shell = "exec \"$@\" 2>" + std::string(ptsname(terminal.Get()));
    std::vector<std::string> command = {"sh", "-c", shell, "sh", ZNPOLICY};
    command.insert(command.end(), arguments.begin(), arguments.end());
    ProcessOptions options;
    options.environment["PATH"] = programs + ":" + std::getenv("PATH");
    // Kept open, so that reading ends with the marker and not before the program has opened it.
    const FileDescriptor other = FileDescriptor::Open(ptsname(terminal.Get()), O_RDWR | O_NOCTTY);
    ChildProcess program(command, options);
    std::string text;
    std::array<char, 256> buffer = {};
    const std::string end = "\r\x1b[K";
    while (text.size() <= end.size() ||
           text.compare(text.size() - end.size(), end.size(), end) != 0) {
        const ssize_t count = terminal.Read(buffer.data(), buffer.size());
        if (count <= 0) {
            break;
        }
        text.append(buffer.data(), static_cast<size_t>(count));
        watch(text);
    }
    EXPECT_EQ(program.Wait().exitCode, kDone);
    return text;
}

TEST_F(PackageCommands, ShowsProgressOnTerminal) {
    const std::string zip = AddPackage();
    const std::string go = directory_ / "go";
    const std::string programs = directory_ / "programs";
    ASSERT_EQ(mkfifo(go.c_str(), 0600), 0);
    // An unzip that does not begin before the bar has been seen.
    WriteFile(programs + "/unzip", "#!/bin/sh\nread line <" + go + "\nexec " +
                                       OutputOf("command -v unzip | tr -d '\\n'") + " \"$@\"\n");
    fs::permissions(programs + "/unzip", fs::perms::owner_all);
    bool isReleased = false;
    const std::string shown =
        ShownOnTerminal({"package", "unzip", zip}, programs, [&](const std::string& soFar) {
            if (!isReleased && soFar.find("0/1") != std::string::npos) {
                isReleased = true;
                WriteFile(go, "go\n");
            }
        });
    EXPECT_THAT(shown, HasSubstr("\r\x1b[Kunpacking [" + std::string(30, '.') + "] 0/1"));
}

TEST_F(PackageCommands, ReportsMissingTemporaryDirectory) {
    const std::string zip = AddPackage();
    const std::string update = DescribeZips({zip});
    const ProcessOptions options = Variables({{"TMPDIR", "/nonexistent"}});
    for (const auto& arguments :
         {std::vector<std::string>{"package", "check", zip}, ServerSide("install", update)}) {
        EXPECT_THAT(Failure(arguments, options),
                    AllOf(HasSubstr("/nonexistent: "), HasSubstr("set TMPDIR")));
    }
}

TEST_F(PackageCommands, PathCreatesPackageDirectory) {
    EXPECT_EQ(Output({"package", "path", "x_Client_1.0.zip"}),
              root_ + "/Package/Client/x_Client_1.0_Release/\n");
    EXPECT_TRUE(fs::is_directory(root_ + "/Package/Client/x_Client_1.0_Release"));
    EXPECT_EQ(Output({"package", "path", "x_Server_1.0.zip"}), packages_ + "\n");
    EXPECT_THAT(Failure({"package", "path", "x_1.0.zip"}),
                HasSubstr("neither \"Client\" nor \"Server\""));
}

}  // namespace
