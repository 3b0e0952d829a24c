// ExecuteInstallCommand: installs the files of an unpacked package by its manifest.
#include <algorithm>
#include <climits>
#include <filesystem>
#include <iterator>

#include "PolicyTest.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Field;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace fs = std::filesystem;

constexpr int kFailed = -10000;
static const std::string kMark = "/usr/local/vornserver/bin/microservices/vcUpdated.mark";

using Records = std::vector<Logged>;

static Records Joined(Records first, const Records& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// Log records of the steps.

static Logged Command(const std::string& text) {
    return Progress("ExecuteInstallCommand", text);
}

static Logged Path(const std::string& text) {
    return Progress("OneByOnePath", text);
}

static Logged File(const std::string& text) {
    return Progress("OneByOneFile", text);
}

static Logged Element(const std::string& text) {
    return Progress("SplitString", "-------->" + text);
}

static Logged Installed(const std::string& text) {
    return Progress("InstallFile", text);
}

static Logged NotInstalled(const std::string& text) {
    return Failure("InstallFile", text);
}

static Logged Copied(const std::string& source, const std::string& destination) {
    return Installed("copy " + source + " " + destination);
}

static Logged Renamed(const std::string& destination) {
    return Installed("rename " + destination + " " + destination + ".bak");
}

static const Logged kBegin = Installed("Begin");
static const Logged kDone = Installed("Done");

// The records of the outer steps after a failure in an inner one.
static const Logged kCommandFailed = Failure("ExecuteInstallCommand", "Invalid PackageIntallType");
static const Logged kFileFailed = Failure("OneByOnePath", "Invalid OneByOneFile");
static const Logged kInstallFailed = Failure("OneByOneFile", "InstallFile Failed");

static Records RecordsOf(const std::string& function) {
    const Records all = RecordingLogger::Records();
    Records found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const Logged& record) { return record.function == function; });
    return found;
}

static std::string Mark() {
    return ScriptedFiles::Get().fixedFiles[kMark];
}

// An unpacked package for arm64, without payload and with an empty manifest. Its destination does
// not exist at first.
class InstallCommand : public PolicyTest {
   protected:
    InstallCommand() {
        WriteFile(manifest_, "");
        fs::create_directory(common_);
    }

    // The manifest as the INI reader sees it.
    ScriptedServices::IniFile& Manifest() {
        return ScriptedServices::Get().iniFiles[manifest_];
    }

    // A manifest that puts the files of `list` into the destination.
    void List(const std::string& list) {
        Manifest() = {{"Package_Intall_Type", {{"PackageIntallType", "arm64"}}},
                      {"arm64", {{"bin", destination_}}},
                      {"bin", {{"files", list}}}};
    }

    // Puts a file into the payload.
    void Source(const std::string& name, const std::string& contents) {
        WriteFile(common_ + name, contents);
    }

    // Puts a file into the destination.
    void Present(const std::string& name, const std::string& contents) {
        WriteFile(destination_ + name, contents);
    }

    int Install(const std::string& platform = "arm64") {
        return ZnVcUpdate::ExecuteInstallCommand(package_, platform);
    }

    // Expects a failure in InstallFile with these records, and the records of the outer steps.
    void ExpectInstallFails(const Records& expected) {
        EXPECT_EQ(Install(), kFailed);
        EXPECT_THAT(RecordsOf("InstallFile"), ElementsAreArray(expected));
        const Records all = RecordingLogger::Records();
        ASSERT_GE(all.size(), 3U);
        EXPECT_THAT(Records(all.end() - 3, all.end()),
                    ElementsAre(kInstallFailed, kFileFailed, kCommandFailed));
    }

    // The records up to the platform section.
    Records Matched(const std::string& request, const std::string& platform) {
        return {Command("fileListIni=" + manifest_), Command("vekTellPlatform=" + request),
                Command("Match:vekTellPlatform=" + request + ",platform=" + platform)};
    }

    // The first records of a path key.
    Records PathRead(const std::string& key, const std::string& value) {
        return {Path(key + "=" + value + "::"), File("pathKey=" + key), File("pathValue=" + value)};
    }

    TemporaryDirectory dir_;
    const std::string package_ = dir_ / "Pkg_1.0_Server";
    const std::string manifest_ = package_ + "/FileList.ini";
    const std::string common_ = package_ + "/Common/";
    const std::string destination_ = dir_ / "opt/";
};

