#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "PolicyFile.h"
#include "StoreTest.h"

namespace {

using testing::ElementsAreArray;
using testing::Optional;
using Item = PolicyStore::Item;
using Items = std::vector<Item>;

constexpr std::size_t kTableOfContentsSize = 2048;
constexpr std::size_t kFirstItem = kTableOfContentsSize + 25;

// The lengths of key and value come before every record.
std::string Number(unsigned number) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) {
        bytes += static_cast<char>((number >> (8 * i)) & 0xFF);
    }
    return bytes;
}

std::string Record(const std::string& key, const std::string& value) {
    return Number(static_cast<unsigned>(key.size())) + Number(static_cast<unsigned>(value.size())) +
           key + value;
}

// Three items; a long value makes the file a large one.
Items ThreeItems(std::size_t longValue) {
    return {{"A", "1"}, {"Long", std::string(longValue, 'v')}, {"B", "2"}};
}

constexpr std::size_t kSmall = 10;
constexpr std::size_t kLarge = 70000;

class PolicyFileTest : public testing::Test {
   protected:
    // Writes the policy file and returns its contents.
    std::string Write(const Items& items) const {
        const FileDescriptor file =
            FileDescriptor::Open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
        EXPECT_TRUE(WritePolicyFile(file, items));
        return ReadFile(path_);
    }

    std::optional<PolicyFile> Open() const {
        return PolicyFile::Open(path_.c_str());
    }

    // Returns errno of an Open() that must fail.
    int ErrorOfOpen() const {
        errno = 0;
        EXPECT_FALSE(Open().has_value());
        return errno;
    }

    void Overwrite(std::size_t position, const std::string& bytes) const {
        std::fstream file(path_, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(position));
        file << bytes << std::flush;
        ASSERT_TRUE(file.good());
    }

    const TemporaryDirectory directory_;
    const std::string path_ = directory_ / "1.cdb";
};

// Returns the value of `key`, or "unchanged" when there is none.
std::string ValueOf(const PolicyFile& policy, const std::string& key) {
    std::string value = "unchanged";
    const bool found = policy.Find(key, value);
    EXPECT_TRUE(found || value == "unchanged") << key;
    return value;
}

// Reads everything from a file that may be damaged.
void ReadEverything(const PolicyFile& policy) {
    for (const char* key : {"A", "Long", "B", "Missing"}) {
        ValueOf(policy, key);
    }
    policy.Items();
}

TEST_F(PolicyFileTest, FormatRecordAndItemsFollowTheTableOfContents) {
    const std::string contents = Write({{"Name", "value"}, {"Empty", ""}});
    const std::string records = Record(std::string("\0ZnPolicy", 9),
                                       Number(1) + Number(static_cast<unsigned>(contents.size()))) +
                                Record("Name", "value") + Record("Empty", "");
    EXPECT_EQ(contents.substr(kTableOfContentsSize, records.size()), records);
    EXPECT_EQ(contents.size(), kTableOfContentsSize + records.size() + 3 * 16);
}

TEST_F(PolicyFileTest, SizeIsKnownBeforehand) {
    EXPECT_EQ(Write({}).size(), kEmptyPolicyFileSize);
    EXPECT_EQ(Write({{"Name", "value"}, {"Empty", ""}}).size(),
              kEmptyPolicyFileSize + PolicyFileSizeOfItem(4, 5) + PolicyFileSizeOfItem(5, 0));
}

TEST_F(PolicyFileTest, ItemsAreReadAsWritten) {
    for (const Items& items : {Items{}, Items{{"B", ""}, {"A/C", "1"}}, ThreeItems(kSmall),
                               ThreeItems(kLarge), ThreeItems(1 << 20)}) {
        Write(items);
        const auto policy = Open();
        ASSERT_TRUE(policy);
        EXPECT_THAT(policy->Items(), Optional(ElementsAreArray(items)));
        for (const Item& item : items) {
            EXPECT_TRUE(ValueOf(*policy, item.key) == item.value) << item.key;
        }
        EXPECT_THAT(policy->Items(), Optional(ElementsAreArray(items))) << "read again";
    }
}

TEST_F(PolicyFileTest, FilesAroundTheSmallLimitAreReadWhole) {
    const std::size_t empty = Write(ThreeItems(0)).size();
    for (const std::size_t size : {65535U, 65536U, 65537U}) {
        const Items items = ThreeItems(size - empty);
        ASSERT_EQ(Write(items).size(), size);
        const auto policy = Open();
        ASSERT_TRUE(policy);
        EXPECT_THAT(policy->Items(), Optional(ElementsAreArray(items)));
        EXPECT_EQ(ValueOf(*policy, "B"), "2");
    }
}

