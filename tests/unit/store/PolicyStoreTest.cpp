#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "ChildProcess.h"
#include "PolicyStore.h"
#include "StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Item = PolicyStore::Item;
using PolicyStoreTest = StoreTest;

mode_t ModeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

TEST_F(PolicyStoreTest, PolicyIsReadInPublishedOrder) {
    EXPECT_EQ(store_.Publish(1, "<Policy><Z>1</Z><A><B>2</B></A><M/></Policy>", "p.xml"), 3U);
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"Z", "1"}, Item{"A/B", "2"}, Item{"M", ""}));
}

TEST_F(PolicyStoreTest, NewPolicyReplacesTheOldOneWhole) {
    Publish(1, "<Policy><Old>1</Old><Both>2</Both></Policy>");
    Publish(1, "<Policy><Both>3</Both></Policy>");
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"Both", "3"}));
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
}

TEST_F(PolicyStoreTest, RefusedDocumentLeavesThePublishedPolicy) {
    Publish(1, "<Policy><A>1</A></Policy>");
    EXPECT_EQ(ErrorOf([this] { Publish(1, "<Policy><A>2</A></Polic>"); }),
              "policy.xml:1:19: mismatched tag");
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "1"}));
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
}

TEST_F(PolicyStoreTest, RefusedDocumentDoesNotCreateAStore) {
    EXPECT_NE(ErrorOf([this] { Publish(1, "<Policy>"); }), "no error");
    EXPECT_FALSE(std::filesystem::exists(store_.Directory()));
}

TEST_F(PolicyStoreTest, StoreAndPoliciesAreReadableWhateverTheUmask) {
    const mode_t umaskBefore = umask(0077);
    const PolicyStore store(directory_ / "a/b/store/");
    store.Publish(1, "<Policy/>", "p.xml");
    umask(umaskBefore);
    EXPECT_EQ(ModeOf(directory_ / "a"), 0755U);
    EXPECT_EQ(ModeOf(directory_ / "a/b"), 0755U);
    EXPECT_EQ(ModeOf(directory_ / "a/b/store"), 0755U);
    EXPECT_EQ(ModeOf(directory_ / "a/b/store/1.cdb"), 0644U);
}

TEST_F(PolicyStoreTest, ExistingStoreKeepsItsMode) {
    ASSERT_EQ(mkdir(store_.Directory().c_str(), 0700), 0);
    Publish(1, "<Policy/>");
    EXPECT_EQ(ModeOf(store_.Directory()), 0700U);
}

TEST_F(PolicyStoreTest, FullDiskLeavesThePublishedPolicyAndNoTemporary) {
    Publish(1, "<Policy><A>1</A></Policy>");
    const std::string large = "<Policy><A>" + std::string(1 << 20, 'x') + "</A></Policy>";
    for (const rlim_t limit : {0U, 2000U, 5000U, 500000U, 1U << 20}) {
        const ProcessResult result = RunInChild([&] {
            const rlimit fileSize = {limit, limit};
            if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR ||
                setrlimit(RLIMIT_FSIZE, &fileSize) != 0) {
                _exit(2);
            }
            const std::string message = ErrorOf([&] { Publish(1, large); });
            _exit(message == "cannot write " + FileOf(1) + ": File too large" ? 0 : 1);
        });
        EXPECT_TRUE(result.Succeeded()) << limit << result;
        EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "1"}));
        EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
    }
}

TEST_F(PolicyStoreTest, EveryPublicationRemovesAbandonedTemporaryFiles) {
    Publish(1, "<Policy/>");
    for (int i = 0; i < 5; ++i) {
        WriteFile(store_.Directory() + "/.zn-0123456789abcdef", "");
        Publish(1, "<Policy/>");
        EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
    }
}

TEST_F(PolicyStoreTest, StoreThatIsNoDirectoryIsAnError) {
    WriteFile(store_.Directory(), "");
    EXPECT_THAT(ErrorOf([this] { Publish(1, "<Policy/>"); }), HasSubstr("Not a directory"));
    EXPECT_EQ(ErrorOf([this] { store_.List(); }),
              "cannot read the directory " + store_.Directory() + ": Not a directory");
    const PolicyStore below(store_.Directory() + "/below");
    EXPECT_EQ(ErrorOf([&] { below.Publish(1, "<Policy/>", "p.xml"); }),
              "cannot create the directory " + below.Directory() + ": Not a directory");
}