// --- Arguments, manifest, platform ---

TEST_F(InstallCommand, RefusesArgumentsBelowTwoCharacters) {
    const struct {
        const char* prefix;
        const char* request;
    } cases[] = {{"/", "arm64"}, {"a", "arm64"}, {"", "arm64"},
                 {"/tmp", "a"},  {"/tmp", ""},   {"", ""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.prefix) + " " + c.request);
        RecordingLogger::Clear();
        EXPECT_EQ(ZnVcUpdate::ExecuteInstallCommand(c.prefix, c.request), kFailed);
        EXPECT_THAT(
            RecordingLogger::Records(),
            ElementsAre(Failure("ExecuteInstallCommand", "Invalid filePrefix/vekTellPlatform")));
    }
    EXPECT_THAT(ScriptedServices::Get().iniCalls, IsEmpty());
    EXPECT_THAT(ScriptedFiles::Get().calls, IsEmpty());
}

TEST_F(InstallCommand, FailsWithoutManifest) {
    fs::remove(manifest_);
    EXPECT_EQ(Install(), kFailed);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAre(Command("fileListIni=" + manifest_), Command("vekTellPlatform=arm64"),
                    Failure("ExecuteInstallCommand", "Not Exsit fileListIni:" + manifest_)));
    EXPECT_THAT(ScriptedServices::Get().iniCalls, IsEmpty());
}

TEST_F(InstallCommand, FailsWithoutPlatformInManifest) {
    const ScriptedServices::IniFile manifests[] = {
        {},
        {{"Package_Intall_Type", {}}},
        {{"Package_Intall_Type", {{"PackageInstallType", "arm64"}}}},
        {{"Package_Install_Type", {{"PackageIntallType", "arm64"}}}},
    };
    for (const auto& manifest : manifests) {
        RecordingLogger::Clear();
        Manifest() = manifest;
        EXPECT_EQ(Install(), kFailed);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(Command("fileListIni=" + manifest_),
                                Command("vekTellPlatform=arm64"), kCommandFailed));
    }
}

TEST_F(InstallCommand, MatchesRequestThatIsPrefixOfPlatform) {
    const struct {
        const char* request;
        const char* platform;
    } cases[] = {{"arm64", "arm64"}, {"arm", "arm64"}, {"ar", "arm64"}, {"x86", "x86_64"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.request);
        RecordingLogger::Clear();
        Manifest() = {{"Package_Intall_Type", {{"PackageIntallType", c.platform}}},
                      {c.platform, {}}};
        EXPECT_EQ(Install(c.request), 0);
        EXPECT_THAT(RecordingLogger::Records(), ElementsAreArray(Matched(c.request, c.platform)));
    }
}

TEST_F(InstallCommand, FailsForOtherRequests) {
    const struct {
        const char* request;
        const char* platform;
    } cases[] = {{"arm64", "arm"},
                 {"ARM64", "arm64"},
                 {"arm64 ", "arm64"},
                 {"rm64", "arm64"},
                 {"arm64", ""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.request);
        RecordingLogger::Clear();
        Manifest() = {{"Package_Intall_Type", {{"PackageIntallType", c.platform}}},
                      {c.platform, {}}};
        EXPECT_EQ(Install(c.request), kFailed);
        EXPECT_THAT(RecordingLogger::Records(),
                    ElementsAre(Command("fileListIni=" + manifest_),
                                Command(std::string("vekTellPlatform=") + c.request),
                                Failure("ExecuteInstallCommand",
                                        std::string("Not Match:vekTellPlatform=") + c.request +
                                            ",platform=" + c.platform)));
    }
}

TEST_F(InstallCommand, LogsSourceFileAndTags) {
    List("a,gone");
    Source("a", "new");
    Install();
    const std::vector<LogOrigin> origins = RecordingLogger::Origins();
    EXPECT_EQ(origins.size(), 16U);
    EXPECT_THAT(origins, Each(Field(&LogOrigin::file, "AppendInstallScript.cpp")));
    EXPECT_THAT(origins, Each(Field(&LogOrigin::tag1, " ")));
    EXPECT_THAT(origins, Each(Field(&LogOrigin::tag2, "")));
}

// --- Path keys and file keys ---

