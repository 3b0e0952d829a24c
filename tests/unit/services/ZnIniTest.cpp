#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <climits>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "IsolatedCheck.h"
#include "TemporaryDirectory.h"
#include "ZnIni.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What IniGetString answers.
struct Answer {
    int status;
    std::string text;
};

bool operator==(const Answer& a, const Answer& b) {
    return a.status == b.status && a.text == b.text;
}

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    return out << "status " << answer.status << ", text \"" << answer.text << '"';
}

Answer Found(const std::string& text) {
    return {0, text};
}

const Answer kMissing = {-1, "default"};

Answer Get(const std::string& file, const char* section, const char* key) {
    std::array<char, 260> buffer;
    buffer.fill('#');
    const int status = IniGetString(section, key, "default", buffer.data(), 259, file.c_str());
    return {status, buffer.data()};
}

struct ZnIniTest : testing::Test {
    TemporaryDirectory dir;
    std::string file = dir / "test.ini";

    Answer GetFrom(const std::string& contents, const char* section, const char* key) {
        WriteFile(file, contents);
        return Get(file, section, key);
    }
};

using IniSyntaxTest = ZnIniTest;
using IniGetStringTest = ZnIniTest;
using IniGetIntTest = ZnIniTest;
using IniGetStringItemsTest = ZnIniTest;
using IniUnreadableFileTest = ZnIniTest;
using IniChangedFileTest = ZnIniTest;

// The format

TEST_F(IniSyntaxTest, FindsValueBySectionAndKey) {
    const std::string contents = "[one]\nkey=first\nother=x\n[two]\nkey=second\n";
    EXPECT_EQ(GetFrom(contents, "one", "key"), Found("first"));
    EXPECT_EQ(GetFrom(contents, "two", "key"), Found("second"));
}

TEST_F(IniSyntaxTest, NamesAreCaseSensitive) {
    const std::string contents = "[Section]\nKey=value\n";
    EXPECT_EQ(GetFrom(contents, "Section", "Key"), Found("value"));
    EXPECT_EQ(GetFrom(contents, "section", "Key"), kMissing);
    EXPECT_EQ(GetFrom(contents, "Section", "key"), kMissing);
}

TEST_F(IniSyntaxTest, TrimsBlanksAroundNamesAndValues) {
    const std::string contents = " [ my section ] \n\t my key \t=\t a  b \t\n";
    EXPECT_EQ(GetFrom(contents, "my section", "my key"), Found("a  b"));
}

TEST_F(IniSyntaxTest, SkipsCommentLines) {
    const std::string contents =
        "; a file\n# of\n\n;key=1\n[s]\n  ; key=2\n#key=3\nkey=4\n; key=5\n\n\n# key=6\nlast=7";
    EXPECT_EQ(GetFrom(contents, "s", "key"), Found("4"));
    EXPECT_EQ(GetFrom(contents, "s", "last"), Found("7"));
    EXPECT_EQ(GetFrom(contents, "s", ";key"), kMissing);
    EXPECT_EQ(GetFrom(contents, "s", "#key"), kMissing);
}

TEST_F(IniSyntaxTest, KeepsCommentSignsQuotesAndBackslashesInValues) {
    EXPECT_EQ(GetFrom("[s]\nkey=a;b # c\n", "s", "key"), Found("a;b # c"));
    EXPECT_EQ(GetFrom("[s]\nkey=\" q \"\n", "s", "key"), Found("\" q \""));
    EXPECT_EQ(GetFrom("[s]\nkey=c:\\n\\\n", "s", "key"), Found("c:\\n\\"));
    EXPECT_EQ(GetFrom("[s]\nkey=<<<END\nEND\n", "s", "key"), Found("<<<END"));
    EXPECT_EQ(GetFrom("[s]\nkey=a=b\n", "s", "key"), Found("a=b"));
}