TEST_F(PolicyFileTest, LargeFileIsReadWholeOnRequest) {
    Write(ThreeItems(kLarge));
    const auto policy = PolicyFile::Open(path_.c_str(), kMaxPolicyFileSize);
    ASSERT_TRUE(policy);
    std::filesystem::resize_file(path_, 0);
    EXPECT_EQ(ValueOf(*policy, "B"), "2");
    EXPECT_THAT(policy->Items(), Optional(ElementsAreArray(ThreeItems(kLarge))));
}

TEST_F(PolicyFileTest, MissingItemLeavesTheValueUnchanged) {
    for (const std::size_t length : {kSmall, kLarge}) {
        Write(ThreeItems(length));
        const auto policy = Open();
        ASSERT_TRUE(policy);

        for (const std::string& key :
             {std::string("Missing"), std::string("a"), std::string("Lon"), std::string("Long "),
              std::string(), std::string(300, 'k'), std::string(100000, 'k')}) {
            EXPECT_EQ(ValueOf(*policy, key), "unchanged") << key;
        }
    }
}

TEST_F(PolicyFileTest, TruncatedFileIsRefused) {
    for (const std::size_t length : {kSmall, kLarge}) {
        for (std::size_t size = Write(ThreeItems(length)).size(); size-- > 0;) {
            std::filesystem::resize_file(path_, size);
            ASSERT_EQ(ErrorOfOpen(), EINVAL) << size;
        }
    }
}

TEST_F(PolicyFileTest, ExtendedFileIsRefused) {
    for (const std::size_t length : {kSmall, kLarge}) {
        const std::string contents = Write(ThreeItems(length));
        WriteFile(path_, contents + '\0');
        EXPECT_EQ(ErrorOfOpen(), EINVAL);
    }
}

TEST_F(PolicyFileTest, ForeignFileIsRefused) {
    for (const std::size_t size : {0U, 1U, 2048U, 3000U, 100000U}) {
        for (const char byte : {'\0', 'x', '\xFF'}) {
            WriteFile(path_, std::string(size, byte));
            EXPECT_EQ(ErrorOfOpen(), EINVAL) << size;
        }
    }
}

TEST_F(PolicyFileTest, OtherFormatVersionIsRefused) {
    constexpr std::size_t version = kTableOfContentsSize + 8 + 9;
    ASSERT_EQ(Write(ThreeItems(kSmall)).substr(version, 4), Number(1));
    Overwrite(version, Number(2));
    EXPECT_EQ(ErrorOfOpen(), EINVAL);
}

TEST_F(PolicyFileTest, OtherKindOfFileIsRefusedWithoutBlocking) {
    EXPECT_EQ(ErrorOfOpen(), ENOENT) << "missing";
    std::filesystem::create_directory(path_);
    EXPECT_EQ(ErrorOfOpen(), EISDIR) << "directory";
    std::filesystem::remove(path_);
    ASSERT_EQ(mkfifo(path_.c_str(), 0644), 0);
    EXPECT_EQ(ErrorOfOpen(), EINVAL) << "FIFO without a writer";
    std::filesystem::remove(path_);
    std::filesystem::create_symlink("/dev/zero", path_);
    EXPECT_EQ(ErrorOfOpen(), EINVAL) << "device";
    std::filesystem::remove(path_);
    std::filesystem::create_symlink("nowhere", path_);
    EXPECT_EQ(ErrorOfOpen(), ENOENT) << "dangling link";
}

TEST_F(PolicyFileTest, FileAbove64MiBIsRefused) {
    WriteFile(path_, "");
    for (const std::uintmax_t size : {(std::uintmax_t{64} << 20) + 1, std::uintmax_t{4} << 30}) {
        std::filesystem::resize_file(path_, size);
        EXPECT_EQ(ErrorOfOpen(), EFBIG) << size;
    }
}

// Peak memory is compared with a growth of known size, because its unit depends on the system.
TEST_F(PolicyFileTest, LargeForeignFileCostsNoMemory) {
    WriteFile(path_, "");
    std::filesystem::resize_file(path_, kMaxPolicyFileSize);
    const ProcessResult result = RunInChild([&] {
        const auto peakMemory = [] {
            rusage usage = {};
            getrusage(RUSAGE_SELF, &usage);
            return usage.ru_maxrss;
        };
        const auto atFirst = peakMemory();
        const bool written = std::string(kMaxPolicyFileSize / 4, 'x').back() == 'x';
        const auto before = peakMemory();
        const bool refused = !Open() && errno == EINVAL;
        const auto after = peakMemory();
        std::cout << atFirst << " " << before << " " << after;
        std::exit(written && refused && after - before < before - atFirst ? 0 : 1);
    });
    EXPECT_TRUE(result.Succeeded()) << result;
}