TEST_F(PolicyStoreTest, PolicyThatCannotBeReplacedIsAnErrorAndLeavesNoTemporary) {
    std::filesystem::create_directories(FileOf(1));
    EXPECT_EQ(ErrorOf([this] { Publish(1, "<Policy/>"); }),
              "cannot replace " + FileOf(1) + ": Is a directory");
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
}

TEST_F(PolicyStoreTest, ListNamesTheIdsInOrder) {
    EXPECT_THAT(store_.List(), IsEmpty());
    for (const int id : {10, 9, -3, INT_MAX, 0, INT_MIN}) {
        Publish(id, "<Policy/>");
    }
    for (const char* name : {".zn-0123456789abcdef", "1.cdb.zn", "007.cdb", "+1.cdb", "1.txt",
                             "cdb", "x.cdb", ".cdb", "-0.cdb", "2147483648.cdb", "1 .cdb"}) {
        WriteFile(store_.Directory() + "/" + name, "");
    }
    EXPECT_THAT(store_.List(), ElementsAre(INT_MIN, -3, 0, 9, 10, INT_MAX));
}

TEST_F(PolicyStoreTest, RemovedPolicyIsGone) {
    Publish(1, "<Policy/>");
    store_.Remove(1);
    EXPECT_THAT(store_.List(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(FileOf(1)));
}

TEST_F(PolicyStoreTest, PolicyThatDoesNotExistIsAnError) {
    const std::string message = "no policy for id 5 in " + store_.Directory();
    EXPECT_EQ(ErrorOf([this] { store_.Read(5); }), message);
    EXPECT_EQ(ErrorOf([this] { store_.Verify(5); }), message);
    EXPECT_EQ(ErrorOf([this] { store_.Remove(5); }), message);
}

TEST_F(PolicyStoreTest, DocumentAboveTheLimitIsRefusedBeforeAnythingIsWritten) {
    const std::string document(PolicyStore::kMaxDocumentSize + 1, ' ');
    EXPECT_EQ(ErrorOf([&] { Publish(1, document); }),
              "policy.xml:1:16777217: the document is larger than 16 MiB");
    EXPECT_FALSE(std::filesystem::exists(store_.Directory()));
}

TEST_F(PolicyStoreTest, UnusablePolicyIsAnError) {
    Publish(1, "<Policy/>");
    WriteFile(FileOf(1), "x");
    EXPECT_EQ(ErrorOf([this] { store_.Read(1); }),
              "not a policy file, or a damaged one: " + FileOf(1));
    std::filesystem::resize_file(FileOf(1), std::uintmax_t{4} << 30);
    EXPECT_EQ(ErrorOf([this] { store_.Read(1); }), "cannot read " + FileOf(1) + ": File too large");
    std::filesystem::remove(FileOf(1));
    std::filesystem::create_directory(FileOf(1));
    EXPECT_EQ(ErrorOf([this] { store_.Read(1); }), "cannot read " + FileOf(1) + ": Is a directory");
}

TEST_F(PolicyStoreTest, VerifyReportsDamage) {
    Publish(1, "<Policy><A>old</A></Policy>");
    EXPECT_TRUE(store_.Verify(1).hasChecksums);
    EXPECT_THAT(store_.Verify(1).damage, IsEmpty());
    std::string contents = ReadFile(FileOf(1));
    contents.replace(contents.find("old"), 3, "new");
    WriteFile(FileOf(1), contents);
    EXPECT_THAT(store_.Verify(1).damage, ElementsAre("the item \"A\" at byte 2097 is damaged"));
}

TEST_F(PolicyStoreTest, VerifyRefusesFifo) {
    Publish(2, "<Policy/>");
    ASSERT_EQ(mkfifo(FileOf(1).c_str(), 0600), 0);
    EXPECT_EQ(ErrorOf([this] { store_.Verify(1); }), "not a regular file: " + FileOf(1));
}

TEST_F(PolicyStoreTest, PolicyWithADamagedItemIsAnError) {
    Publish(1, "<Policy><A>old</A></Policy>");
    std::string contents = ReadFile(FileOf(1));
    contents.replace(contents.find("old"), 3, "new");
    WriteFile(FileOf(1), contents);
    EXPECT_EQ(ErrorOf([this] { store_.Read(1); }),
              "not a policy file, or a damaged one: " + FileOf(1));
}

TEST_F(PolicyStoreTest, HoldsSaysWhetherPublishingWouldChangeAPolicy) {
    EXPECT_FALSE(store_.Holds(1, {})) << "no policy";
    Publish(1, "<Policy><A>1</A><B>2</B></Policy>");
    EXPECT_TRUE(store_.Holds(1, {{"A", "1"}, {"B", "2"}}));
    EXPECT_FALSE(store_.Holds(1, {{"A", "1"}}));
    EXPECT_FALSE(store_.Holds(1, {{"A", "1"}, {"B", "3"}}));
    EXPECT_FALSE(store_.Holds(1, {{"B", "2"}, {"A", "1"}}));
    WriteFile(FileOf(1), ReadFile(FileOf(1)) + "x");
    EXPECT_FALSE(store_.Holds(1, {{"A", "1"}, {"B", "2"}})) << "damaged";
}

TEST_F(PolicyStoreTest, BatchChangesAreVisibleOnlyAfterCommit) {
    Publish(1, "<Policy><A>old</A></Policy>");
    Publish(3, "<Policy/>");
    PolicyStore::Batch batch(store_);
    batch.Publish(1, {{"A", "new"}});
    batch.Publish(2, {{"B", "new"}});
    batch.Remove(3);
    EXPECT_THAT(store_.List(), ElementsAre(1, 3));
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "old"}));
    EXPECT_THAT(batch.Commit(), IsEmpty());
    EXPECT_THAT(FilesInStore(), UnorderedElementsAre("1.cdb", "2.cdb"));
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "new"}));
    EXPECT_THAT(store_.Read(2), ElementsAre(Item{"B", "new"}));
    EXPECT_EQ(ModeOf(FileOf(2)), 0644U);
    EXPECT_THAT(batch.Commit(), IsEmpty()) << "nothing is left to do";
}