TEST_F(InstallCommand, FailsWithoutPlatformSection) {
    Manifest() = {{"Package_Intall_Type", {{"PackageIntallType", "arm64"}}}};
    EXPECT_EQ(Install("arm"), kFailed);
    EXPECT_THAT(RecordingLogger::Records(),
                ElementsAreArray(Joined(
                    Matched("arm", "arm64"),
                    {Failure("OneByOnePath", "Invalid IniGetStringItems"), kCommandFailed})));
}

TEST_F(InstallCommand, KeepsMarkForEmptyPlatformSection) {
    Manifest() = {{"Package_Intall_Type", {{"PackageIntallType", "arm64"}}}, {"arm64", {}}};
    ScriptedFiles::Get().fixedFiles[kMark] = "/of/an/earlier/install";
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(RecordingLogger::Records(), ElementsAreArray(Matched("arm64", "arm64")));
    EXPECT_THAT(ScriptedFiles::Get().calls, IsEmpty());
    EXPECT_EQ(Mark(), "/of/an/earlier/install");
}

TEST_F(InstallCommand, ProcessesKeysInByteOrder) {
    const std::string upper = dir_ / "upper/";
    const std::string lower = dir_ / "lower/";
    Manifest() = {{"Package_Intall_Type", {{"PackageIntallType", "arm64"}}},
                  {"arm64", {{"lib", lower}, {"LIB", upper}}},
                  {"lib", {{"2", "b"}, {"10", "c"}}},
                  {"LIB", {{"f", "a"}}}};
    Source("a", "A");
    Source("b", "B");
    Source("c", "C");
    EXPECT_EQ(Install(), 0);

    Records expected = Matched("arm64", "arm64");
    expected = Joined(expected, PathRead("LIB", upper));
    expected = Joined(expected, {File("fileKey=f"), File("---->fileValue=a"), Element("a"), kBegin,
                                 Copied(common_ + "a", upper + "a"), kDone, File("Pass")});
    expected = Joined(expected, PathRead("lib", lower));
    expected = Joined(expected, {File("fileKey=10"), File("---->fileValue=c"), Element("c"),
                                 File("fileKey=2"), File("---->fileValue=b"), Element("b"), kBegin,
                                 Copied(common_ + "b", lower + "b"),
                                 Copied(common_ + "c", lower + "c"), kDone, File("Pass")});
    EXPECT_THAT(RecordingLogger::Records(), ElementsAreArray(expected));
    EXPECT_EQ(ReadFile(upper + "a"), "A");
    EXPECT_EQ(ReadFile(lower + "b"), "B");
    EXPECT_EQ(ReadFile(lower + "c"), "C");
}

TEST_F(InstallCommand, ReadsManifestInOrder) {
    List("a");
    Source("a", "new");
    Install();
    EXPECT_THAT(ScriptedServices::Get().iniCalls,
                ElementsAre("string Package_Intall_Type/PackageIntallType " + manifest_,
                            "items arm64 " + manifest_, "string arm64/bin " + manifest_,
                            "items bin " + manifest_, "string bin/files " + manifest_));
}

TEST_F(InstallCommand, FailsWhenPathKeyHasNoValue) {
    List("a");
    ScriptedServices::Get().beforeIniCall = [this](const std::string& call) {
        if (call == "string arm64/bin " + manifest_) {
            Manifest()["arm64"].erase("bin");
        }
    };
    EXPECT_EQ(Install(), kFailed);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAreArray(Joined(Matched("arm64", "arm64"),
                                {Failure("OneByOnePath", "Invalid:pathKey=bin"), kCommandFailed})));
}

TEST_F(InstallCommand, FailsWhenPathKeyHasNoSection) {
    List("a");
    Manifest().erase("bin");
    EXPECT_EQ(Install(), kFailed);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAreArray(Joined(Matched("arm64", "arm64"),
                                {Path("bin=" + destination_ + "::"),
                                 Failure("OneByOnePath", "Invalid:pathKey=bin"), kCommandFailed})));
    EXPECT_THAT(ScriptedFiles::Get().calls, IsEmpty());
}