TEST_F(PolicyFileTest, EveryDamagedByteIsHarmless) {
    for (const std::size_t length : {kSmall, kLarge}) {
        const std::string intact = Write(ThreeItems(length));
        const std::size_t longValue = length == kLarge ? intact.find(std::string(kLarge, 'v')) : 0;
        for (std::size_t i = 0; i < intact.size(); ++i) {
            if (i == longValue + 1 && longValue != 0) {
                i += kLarge - 2;
            }
            for (const int change : {0x01, 0x80, 0xFF}) {
                Overwrite(i, std::string(1, static_cast<char>(intact[i] ^ change)));
                if (const auto policy = Open()) {
                    ReadEverything(*policy);
                }
            }
            Overwrite(i, intact.substr(i, 1));
        }
        EXPECT_TRUE(ReadFile(path_) == intact);
    }
}

TEST_F(PolicyFileTest, LengthThatReachesBeyondTheFileIsAMissingItem) {
    for (const std::size_t length : {kSmall, kLarge}) {
        const std::size_t size = Write({{"Long", std::string(length, 'v')}, {"B", "2"}}).size();
        for (const std::size_t wrong : {size - kFirstItem, size, size + 1, std::size_t{0x7FFFFFFF},
                                        std::size_t{0x80000000}, std::size_t{0xFFFFFFFF}}) {
            Overwrite(kFirstItem + 4, Number(static_cast<unsigned>(wrong)));
            const auto policy = Open();
            ASSERT_TRUE(policy);
            EXPECT_EQ(ValueOf(*policy, "Long"), "unchanged") << wrong;
            EXPECT_EQ(ValueOf(*policy, "B"), "2");
            EXPECT_FALSE(policy->Items()) << wrong;
        }
    }
}

TEST_F(PolicyFileTest, SmallFileStaysReadableWhenItIsTruncated) {
    Write(ThreeItems(kSmall));
    const auto policy = Open();
    ASSERT_TRUE(policy);
    std::filesystem::resize_file(path_, 0);
    EXPECT_EQ(ValueOf(*policy, "B"), "2");
    EXPECT_THAT(policy->Items(), Optional(ElementsAreArray(ThreeItems(kSmall))));
}

TEST_F(PolicyFileTest, ReadingALargeFileFailsWhenItIsTruncated) {
    Write(ThreeItems(kLarge));
    const auto policy = Open();
    ASSERT_TRUE(policy);
    for (const std::size_t size : {kLarge, kFirstItem, std::size_t{0}}) {
        std::filesystem::resize_file(path_, size);
        for (const char* key : {"A", "Long", "B", "Missing"}) {
            EXPECT_EQ(ValueOf(*policy, key), "unchanged") << key;
        }
        EXPECT_FALSE(policy->Items());
    }
}

TEST_F(PolicyFileTest, FileThatWouldExceed64MiBIsNotWritten) {
    const FileDescriptor file = FileDescriptor::Open(path_.c_str(), O_RDWR | O_CREAT, 0644);
    const std::size_t longest =
        kMaxPolicyFileSize - kEmptyPolicyFileSize - PolicyFileSizeOfItem(1, 0);
    errno = 0;
    EXPECT_FALSE(WritePolicyFile(file, {{"A", std::string(longest + 1, 'v')}}));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(std::filesystem::file_size(path_), 0U);
    EXPECT_TRUE(WritePolicyFile(file, {{"A", std::string(longest, 'v')}}));
    EXPECT_EQ(std::filesystem::file_size(path_), kMaxPolicyFileSize);
    EXPECT_EQ(ValueOf(*Open(), "A").size(), longest);
}

TEST_F(PolicyFileTest, FailedWriteIsReported) {
    WriteFile(path_, "");
    const FileDescriptor file = FileDescriptor::Open(path_.c_str(), O_RDONLY);
    for (const std::size_t length : {kSmall, kLarge}) {
        errno = 0;
        EXPECT_FALSE(WritePolicyFile(file, ThreeItems(length)));
        EXPECT_EQ(errno, EBADF);
    }
}

}  // namespace
