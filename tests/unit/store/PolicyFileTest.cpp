#include <cdb.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "PolicyFile.h"
#include "StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Optional;
using Item = PolicyStore::Item;
using Items = std::vector<Item>;

constexpr std::size_t kTableOfContentsSize = 2048;
constexpr std::size_t kChecksums = kTableOfContentsSize + 25;
constexpr std::size_t kFirstItem = kChecksums + 3 * 8;

// Little-endian.
std::string Bytes(std::uint64_t number, int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i) {
        bytes += static_cast<char>((number >> (8 * i)) & 0xFF);
    }
    return bytes;
}

std::string Number(unsigned number) {
    return Bytes(number, 4);
}

unsigned NumberAt(const std::string& bytes, std::size_t position) {
    unsigned number = 0;
    for (std::size_t i = 4; i-- > 0;) {
        number = number << 8 | static_cast<unsigned char>(bytes[position + i]);
    }
    return number;
}

std::string Checksum(const std::string& bytes) {
    return Bytes(XXH3_64bits(bytes.data(), bytes.size()), 8);
}

std::string ItemChecksum(const std::string& key, const std::string& value) {
    return Bytes(
        XXH3_64bits_withSeed(value.data(), value.size(), XXH3_64bits(key.data(), key.size())), 8);
}

// The lengths of key and value come before every record.
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

// Writes a file of format version 1.
void WriteVersion1(const std::string& path, const Items& items) {
    const FileDescriptor file =
        FileDescriptor::Open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
    struct cdb_make maker;
    ASSERT_EQ(cdb_make_start(&maker, file.Get()), 0);
    const auto add = [&](const std::string& key, const std::string& value) {
        return cdb_make_add(&maker, key.data(), static_cast<unsigned>(key.size()), value.data(),
                            static_cast<unsigned>(value.size())) == 0;
    };
    std::size_t size = kTableOfContentsSize + 25 + 16;
    for (const Item& item : items) {
        size += 8 + item.key.size() + item.value.size() + 16;
    }
    EXPECT_TRUE(add(std::string("\0ZnPolicy", 9), Number(1) + Number(static_cast<unsigned>(size))));
    for (const Item& item : items) {
        EXPECT_TRUE(add(item.key, item.value));
    }
    ASSERT_EQ(cdb_make_finish(&maker), 0);
    ASSERT_EQ(std::filesystem::file_size(path), size);
}

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

    std::vector<std::string> Damage() const {
        const auto verification = PolicyFile::Verify(path_.c_str());
        EXPECT_TRUE(verification);
        return verification ? verification->damage : std::vector<std::string>();
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
    const std::string format = Number(9) + Number(32) + std::string("\0ZnPolicy", 9) + Number(2) +
                               Number(static_cast<unsigned>(contents.size()));
    const std::string items = Record("Name", "value" + ItemChecksum("Name", "value")) +
                              Record("Empty", ItemChecksum("Empty", ""));
    EXPECT_EQ(contents.substr(kTableOfContentsSize, format.size()), format);
    EXPECT_EQ(contents.substr(kFirstItem, items.size()), items);
    EXPECT_EQ(contents.size(), kFirstItem + items.size() + 3 * 16);
}

TEST_F(PolicyFileTest, ChecksumsFollowTheFileSize) {
    for (const std::size_t length : {kSmall, kLarge}) {
        const std::string contents = Write(ThreeItems(length));
        EXPECT_EQ(contents.substr(kChecksums, 24),
                  Checksum(contents.substr(NumberAt(contents, 0))) +
                      Checksum(contents.substr(kFirstItem)) +
                      Checksum(contents.substr(0, kChecksums + 16)));
    }
}

TEST_F(PolicyFileTest, EqualItemsMakeEqualFiles) {
    for (const std::size_t length : {kSmall, kLarge}) {
        const std::string first = Write(ThreeItems(length));
        EXPECT_TRUE(Write(ThreeItems(length)) == first);
    }
}

TEST_F(PolicyFileTest, Version1IsRead) {
    for (const std::size_t length : {kSmall, kLarge}) {
        WriteVersion1(path_, ThreeItems(length));
        const auto policy = Open();
        ASSERT_TRUE(policy);
        EXPECT_THAT(policy->Items(), Optional(ElementsAreArray(ThreeItems(length))));
        EXPECT_EQ(ValueOf(*policy, "B"), "2");
        EXPECT_EQ(ValueOf(*policy, "Missing"), "unchanged");
    }
    WriteVersion1(path_, {});
    EXPECT_TRUE(Open());
}