TEST_F(InstallCommand, FailsWhenFileKeyHasNoValue) {
    List("a");
    Manifest()["bin"]["more"] = "b";
    Source("a", "new");
    ScriptedServices::Get().beforeIniCall = [this](const std::string& call) {
        if (call == "string bin/more " + manifest_) {
            Manifest()["bin"].erase("more");
        }
    };
    EXPECT_EQ(Install(), kFailed);
    Records expected = Joined(Matched("arm64", "arm64"), PathRead("bin", destination_));
    expected =
        Joined(expected,
               {File("fileKey=files"), File("---->fileValue=a"), Element("a"), File("fileKey=more"),
                Failure("OneByOneFile", "Invalid:pathKey=bin"), kFileFailed, kCommandFailed});
    EXPECT_THAT(RecordingLogger::Records(), ElementsAreArray(expected));
    EXPECT_THAT(ScriptedFiles::Get().calls, IsEmpty());  // nothing is installed by halves
}

TEST_F(InstallCommand, SkipsLaterPathKeysAfterFailure) {
    List("gone");
    Manifest()["arm64"]["zlib"] = dir_ / "zlib/";
    Manifest()["zlib"] = {{"files", "a"}};
    Source("a", "new");
    ExpectInstallFails({kBegin, NotInstalled("Not Find:src_filename=" + common_ + "gone")});
    EXPECT_THAT(ScriptedServices::Get().iniCalls, Not(Contains("string arm64/zlib " + manifest_)));
    EXPECT_FALSE(fs::exists(dir_ / "zlib"));
}

TEST_F(InstallCommand, RemovesMarkForSectionWithoutFileKeys) {
    List("");
    Manifest()["bin"].clear();
    ScriptedFiles::Get().fixedFiles[kMark] = "/of/an/earlier/install";
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(
        RecordingLogger::Records(),
        ElementsAreArray(Joined(Joined(Matched("arm64", "arm64"), PathRead("bin", destination_)),
                                {kBegin, kDone, File("Pass")})));
    EXPECT_THAT(ScriptedFiles::Get().calls, ElementsAre("remove " + kMark));
    EXPECT_THAT(ScriptedFiles::Get().fixedFiles, IsEmpty());
    EXPECT_FALSE(fs::exists(destination_));
}

TEST_F(InstallCommand, TruncatesValuesAt258Characters) {
    List(std::string(300, 'a'));
    EXPECT_EQ(Install(), kFailed);
    EXPECT_THAT(RecordsOf("SplitString"), ElementsAre(Element(std::string(258, 'a'))));
}

// --- File lists ---

