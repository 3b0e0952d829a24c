// Files are replaced atomically while their writers are killed at random moments.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "TemporaryDirectory.h"
#include "Torture.h"
#include "ZnFileSys.h"

namespace {

// A version is one character, repeated a number of times that depends on it.
std::string Version(uint64_t number) {
    std::string version;
    version.resize(1 + number % 26 * 20000, static_cast<char>('a' + number % 26));
    return version;
}

bool IsWhole(const std::string& contents) {
    return !contents.empty() && contents == Version(static_cast<uint64_t>(contents[0] - 'a'));
}

class FileTorture : public testing::Test {
   protected:
    FileTorture() {
        WriteFile(file_, Version(0));
        for (uint64_t number = 0; number < 26; ++number) {
            WriteFile(Source(number), Version(number));
        }
    }

    std::string Source(uint64_t number) const {
        return directory_ / ("sources/" + std::to_string(number));
    }

    void ReadAndCount() const {
        if (!IsWhole(ReadFile(file_))) {
            ++counters_->torn;
        }
    }

    // Whether `file_` is all that its directory holds.
    bool IsAlone() const {
        const std::filesystem::directory_iterator entries(directory_ / "place");
        return std::all_of(begin(entries), end(entries),
                           [](const auto& entry) { return entry.path().filename() == "file"; });
    }

    TemporaryDirectory directory_;
    std::string file_ = directory_ / "place/file";
    SharedCounters counters_;
};

}  // namespace

TEST_F(FileTorture, WrittenFilesAreWholeAndLeftoversAreRemovedByTheNextWrite) {
    const uint64_t kills = KillWritersAtRandom(
        counters_,
        [&](std::mt19937_64& random) {
            const std::string contents = Version(random());
            ZnFile::WriteBinFile(file_.c_str(), contents.data(),
                                 static_cast<long long>(contents.size()));
        },
        [&] { ReadAndCount(); });
    PrintSummary(counters_, kills);
    EXPECT_EQ(counters_->torn, 0U);
    EXPECT_EQ(ZnFile::WriteBinFile(file_.c_str(), "a", 1), 1);
    EXPECT_TRUE(IsAlone());
}

TEST_F(FileTorture, CopiedFilesAreWholeAndLeftoversAreRemovedByTheNextCopy) {
    const uint64_t kills = KillWritersAtRandom(
        counters_,
        [&](std::mt19937_64& random) {
            ZnFile::ZnCopyFile(Source(Below(random, 26)).c_str(), file_.c_str());
        },
        [&] { ReadAndCount(); });
    PrintSummary(counters_, kills);
    EXPECT_EQ(counters_->torn, 0U);
    EXPECT_EQ(ZnFile::ZnCopyFile(Source(1).c_str(), file_.c_str()), 0);
    EXPECT_TRUE(IsAlone());
}