TEST_F(PolicyFileTest, ZeroTableOfContentsIsRefused) {
    const std::string zeros(kTableOfContentsSize, '\0');
    for (const std::size_t length : {kSmall, kLarge}) {
        Write(ThreeItems(length));
        Overwrite(0, zeros);
        EXPECT_EQ(ErrorOfOpen(), EINVAL);
        WriteVersion1(path_, ThreeItems(length));
        Overwrite(0, zeros);
        EXPECT_EQ(ErrorOfOpen(), EINVAL) << "version 1";
    }
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
    for (const unsigned other : {0U, 1U, 3U, 0x102U}) {
        std::string contents = Write(ThreeItems(kSmall));
        contents.replace(version, 4, Number(other));
        contents.replace(kChecksums + 16, 8, Checksum(contents.substr(0, kChecksums + 16)));
        WriteFile(path_, contents);
        EXPECT_EQ(ErrorOfOpen(), EINVAL) << other;
    }
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

TEST_F(PolicyFileTest, SmallFileWithAnyByteChangedIsRefused) {
    const std::string intact = Write(ThreeItems(kSmall));
    for (std::size_t i = 0; i < intact.size(); ++i) {
        for (const int change : {0x01, 0x02, 0x03, 0x10, 0x80, 0xFF}) {
            Overwrite(i, std::string(1, static_cast<char>(intact[i] ^ change)));
            ASSERT_EQ(ErrorOfOpen(), EINVAL) << i << " " << change;
            ASSERT_FALSE(Damage().empty()) << i << " " << change;
        }
        Overwrite(i, intact.substr(i, 1));
    }
    EXPECT_TRUE(Open());
}

TEST_F(PolicyFileTest, FileOf64KiBWithAnyByteChangedIsRefused) {
    const std::size_t empty = Write(ThreeItems(0)).size();
    const std::string intact = Write(ThreeItems(65536 - empty));
    ASSERT_EQ(intact.size(), 65536U);
    for (std::size_t i = 0; i < intact.size(); ++i) {
        Overwrite(i, std::string(1, static_cast<char>(intact[i] ^ 1)));
        ASSERT_FALSE(Open()) << i;
        Overwrite(i, intact.substr(i, 1));
    }
}

// Neither is a wrong value ever read.
TEST_F(PolicyFileTest, LargeFileWithDamagedHeaderOrIndexIsRefused) {
    const Items items = ThreeItems(kLarge);
    const std::string intact = Write(items);
    const std::size_t longValue = intact.find(std::string(kLarge, 'v'));
    const std::size_t index = NumberAt(intact, 0);
    for (std::size_t i = 0; i < intact.size(); ++i) {
        if (i == longValue + 10) {
            i += kLarge - 20;
        }
        for (const int change : {0x01, 0x80, 0xFF}) {
            Overwrite(i, std::string(1, static_cast<char>(intact[i] ^ change)));
            const auto policy = Open();
            ASSERT_EQ(policy.has_value(), i >= kFirstItem && i < index) << i;
            if (policy) {
                EXPECT_FALSE(policy->Items()) << i;
                for (const Item& item : items) {
                    const std::string value = ValueOf(*policy, item.key);
                    EXPECT_TRUE(value == item.value || value == "unchanged") << i;
                }
            }
        }
        Overwrite(i, intact.substr(i, 1));
    }
    EXPECT_TRUE(ReadFile(path_) == intact);
}

TEST_F(PolicyFileTest, DamagedItemOfALargeFileIsMissing) {
    const std::string intact = Write(ThreeItems(kLarge));
    Overwrite(intact.find(std::string(kLarge, 'v')) + kLarge / 2, "w");
    const auto policy = Open();
    ASSERT_TRUE(policy);
    EXPECT_EQ(ValueOf(*policy, "Long"), "unchanged");
    EXPECT_EQ(ValueOf(*policy, "A"), "1");
    EXPECT_EQ(ValueOf(*policy, "B"), "2");
}

TEST_F(PolicyFileTest, DamagedLargeIndexIsRefused) {
    Items items;
    for (std::size_t i = 0; i < PolicyFile::kSmallFile / 16; ++i) {
        items.push_back({"Item" + std::to_string(i), std::to_string(i)});
    }
    const std::string intact = Write(items);
    const std::size_t index = NumberAt(intact, 0);
    ASSERT_GT(intact.size() - index, PolicyFile::kSmallFile);
    for (std::size_t i = index; i < intact.size(); i += 997) {
        Overwrite(i, std::string(1, static_cast<char>(intact[i] ^ 1)));
        EXPECT_FALSE(Open()) << i;
        EXPECT_FALSE(Damage().empty()) << i;
        Overwrite(i, intact.substr(i, 1));
    }
    EXPECT_TRUE(Open());
}

TEST_F(PolicyFileTest, DamagedFileOfVersion1IsHarmless) {
    for (const std::size_t length : {kSmall, kLarge}) {
        WriteVersion1(path_, ThreeItems(length));
        const std::string intact = ReadFile(path_);
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
                Damage();
            }
            Overwrite(i, intact.substr(i, 1));
        }
        EXPECT_TRUE(ReadFile(path_) == intact);
    }
}