TEST_F(InstallCommand, SplitsFileListUpToEmptyElement) {
    const struct {
        const char* list;
        std::vector<std::string> elements;
    } cases[] = {
        {"a", {"a"}},
        {"a,b", {"a", "b"}},
        {"b,a", {"b", "a"}},
        {"a,b,", {"a", "b"}},
        {"a,,b", {"a"}},
        {",a", {}},
        {",", {}},
        {"", {}},
        {"a, b ,c", {"a", " b ", "c"}},  // blanks are part of a name
        {" ", {" "}},
        {"a,a,a", {"a", "a", "a"}},
        {"a;b", {"a;b"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.list);
        RecordingLogger::Clear();
        List(c.list);
        Install();
        Records expected;
        for (const std::string& element : c.elements) {
            expected.push_back(Element(element));
        }
        EXPECT_THAT(RecordsOf("SplitString"), ElementsAreArray(expected));
    }
}

TEST_F(InstallCommand, InstallsFilesInByteOrder) {
    List("b,a,B, b");
    for (const char* const name : {"a", "b", "B", " b"}) {
        Source(name, "new");
    }
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(RecordsOf("InstallFile"),
                ElementsAre(kBegin, Copied(common_ + " b", destination_ + " b"),
                            Copied(common_ + "B", destination_ + "B"),
                            Copied(common_ + "a", destination_ + "a"),
                            Copied(common_ + "b", destination_ + "b"), kDone));
}

TEST_F(InstallCommand, InstallsRepeatedNameOnce) {
    List("a,b");
    Manifest()["bin"]["more"] = "b,a";
    Source("a", "new");
    Source("b", "new");
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(RecordsOf("InstallFile"),
                ElementsAre(kBegin, Copied(common_ + "a", destination_ + "a"),
                            Copied(common_ + "b", destination_ + "b"), kDone));
}

// --- Files that are new, replaced or unchanged ---

TEST_F(InstallCommand, CopiesAndMarksNewFile) {
    List("a");
    Source("a", "new");
    EXPECT_EQ(Install(), 0);
    Records expected = Joined(Matched("arm64", "arm64"), PathRead("bin", destination_));
    expected =
        Joined(expected, {File("fileKey=files"), File("---->fileValue=a"), Element("a"), kBegin,
                          Copied(common_ + "a", destination_ + "a"), kDone, File("Pass")});
    EXPECT_THAT(RecordingLogger::Records(), ElementsAreArray(expected));
    EXPECT_THAT(
        ScriptedFiles::Get().calls,
        ElementsAre("remove " + kMark, "mkdir " + destination_ + " 777", "size " + common_ + "a",
                    "copy " + common_ + "a " + destination_ + "a", "append " + kMark));
    EXPECT_THAT(ScriptedServices::Get().digestCalls, IsEmpty());
    EXPECT_EQ(ReadFile(destination_ + "a"), "new");
    EXPECT_FALSE(fs::exists(destination_ + "a.bak"));
    EXPECT_EQ(Mark(), destination_ + "a");
}

TEST_F(InstallCommand, KeepsReplacedFileAsBackup) {
    List("a");
    Source("a", "new");
    Present("a", "old");
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(RecordsOf("InstallFile"),
                ElementsAre(kBegin, Renamed(destination_ + "a"),
                            Copied(common_ + "a", destination_ + "a"), kDone));
    EXPECT_THAT(ScriptedServices::Get().digestCalls,
                ElementsAre(common_ + "a", destination_ + "a"));
    EXPECT_EQ(ReadFile(destination_ + "a"), "new");
    EXPECT_EQ(ReadFile(destination_ + "a.bak"), "old");
    EXPECT_EQ(Mark(), destination_ + "a");
}

TEST_F(InstallCommand, KeepsOneBackup) {
    List("a");
    Source("a", "new");
    Present("a", "old");
    Present("a.bak", "older");
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(
        RecordsOf("InstallFile"),
        ElementsAre(kBegin, Installed("RemoveFile dst_filename_bak=" + destination_ + "a.bak"),
                    Renamed(destination_ + "a"), Copied(common_ + "a", destination_ + "a"), kDone));
    EXPECT_EQ(ReadFile(destination_ + "a.bak"), "old");
}

TEST_F(InstallCommand, SkipsUnchangedFile) {
    List("a");
    Source("a", "same");
    Present("a", "same");
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(RecordsOf("InstallFile"),
                ElementsAre(kBegin, Installed("ignore the same:file=a"), kDone));
    EXPECT_THAT(ScriptedFiles::Get().calls,
                ElementsAre("remove " + kMark, "size " + common_ + "a"));
    EXPECT_FALSE(fs::exists(destination_ + "a.bak"));
    EXPECT_EQ(Mark(), "");
}

TEST_F(InstallCommand, DeletesBackupOfUnchangedFile) {
    List("a");
    Source("a", "same");
    Present("a", "same");
    Present("a.bak", "older");
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(
        RecordsOf("InstallFile"),
        ElementsAre(kBegin, Installed("RemoveFile dst_filename_bak=" + destination_ + "a.bak"),
                    Installed("ignore the same:file=a"), kDone));
    EXPECT_FALSE(fs::exists(destination_ + "a.bak"));
}

TEST_F(InstallCommand, DeletesBackupOfMissingFile) {
    List("a");
    Source("a", "new");
    Present("a.bak", "older");
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(
        RecordsOf("InstallFile"),
        ElementsAre(kBegin, Installed("RemoveFile dst_filename_bak=" + destination_ + "a.bak"),
                    Copied(common_ + "a", destination_ + "a"), kDone));
    EXPECT_FALSE(fs::exists(destination_ + "a.bak"));
}

TEST_F(InstallCommand, ComparesWholeDigests) {
    const struct {
        const char* source;
        const char* destination;
        bool same;
    } cases[] = {
        {"abc", "abc", true}, {"", "", true},       {"abc", "ABC", false},
        {"abc", "ab", false}, {"ab", "abc", false}, {"", "abc", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.source) + " " + c.destination);
        RecordingLogger::Clear();
        List("a");
        Source("a", "new");
        Present("a", "old");
        ScriptedServices::Get().fileSha256 = [&](const std::string& path) {
            return path == common_ + "a" ? c.source : c.destination;
        };
        EXPECT_EQ(Install(), 0);
        EXPECT_EQ(ReadFile(destination_ + "a"), c.same ? "old" : "new");
    }
}