TEST_F(IniSyntaxTest, AcceptsAllLineEndings) {
    for (const char* end : {"\n", "\r\n", "\r"}) {
        std::string contents;
        for (const char* line : {"; one", "; two", "", "[s]", "a=1", "", "; three", "b=2", "c=3"}) {
            contents.append(line).append(end);
        }
        EXPECT_EQ(GetFrom(contents, "s", "a"), Found("1"));
        EXPECT_EQ(GetFrom(contents, "s", "b"), Found("2"));
        EXPECT_EQ(GetFrom(contents, "s", "c"), Found("3"));
    }
}

TEST_F(IniSyntaxTest, SkipsByteOrderMark) {
    EXPECT_EQ(GetFrom("\xEF\xBB\xBF[s]\nkey=value\n", "s", "key"), Found("value"));
    EXPECT_EQ(GetFrom("\xEF\xBB\xBF", "s", "key"), kMissing);
}

TEST_F(IniSyntaxTest, KeepsBytesOfAnyEncoding) {
    const std::string contents = "[\xC3\xBC]\n\xFF=\x80\xFE\xC3\n";
    EXPECT_EQ(GetFrom(contents, "\xC3\xBC", "\xFF"), Found("\x80\xFE\xC3"));
}

TEST_F(IniSyntaxTest, LastValueOfRepeatedKeyCounts) {
    EXPECT_EQ(GetFrom("[s]\nkey=1\nother=x\nkey=2\n", "s", "key"), Found("2"));
}

TEST_F(IniSyntaxTest, MergesRepeatedSections) {
    const std::string contents = "[s]\na=1\nb=1\n[t]\nb=x\n[s]\nb=2\nc=2\n";
    EXPECT_EQ(GetFrom(contents, "s", "a"), Found("1"));
    EXPECT_EQ(GetFrom(contents, "s", "b"), Found("2"));
    EXPECT_EQ(GetFrom(contents, "s", "c"), Found("2"));
}

TEST_F(IniSyntaxTest, KeysBeforeFirstSectionBelongToEmptySection) {
    EXPECT_EQ(GetFrom("key=value\n[s]\n", "", "key"), Found("value"));
    EXPECT_EQ(GetFrom("[s]\nkey=value\n", "", "key"), kMissing);
}

TEST_F(IniSyntaxTest, SkipsOtherLines) {
    const std::string contents = "[s]\nno equals sign\n= no key\n=\nkey=value\n";
    std::set<std::string> keys;
    WriteFile(file, contents);
    EXPECT_EQ(IniGetStringItems("s", keys, file.c_str()), 0);
    EXPECT_THAT(keys, ElementsAre("key"));
}

TEST_F(IniSyntaxTest, DropsKeysAfterBrokenSectionHeader) {
    const std::string contents = "[s]\na=1\n[broken\nb=2\n[t]\nc=3\n";
    EXPECT_EQ(GetFrom(contents, "s", "a"), Found("1"));
    EXPECT_EQ(GetFrom(contents, "s", "b"), kMissing);
    EXPECT_EQ(GetFrom(contents, "broken", "b"), kMissing);
    EXPECT_EQ(GetFrom(contents, "t", "c"), Found("3"));
}

// IniGetString

TEST_F(IniGetStringTest, ReturnsDefaultWhenNothingIsFound) {
    WriteFile(file, "[s]\nkey=value\n");
    EXPECT_EQ(Get(file, "missing", "key"), kMissing);
    EXPECT_EQ(Get(file, "s", "missing"), kMissing);
    EXPECT_EQ(Get(dir / "missing.ini", "s", "key"), kMissing);
    EXPECT_EQ(Get(file, "s", ""), kMissing);
}

TEST_F(IniGetStringTest, FindsAnEmptyValue) {
    WriteFile(file, "[s]\na=\nb=  \nc=");
    EXPECT_EQ(Get(file, "s", "a"), Found(""));
    EXPECT_EQ(Get(file, "s", "b"), Found(""));
    EXPECT_EQ(Get(file, "s", "c"), Found(""));
}