TEST_F(PolicyStoreTest, BatchWritesTheFileThatPublishWrites) {
    Publish(1, "<Policy><A>1</A></Policy>");
    const std::string published = ReadFile(FileOf(1));
    PolicyStore::Batch batch(store_);
    batch.Publish(2, {{"A", "1"}});
    batch.Commit();
    EXPECT_TRUE(ReadFile(FileOf(2)) == published);
}

TEST_F(PolicyStoreTest, DroppedBatchLeavesNothing) {
    Publish(1, "<Policy><A>old</A></Policy>");
    {
        PolicyStore::Batch batch(store_);
        batch.Publish(1, {{"A", "new"}});
        batch.Publish(2, {});
        batch.Remove(1);
    }
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "old"}));
}

TEST_F(PolicyStoreTest, BatchReportsWhatCannotBeChangedAndChangesTheRest) {
    std::filesystem::create_directories(FileOf(1));
    std::filesystem::create_directories(FileOf(2));
    PolicyStore::Batch batch(store_);
    batch.Publish(1, {});
    batch.Publish(3, {});
    batch.Remove(2);
    batch.Remove(4);  // is not there anyway
    const auto failures = batch.Commit();
    ASSERT_EQ(failures.size(), 2U);
    EXPECT_EQ(failures[0].id, 1);
    EXPECT_EQ(failures[0].reason, "cannot replace " + FileOf(1) + ": Is a directory");
    EXPECT_EQ(failures[1].id, 2);
    EXPECT_THAT(failures[1].reason, HasSubstr("cannot remove " + FileOf(2)));
    EXPECT_THAT(FilesInStore(), UnorderedElementsAre("1.cdb", "2.cdb", "3.cdb"));
}

TEST_F(PolicyStoreTest, BatchRemovesAbandonedTemporaryFiles) {
    WriteFile(store_.Directory() + "/.zn-0123456789abcdef", "");
    PolicyStore::Batch batch(store_);
    batch.Publish(1, {});
    batch.Publish(2, {});
    batch.Commit();
    EXPECT_THAT(FilesInStore(), UnorderedElementsAre("1.cdb", "2.cdb"));
}

TEST_F(PolicyStoreTest, BatchThatCannotBeWrittenIsAnError) {
    WriteFile(store_.Directory(), "");
    PolicyStore::Batch batch(store_);
    EXPECT_THAT(ErrorOf([&] { batch.Publish(1, {}); }), HasSubstr("Not a directory"));
}

TEST_F(PolicyStoreTest, DefaultDirectoryIsThatOfTheEnvironment) {
    EXPECT_EQ(PolicyStore::DefaultDirectory(), store_.Directory());
    EXPECT_EQ(PolicyStore().Directory(), store_.Directory());
    setenv("ZN_POLICY_STORE", "", 1);
    EXPECT_EQ(PolicyStore::DefaultDirectory(), "/usr/local/PermanenceDataPath/PolicyStore");
    unsetenv("ZN_POLICY_STORE");
    EXPECT_EQ(PolicyStore::DefaultDirectory(), "/usr/local/PermanenceDataPath/PolicyStore");
}

}  // namespace