TEST_F(PolicyFileTest, Version1HashTablesFollowOneAnother) {
    for (const std::size_t length : {kSmall, kLarge}) {
        WriteVersion1(path_, ThreeItems(length));
        constexpr std::size_t firstItem = kTableOfContentsSize + 25;
        Overwrite(0, Number(firstItem));  // of the first table: leaves no room for items
        EXPECT_EQ(ErrorOfOpen(), EINVAL);
        EXPECT_THAT(Damage(), ElementsAre("the header is damaged"));
    }
}

TEST_F(PolicyFileTest, Version1ItemsEndAtTheFirstHashTable) {
    for (const std::size_t length : {kSmall, kLarge}) {
        // The last item reaches into the index, or the second one swallows it.
        for (const auto& [key, extra] : {std::make_pair("B", std::size_t{8}),
                                         std::make_pair("Long", std::size_t{8 + 1 + 1})}) {
            WriteVersion1(path_, ThreeItems(length));
            const std::string intact = ReadFile(path_);
            const std::string value = key == std::string("B") ? "2" : std::string(length, 'v');
            const std::size_t record = intact.find(Record(key, value));
            ASSERT_NE(record, std::string::npos);
            Overwrite(record + 4, Number(static_cast<unsigned>(value.size() + extra)));
            EXPECT_THAT(Damage(), ElementsAre("the items are damaged"));
            const auto policy = Open();
            ASSERT_TRUE(policy);
            EXPECT_FALSE(policy->Items());
        }
    }
}

TEST_F(PolicyFileTest, LengthThatReachesBeyondTheFileIsAMissingItem) {
    for (const std::size_t length : {kSmall, kLarge}) {
        WriteVersion1(path_, {{"Long", std::string(length, 'v')}, {"B", "2"}});
        const std::size_t size = std::filesystem::file_size(path_);
        constexpr std::size_t firstItem = kTableOfContentsSize + 25;
        for (const std::size_t wrong : {size - firstItem, size, size + 1, std::size_t{0x7FFFFFFF},
                                        std::size_t{0x80000000}, std::size_t{0xFFFFFFFF}}) {
            Overwrite(firstItem + 4, Number(static_cast<unsigned>(wrong)));
            const auto policy = Open();
            ASSERT_TRUE(policy);
            EXPECT_EQ(ValueOf(*policy, "Long"), "unchanged") << wrong;
            EXPECT_EQ(ValueOf(*policy, "B"), "2");
            EXPECT_FALSE(policy->Items()) << wrong;
        }
    }
}

TEST_F(PolicyFileTest, VerifyNamesWhatIsDamaged) {
    const std::string intact = Write({{"A", "1"}, {"Second", "value"}});
    EXPECT_THAT(Damage(), IsEmpty());
    const struct {
        std::size_t position;
        std::string damage;
    } cases[] = {
        {0, "the header is damaged"},
        {kChecksums, "the header is damaged"},
        {kTableOfContentsSize, "not a policy file, or truncated"},
        {kFirstItem + 9, "the item \"A\" at byte 2097 is damaged"},
        {intact.find("value"), "the item \"Second\" at byte 2115 is damaged"},
    };
    for (const auto& [position, damage] : cases) {
        Overwrite(position, std::string(1, static_cast<char>(intact[position] ^ 1)));
        EXPECT_THAT(Damage(), ElementsAre(damage)) << position;
        Overwrite(position, intact.substr(position, 1));
    }
    Overwrite(kFirstItem, Number(0x7FFFFFFF));
    EXPECT_THAT(Damage(), ElementsAre("the item at byte 2097 is damaged"));
    Overwrite(kFirstItem, intact.substr(kFirstItem, 4));
    Overwrite(NumberAt(intact, 0), std::string(intact.size() - NumberAt(intact, 0), '\0'));
    EXPECT_THAT(Damage(),
                ElementsAre("the item \"A\" cannot be found", "the item \"Second\" cannot be found",
                            "the index is damaged"));
}

TEST_F(PolicyFileTest, VerifyTellsVersion1FromFilesWithChecksums) {
    Write(ThreeItems(kSmall));
    EXPECT_TRUE(PolicyFile::Verify(path_.c_str())->hasChecksums);
    WriteVersion1(path_, ThreeItems(kSmall));
    EXPECT_FALSE(PolicyFile::Verify(path_.c_str())->hasChecksums);
    EXPECT_THAT(Damage(), IsEmpty());
}

TEST_F(PolicyFileTest, VerifyFailsForAFileThatCannotBeRead) {
    errno = 0;
    EXPECT_FALSE(PolicyFile::Verify(path_.c_str()));
    EXPECT_EQ(errno, ENOENT);
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