TEST_F(InstallCommand, UsesDestinationAsPlainPrefix) {
    List("a");
    const std::string prefix = dir_ / "opt";
    Manifest()["arm64"]["bin"] = prefix;
    Source("a", "new");
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(RecordsOf("InstallFile"),
                ElementsAre(kBegin, Copied(common_ + "a", prefix + "a"), kDone));
    EXPECT_EQ(ReadFile(prefix + "a"), "new");
    EXPECT_TRUE(fs::is_directory(prefix));
    EXPECT_EQ(Mark(), prefix + "a");
}

TEST_F(InstallCommand, InstallsIntoExistingSubdirectories) {
    List("sub/a");
    fs::create_directory(common_ + "sub");
    Source("sub/a", "new");
    fs::create_directories(destination_ + "sub");
    EXPECT_EQ(Install(), 0);
    EXPECT_EQ(ReadFile(destination_ + "sub/a"), "new");
}

// --- The mark file ---

TEST_F(InstallCommand, MarksPathsWithoutSeparator) {
    List("a,b,c");
    Source("a", "new");
    Source("b", "same");
    Source("c", "new");
    Present("b", "same");
    EXPECT_EQ(Install(), 0);
    EXPECT_EQ(Mark(), destination_ + "a" + destination_ + "c");
}

TEST_F(InstallCommand, MarksOnlyLastPathKey) {
    List("a");
    const std::string later = dir_ / "later/";
    Manifest()["arm64"]["later"] = later;
    Manifest()["later"] = {{"files", "b"}};
    Source("a", "new");
    Source("b", "new");
    ScriptedFiles::Get().fixedFiles[kMark] = "/of/an/earlier/install";
    EXPECT_EQ(Install(), 0);
    EXPECT_EQ(Mark(), later + "b");
}

TEST_F(InstallCommand, LeavesNoMarkWhenLastPathKeyIsUnchanged) {
    List("a");
    Manifest()["arm64"]["later"] = destination_;
    Manifest()["later"] = {{"files", "a"}};
    Source("a", "new");
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(ScriptedFiles::Get().fixedFiles, IsEmpty());
}

TEST_F(InstallCommand, FailsBeforeAnyFileWhenMarkRemains) {
    List("a");
    Source("a", "new");
    ScriptedFiles::Get().fixedFiles[kMark] = "/of/an/earlier/install";
    for (const int result : {-1, 0}) {  // it is its existence that counts
        SCOPED_TRACE(result);
        RecordingLogger::Clear();
        ScriptedFiles::Get().calls.clear();
        ScriptedFiles::Get().removeFile = [&](const std::string&) { return result; };
        ExpectInstallFails({NotInstalled("Failed RemoveFile:" + kMark)});
        EXPECT_THAT(ScriptedFiles::Get().calls, ElementsAre("remove " + kMark));
        EXPECT_FALSE(fs::exists(destination_));
    }
}

TEST_F(InstallCommand, IgnoresResultOfMarkDeletion) {
    List("a");
    Source("a", "new");
    ScriptedFiles::Get().fixedFiles[kMark] = "/of/an/earlier/install";
    ScriptedFiles::Get().removeFile = [](const std::string& path) {
        ScriptedFiles::Get().fixedFiles.erase(path);
        return -1;
    };
    EXPECT_EQ(Install(), 0);
    EXPECT_EQ(Mark(), destination_ + "a");
}

TEST_F(InstallCommand, IgnoresUnwritableMark) {
    List("a");
    Source("a", "new");
    ScriptedFiles::Get().appendWriteFile = [](const std::string&, const std::string&) {
        return -1;
    };
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(RecordsOf("InstallFile"),
                ElementsAre(kBegin, Copied(common_ + "a", destination_ + "a"), kDone));
}

TEST_F(InstallCommand, AppendsToMarkAfterCopy) {
    List("a");
    Source("a", "new");
    std::string appended;
    ScriptedFiles::Get().appendWriteFile = [&](const std::string& path, const std::string& data) {
        EXPECT_EQ(path, kMark);
        EXPECT_TRUE(fs::exists(destination_ + "a"));
        appended = data;
        return 0;
    };
    Install();
    EXPECT_EQ(appended, destination_ + "a");
}

// --- Failures in the middle of a file ---