TEST_F(IniGetStringTest, TruncatesValueAndDefaultToBuffer) {
    WriteFile(file, "[s]\nkey=0123456789\n");
    for (int size = 1; size <= 12; ++size) {
        const auto kept = static_cast<size_t>(size - 1);
        std::string buffer(20, '#');
        EXPECT_EQ(IniGetString("s", "key", "", buffer.data(), size, file.c_str()), 0);
        EXPECT_STREQ(buffer.c_str(), std::string("0123456789").substr(0, kept).c_str());
        EXPECT_EQ(buffer.substr(static_cast<size_t>(size)), std::string(20U - kept - 1, '#'));

        buffer.assign(20, '#');
        EXPECT_NE(IniGetString("s", "no", "abcdefghij", buffer.data(), size, file.c_str()), 0);
        EXPECT_STREQ(buffer.c_str(), std::string("abcdefghij").substr(0, kept).c_str());
        EXPECT_EQ(buffer.substr(static_cast<size_t>(size)), std::string(20U - kept - 1, '#'));
    }
}

TEST_F(IniGetStringTest, TruncatesLongValueToUsualBuffer) {
    const std::string value(100'000, 'v');
    EXPECT_EQ(GetFrom("[s]\nkey=" + value + "\n", "s", "key"), Found(value.substr(0, 258)));
}

TEST_F(IniGetStringTest, WritesNothingWithoutBuffer) {
    WriteFile(file, "[s]\nkey=value\n");
    char buffer = '#';
    EXPECT_NE(IniGetString("s", "key", "", &buffer, 0, file.c_str()), 0);
    EXPECT_NE(IniGetString("s", "key", "", &buffer, -1, file.c_str()), 0);
    EXPECT_NE(IniGetString("s", "key", "", &buffer, INT_MIN, file.c_str()), 0);
    EXPECT_EQ(buffer, '#');
    EXPECT_NE(IniGetString("s", "key", "", nullptr, 10, file.c_str()), 0);
}

TEST_F(IniGetStringTest, TreatsNullNamesAsMissing) {
    WriteFile(file, "[s]\nkey=value\n");
    EXPECT_EQ(Get(file, nullptr, "key"), kMissing);
    EXPECT_EQ(Get(file, "s", nullptr), kMissing);
    std::array<char, 10> buffer = {'#'};
    EXPECT_NE(IniGetString("s", "key", "x", buffer.data(), 10, nullptr), 0);
    EXPECT_STREQ(buffer.data(), "x");
    EXPECT_NE(IniGetString("s", "missing", nullptr, buffer.data(), 10, file.c_str()), 0);
    EXPECT_STREQ(buffer.data(), "");
}

TEST_F(IniGetStringTest, AcceptsBufferAsDefault) {
    WriteFile(file, "[s]\n");
    std::array<char, 10> buffer = {"preset"};
    EXPECT_NE(IniGetString("s", "key", buffer.data(), buffer.data(), 10, file.c_str()), 0);
    EXPECT_STREQ(buffer.data(), "preset");
}

// IniGetInt

TEST_F(IniGetIntTest, Reads32BitDecimalNumbers) {
    const std::pair<const char*, int> cases[] = {
        {"0", 0},
        {"1", 1},
        {"-1", -1},
        {"+7", 7},
        {"  42\t", 42},
        {"007", 7},
        {"-0", 0},
        {"00000000000000000000000000000012", 12},
        {"2147483647", INT_MAX},
        {"-2147483648", INT_MIN},
    };
    for (const auto& [text, number] : cases) {
        WriteFile(file, std::string("[s]\nkey=") + text + "\n");
        EXPECT_EQ(IniGetInt("s", "key", 99, file.c_str()), number) << text;
    }
}

TEST_F(IniGetIntTest, ReturnsDefaultForAnythingElse) {
    for (const char* text : {"",
                             "abc",
                             "1x",
                             "x1",
                             "1 2",
                             "1.0",
                             "1e3",
                             "0x10",
                             "+",
                             "-",
                             "+-1",
                             "-+1",
                             "--1",
                             "++1",
                             "- 1",
                             "2147483648",
                             "-2147483649",
                             "99999999999999999999",
                             "\xEF\xBC\x91",
                             "'1'"}) {
        WriteFile(file, std::string("[s]\nkey=") + text + "\n");
        EXPECT_EQ(IniGetInt("s", "key", 99, file.c_str()), 99) << text;
        EXPECT_EQ(IniGetInt("s", "key", 0, file.c_str()), 0) << text;
    }
}

TEST_F(IniGetIntTest, ReturnsDefaultWhenNothingIsFound) {
    WriteFile(file, "[s]\nkey=1\n");
    EXPECT_EQ(IniGetInt("missing", "key", 99, file.c_str()), 99);
    EXPECT_EQ(IniGetInt("s", "missing", 99, file.c_str()), 99);
    EXPECT_EQ(IniGetInt("s", "key", 99, (dir / "missing.ini").c_str()), 99);
    EXPECT_EQ(IniGetInt(nullptr, "key", 99, file.c_str()), 99);
    EXPECT_EQ(IniGetInt("s", nullptr, 99, file.c_str()), 99);
    EXPECT_EQ(IniGetInt("s", "key", 99, nullptr), 99);
}

// IniGetStringItems

TEST_F(IniGetStringItemsTest, ListsKeysOfOneSection) {
    WriteFile(file, "[one]\nb=1\na=\nB=2\nb=3\n[two]\nc=1\n");
    std::set<std::string> keys{"previous"};
    EXPECT_EQ(IniGetStringItems("one", keys, file.c_str()), 0);
    EXPECT_THAT(keys, ElementsAre("B", "a", "b"));
}

TEST_F(IniGetStringItemsTest, ReturnsEmptySetForSectionWithoutKeys) {
    WriteFile(file, "[empty]\n[other]\na=1\n");
    std::set<std::string> keys{"previous"};
    EXPECT_EQ(IniGetStringItems("empty", keys, file.c_str()), 0);
    EXPECT_THAT(keys, IsEmpty());
}

TEST_F(IniGetStringItemsTest, FailsWithEmptySetForMissingSection) {
    WriteFile(file, "[s]\na=1\n");
    const std::string missing = dir / "missing.ini";
    const std::pair<const char*, const char*> cases[] = {{"missing", file.c_str()},
                                                         {"", file.c_str()},
                                                         {nullptr, file.c_str()},
                                                         {"s", missing.c_str()},
                                                         {"s", nullptr}};
    for (const auto& [section, path] : cases) {
        std::set<std::string> keys{"previous"};
        EXPECT_NE(IniGetStringItems(section, keys, path), 0);
        EXPECT_THAT(keys, IsEmpty());
    }
}

TEST_F(IniGetStringItemsTest, AcceptsSectionNameFromOutputSet) {
    WriteFile(file, "[a section with a name longer than any small string]\nkey=1\n");
    std::set<std::string> keys{"a section with a name longer than any small string"};
    EXPECT_EQ(IniGetStringItems(keys.begin()->c_str(), keys, file.c_str()), 0);
    EXPECT_THAT(keys, ElementsAre("key"));
}

TEST_F(IniGetStringItemsTest, HandlesTenThousandKeys) {
    std::string contents = "[s]\n";
    for (int i = 0; i < 10'000; ++i) {
        contents += "key" + std::to_string(i) + " = value " + std::to_string(i) + "\n";
    }
    WriteFile(file, contents);
    std::set<std::string> keys;
    EXPECT_EQ(IniGetStringItems("s", keys, file.c_str()), 0);
    EXPECT_EQ(keys.size(), 10'000U);
    for (const std::string& key : keys) {
        ASSERT_EQ(Get(file, "s", key.c_str()), Found("value " + key.substr(3)));
    }
}

// Files that cannot be read

TEST_F(IniUnreadableFileTest, IgnoresDirectoriesAndPipes) {
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    for (const std::string& path : {dir.Path(), dir / "pipe", std::string("/dev/zero"),
                                    std::string(), std::string(10'000, 'x'), file + "/"}) {
        EXPECT_EQ(Get(path, "s", "key"), kMissing) << path;
    }
}

TEST_F(IniUnreadableFileTest, IgnoresFileWithoutReadPermission) {
    WriteFile(file, "[s]\nkey=value\n");
    chmod(file.c_str(), 0);
    ExpectHolds(InChild([&] {
        BecomeOrdinaryUser(dir.Path());
        return Get(file, "s", "key") == kMissing;
    }));
}

TEST_F(IniUnreadableFileTest, EmptyFileHasNoSections) {
    EXPECT_EQ(GetFrom("", "s", "key"), kMissing);
    EXPECT_EQ(GetFrom("", "", "key"), kMissing);
}

TEST_F(IniUnreadableFileTest, RefusesFileWithNulByte) {
    // A crash may leave zeros in a file: a part of it must not pass for the whole.
    EXPECT_EQ(GetFrom(std::string("[s]\nkey=value\n\0", 15), "s", "key"), kMissing);
    EXPECT_EQ(GetFrom(std::string("\0[s]\nkey=value\n", 15), "s", "key"), kMissing);
}

TEST_F(IniUnreadableFileTest, RefusesFileLargerThan16MiB) {
    std::string contents = "[s]\nkey=value\n;";
    contents.resize(size_t{16} << 20, ' ');
    EXPECT_EQ(GetFrom(contents, "s", "key"), Found("value"));
    EXPECT_EQ(GetFrom(contents + " ", "s", "key"), kMissing);
    std::filesystem::resize_file(file, 5'000'000'000);
    EXPECT_EQ(Get(file, "s", "key"), kMissing);
}

// Files that change

struct Change {
    const char* name;
    void (*make)(const std::string& file);
    Answer after;
};

void ReplaceByRename(const std::string& file, const std::string& contents) {
    WriteFile(file + ".new", contents);
    std::filesystem::rename(file + ".new", file);
}

const std::vector<Change> kChanges = {
    {"a longer value", [](const std::string& file) { WriteFile(file, "[s]\nkey=longer\n"); },
     Found("longer")},
    {"a value of the same length",
     [](const std::string& file) { WriteFile(file, "[s]\nkey=new\n"); }, Found("new")},
    {"the same length and time of modification",
     [](const std::string& file) {
         const auto before = std::filesystem::last_write_time(file);
         WriteFile(file, "[s]\nkey=new\n");
         std::filesystem::last_write_time(file, before);
     },
     Found("new")},
    {"another file of the same length in its place",
     [](const std::string& file) { ReplaceByRename(file, "[s]\nkey=new\n"); }, Found("new")},
    {"another file of the same length and time in its place",
     [](const std::string& file) {
         const auto before = std::filesystem::last_write_time(file);
         ReplaceByRename(file, "[s]\nkey=new\n");
         std::filesystem::last_write_time(file, before);
     },
     Found("new")},
    {"deleted and written anew",
     [](const std::string& file) {
         std::filesystem::remove(file);
         WriteFile(file, "[s]\nkey=new\n");
     },
     Found("new")},
    {"a link to another file in its place",
     [](const std::string& file) {
         WriteFile(file + ".other", "[s]\nkey=new\n");
         std::filesystem::remove(file);
         std::filesystem::create_symlink(file + ".other", file);
     },
     Found("new")},
    {"appended to",
     [](const std::string& file) { std::ofstream(file, std::ios::app) << "key=new\n"; },
     Found("new")},
    {"emptied", [](const std::string& file) { WriteFile(file, ""); }, kMissing},
    {"damaged", [](const std::string& file) { WriteFile(file, std::string(12, '\0')); }, kMissing},
    {"deleted", [](const std::string& file) { std::filesystem::remove(file); }, kMissing},
    {"a directory in its place",
     [](const std::string& file) {
         std::filesystem::remove(file);
         std::filesystem::create_directory(file);
     },
     kMissing},
};

TEST_F(IniChangedFileTest, SeesEveryKindOfChangeAtOnce) {
    for (const Change& change : kChanges) {
        std::filesystem::remove_all(file);
        WriteFile(file, "[s]\nkey=old\n");
        ASSERT_EQ(Get(file, "s", "key"), Found("old")) << change.name;
        ASSERT_EQ(Get(file, "s", "key"), Found("old")) << change.name;
        change.make(file);
        EXPECT_EQ(Get(file, "s", "key"), change.after) << change.name;
        EXPECT_EQ(Get(file, "s", "key"), change.after) << change.name;
    }
}

// Overwrites a file in place many times within one clock tick.
bool EveryChangeIsSeen(const std::string& file) {
    WriteFile(file, "[s]\nkey=0000\n");
    for (int i = 1000; i < 5000; ++i) {
        std::fstream(file, std::ios::in | std::ios::out).seekp(8) << i;
        if (IniGetInt("s", "key", -1, file.c_str()) != i) {
            return false;
        }
    }
    return true;
}

TEST_F(IniChangedFileTest, SeesEveryChangeWithinOneClockTick) {
    EXPECT_TRUE(EveryChangeIsSeen(file));
}

TEST_F(IniChangedFileTest, SeesEveryChangeOnFileSystemWithCoarseClock) {
    // Newer kernels give most file systems a finer clock, but not this one.
    ExpectHolds(InChild([&] {
        MountPrivately("ramfs", dir.Path(), "");
        return EveryChangeIsSeen(file);
    }));
}

TEST_F(IniChangedFileTest, ReadsFileWithModificationTimeInFuture) {
    WriteFile(file, "[s]\nkey=old\n");
    std::filesystem::last_write_time(
        file, std::filesystem::file_time_type::clock::now() + std::chrono::hours(1000));
    EXPECT_EQ(Get(file, "s", "key"), Found("old"));
    EXPECT_EQ(GetFrom("[s]\nkey=new\n", "s", "key"), Found("new"));
}

TEST_F(IniChangedFileTest, SameRelativePathInOtherDirectoryIsOtherFile) {
    WriteFile(dir / "a/f.ini", "[s]\nkey=a\n");
    WriteFile(dir / "b/f.ini", "[s]\nkey=b\n");
    ExpectHolds(InChild([&] {
        return chdir((dir / "a").c_str()) == 0 && Get("f.ini", "s", "key") == Found("a") &&
               chdir("../b") == 0 && Get("f.ini", "s", "key") == Found("b");
    }));
}

TEST_F(IniChangedFileTest, ReadsMoreFilesThanAreCached) {
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 30; ++i) {
            const std::string path = dir / (std::to_string(i) + ".ini");
            if (round != 1) {
                WriteFile(path, "[s]\nkey=" + std::to_string(round * 100 + i) + "\n");
            }
            const int expected = (round == 2 ? 200 : 0) + i;
            ASSERT_EQ(IniGetInt("s", "key", -1, path.c_str()), expected);
        }
    }
}

// Threads

TEST_F(ZnIniTest, ThreadsReadFilesThatChange) {
    const std::vector<std::string> files = {dir / "0.ini", dir / "1.ini", dir / "2.ini"};
    const auto write = [&](int generation) {
        for (const std::string& path : files) {
            ReplaceByRename(path, "[s]\nfirst=" + std::to_string(generation) +
                                      "\nlist=" + std::string(500, 'x') + "\n");
        }
    };
    write(0);
    std::atomic<int> written = 0;
    std::atomic<bool> done = false;
    std::array<std::thread, 4> readers;
    for (std::thread& reader : readers) {
        reader = std::thread([&] {
            for (size_t i = 0; !done; ++i) {
                const std::string& path = files[i % files.size()];
                const int oldest = written;
                EXPECT_GE(IniGetInt("s", "first", -1, path.c_str()), oldest);
                EXPECT_EQ(Get(path, "s", "list"), Found(std::string(258, 'x')));
                std::set<std::string> keys;
                EXPECT_EQ(IniGetStringItems("s", keys, path.c_str()), 0);
                EXPECT_EQ(keys.size(), 2U);
            }
        });
    }
    for (int generation = 1; generation <= 200; ++generation) {
        write(generation);
        written = generation;
    }
    done = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
}

}  // namespace
