// RepairPath: collapses repeated separators.
#include "PolicyTest.h"
#include "ZnVcUpdate.h"

using testing::IsEmpty;

class RepairPath : public PolicyTest {};

TEST_F(RepairPath, CollapsesRunsOfSeparators) {
    const struct {
        const char* path;
        const char* repaired;
    } cases[] = {
        {"//a///b/", "/a/b/"}, {"//", "/"},
        {"////////", "/"},     {"a//", "a/"},
        {"//a", "/a"},         {"a//b//c", "a/b/c"},
        {"a/b/c", "a/b/c"},    {"\\\\a..//..b", "\\\\a../..b"},  // nothing else is touched
    };
    for (const auto& c : cases) {
        std::string path = c.path;
        ZnVcUpdate::RepairPath(path);
        EXPECT_EQ(path, c.repaired) << c.path;
    }
}

TEST_F(RepairPath, KeepsPathsBelowTwoCharacters) {
    for (const char* const path : {"", "/", "a"}) {
        std::string repaired = path;
        ZnVcUpdate::RepairPath(repaired);
        EXPECT_EQ(repaired, path);
    }
}

TEST_F(RepairPath, KeepsNuls) {
    std::string path("//\0//a", 6);
    ZnVcUpdate::RepairPath(path);
    EXPECT_EQ(path, std::string("/\0/a", 4));
}

TEST_F(RepairPath, LogsNothing) {
    std::string path = "//a";
    ZnVcUpdate::RepairPath(path);
    EXPECT_THAT(RecordingLogger::Records(), IsEmpty());
}