TEST_F(InstallCommand, FailsForMissingSource) {
    List("gone");
    Present("gone", "old");
    Present("gone.bak", "older");
    ExpectInstallFails({kBegin, NotInstalled("Not Find:src_filename=" + common_ + "gone")});
    EXPECT_EQ(ReadFile(destination_ + "gone"), "old");
    EXPECT_EQ(ReadFile(destination_ + "gone.bak"), "older");
}

TEST_F(InstallCommand, FailsForEmptySource) {
    List("a");
    Source("a", "");
    ExpectInstallFails({kBegin, NotInstalled("Not Find:src_filename=" + common_ + "a")});
}

TEST_F(InstallCommand, FailsWhenSourceSizeCannotBeRead) {
    List("a");
    Source("a", "new");
    for (const long long size : {0LL, -1LL, -5'000'000'000LL}) {
        SCOPED_TRACE(size);
        RecordingLogger::Clear();
        ScriptedFiles::Get().fileSize = [&](const std::string&) { return size; };
        ExpectInstallFails({kBegin, NotInstalled("Not Find:src_filename=" + common_ + "a")});
    }
}

TEST_F(InstallCommand, AcceptsSourceAbove32BitSize) {
    List("a");
    Source("a", "new");
    for (const long long size : {1LL, 1LL << 32, (1LL << 32) + (1LL << 31)}) {
        ScriptedFiles::Get().fileSize = [&](const std::string&) { return size; };
        EXPECT_EQ(Install(), 0);
    }
}

TEST_F(InstallCommand, FailsWhenBackupCannotBeDeleted) {
    List("a");
    Source("a", "new");
    Present("a", "old");
    Present("a.bak", "older");
    ScriptedFiles::Get().removeFile = [](const std::string&) { return -1; };
    ExpectInstallFails(
        {kBegin, NotInstalled("RemoveFile Failed:dst_filename_bak=" + destination_ + "a.bak")});
    EXPECT_EQ(ReadFile(destination_ + "a"), "old");
    EXPECT_EQ(ReadFile(destination_ + "a.bak"), "older");
    EXPECT_THAT(ScriptedServices::Get().digestCalls, IsEmpty());
}

TEST_F(InstallCommand, FailsForAnyNonZeroDeletionResult) {
    List("a");
    Source("a", "new");
    Present("a.bak", "older");
    ScriptedFiles::Get().removeFile = [](const std::string& path) {
        fs::remove(path);
        return 1;
    };
    ExpectInstallFails(
        {kBegin, NotInstalled("RemoveFile Failed:dst_filename_bak=" + destination_ + "a.bak")});
}

TEST_F(InstallCommand, FailsWhenFileCannotBeRenamed) {
    // With ".bak" the name exceeds the limit of the file system.
    const std::string name(NAME_MAX - 3, 'n');
    List(name);
    Source(name, "new");
    Present(name, "old");
    const std::string destination = destination_ + name;
    ExpectInstallFails(
        {kBegin, NotInstalled("Failed:rename " + destination + " " + destination + ".bak")});
    EXPECT_EQ(ReadFile(destination), "old");
    EXPECT_THAT(ScriptedFiles::Get().calls, Not(Contains(StartsWith("copy "))));
}

TEST_F(InstallCommand, KeepsBackupWhenCopyFails) {
    List("a");
    Source("a", "new");
    Present("a", "old");
    for (const int result : {-1, 1}) {
        RecordingLogger::Clear();
        Present("a", "old");
        fs::remove(destination_ + "a.bak");
        ScriptedFiles::Get().copyFile = [&](const std::string&, const std::string&) {
            return result;
        };
        ExpectInstallFails({kBegin, Renamed(destination_ + "a"),
                            NotInstalled("Failed:copy " + common_ + "a " + destination_ + "a")});
        EXPECT_FALSE(fs::exists(destination_ + "a"));
        EXPECT_EQ(ReadFile(destination_ + "a.bak"), "old");
        EXPECT_EQ(Mark(), "");
    }
}

TEST_F(InstallCommand, FailsAtCopyWhenDirectoryCannotBeCreated) {
    List("a");
    const std::string deep = dir_ / "missing/opt/";
    Manifest()["arm64"]["bin"] = deep;
    Source("a", "new");
    ExpectInstallFails({kBegin, NotInstalled("Failed:copy " + common_ + "a " + deep + "a")});
    EXPECT_THAT(ScriptedFiles::Get().calls, Contains("mkdir " + deep + " 777"));
}

TEST_F(InstallCommand, AcceptsEmptyDestination) {
    List("a");
    Manifest()["arm64"]["bin"] = "";
    Source("a", "new");
    // The name alone is the destination, so it is one outside the working directory.
    ScriptedFiles::Get().copyFile = [](const std::string&, const std::string&) { return 0; };
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(ScriptedFiles::Get().calls,
                ElementsAre("remove " + kMark, "mkdir  777", "size " + common_ + "a",
                            "copy " + common_ + "a a", "append " + kMark));
}

TEST_F(InstallCommand, ChecksDirectoryBeforeEachFile) {
    List("a,b");
    Source("a", "new");
    Source("b", "new");
    ScriptedFiles::Get().appendWriteFile = [this](const std::string&, const std::string&) {
        fs::remove_all(destination_);
        return 0;
    };
    EXPECT_EQ(Install(), 0);
    const std::vector<std::string>& calls = ScriptedFiles::Get().calls;
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "mkdir " + destination_ + " 777"), 2);
}

TEST_F(InstallCommand, StopsAtFirstFailureWithoutRollback) {
    List("a,b,c,d");
    Source("a", "new");
    Source("b", "new");
    Source("d", "new");
    Present("b", "old");
    ExpectInstallFails({kBegin, Copied(common_ + "a", destination_ + "a"),
                        Renamed(destination_ + "b"), Copied(common_ + "b", destination_ + "b"),
                        NotInstalled("Not Find:src_filename=" + common_ + "c")});
    EXPECT_EQ(ReadFile(destination_ + "a"), "new");
    EXPECT_EQ(ReadFile(destination_ + "b"), "new");
    EXPECT_EQ(ReadFile(destination_ + "b.bak"), "old");
    EXPECT_FALSE(fs::exists(destination_ + "d"));
    EXPECT_EQ(Mark(), destination_ + "a" + destination_ + "b");
}

// --- Races: what another process does between two steps ---

TEST_F(InstallCommand, FailsWhenSourceVanishesBeforeCopy) {
    List("a");
    Source("a", "new");
    ScriptedFiles::Get().fileSize = [](const std::string& path) {
        fs::remove(path);
        return 3;
    };
    ExpectInstallFails({kBegin, Installed("Not src_filename=" + common_ + "a")});
    EXPECT_THAT(ScriptedFiles::Get().calls, Not(Contains(StartsWith("copy "))));
}

TEST_F(InstallCommand, KeepsBackupWhenSourceVanishesDuringComparison) {
    List("a,b");
    Source("a", "new");
    Source("b", "new");
    Present("a", "old");
    const auto digest = ScriptedServices::Get().fileSha256;
    ScriptedServices::Get().fileSha256 = [=](const std::string& path) {
        std::string result = digest(path);
        if (path == common_ + "a") {
            fs::remove(path);
        }
        return result;
    };
    ExpectInstallFails(
        {kBegin, Renamed(destination_ + "a"), Installed("Not src_filename=" + common_ + "a")});
    EXPECT_FALSE(fs::exists(destination_ + "a"));
    EXPECT_EQ(ReadFile(destination_ + "a.bak"), "old");
    EXPECT_FALSE(fs::exists(destination_ + "b"));
}

TEST_F(InstallCommand, IgnoresSourceThatVanishesAfterEqualDigest) {
    List("a");
    Source("a", "same");
    Present("a", "same");
    const auto digest = ScriptedServices::Get().fileSha256;
    ScriptedServices::Get().fileSha256 = [=](const std::string& path) {
        std::string result = digest(path);
        fs::remove(common_ + "a");
        return result;
    };
    EXPECT_EQ(Install(), 0);
    EXPECT_THAT(RecordsOf("InstallFile"),
                ElementsAre(kBegin, Installed("ignore the same:file=a"), kDone));
}

TEST_F(InstallCommand, FailsWhenDestinationVanishesDuringComparison) {
    List("a");
    Source("a", "new");
    Present("a", "old");
    const auto digest = ScriptedServices::Get().fileSha256;
    ScriptedServices::Get().fileSha256 = [=](const std::string& path) {
        fs::remove(destination_ + "a");
        return digest(path);
    };
    ExpectInstallFails(
        {kBegin, NotInstalled("Failed:rename " + destination_ + "a " + destination_ + "a.bak")});
}
