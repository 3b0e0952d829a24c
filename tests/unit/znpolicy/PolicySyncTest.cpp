#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "Interrupt.h"
#include "PolicySync.h"
#include "PseudoTerminal.h"
#include "StoreTest.h"
#include "SystemCallHooks.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using Item = PolicyStore::Item;

class PolicySyncTest : public StoreTest {
   protected:
    PolicySyncTest() {
        std::filesystem::create_directory(documents_);
    }

    void Document(const std::string& name, const std::string& xml) const {
        WriteFile(documents_ + "/" + name, xml);
    }

    SyncOptions Options() const {
        SyncOptions options;
        options.directory = documents_;
        return options;
    }

    SyncResult Sync() const {
        return SyncPolicies(store_, Options());
    }

    SyncOptions Delete() const {
        SyncOptions options = Options();
        options.removeOthers = true;
        return options;
    }

    std::string FailureOf(const SyncOptions& options) const {
        try {
            SyncPolicies(store_, options);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "no error";
    }

    // Inode, modification and change time of the store and of its files.
    std::vector<std::string> Facts() const {
        std::vector<std::string> facts;
        const auto add = [&](const std::string& path) {
            struct stat status = {};
            EXPECT_EQ(stat(path.c_str(), &status), 0);
            facts.push_back(path + " " + std::to_string(status.st_ino) + " " +
                            std::to_string(status.st_mtim.tv_sec) + "." +
                            std::to_string(status.st_mtim.tv_nsec) + " " +
                            std::to_string(status.st_ctim.tv_nsec));
        };
        add(store_.Directory());
        for (const std::string& name : FilesInStore()) {
            add(store_.Directory() + "/" + name);
        }
        return facts;
    }

    const std::string documents_ = directory_ / "documents";
};

TEST_F(PolicySyncTest, PublishesNewAndChangedDocuments) {
    Publish(1, "<Policy><A>old</A></Policy>");
    Publish(2, "<Policy><A>same</A></Policy>");
    Publish(4, "<Policy><A>other</A></Policy>");
    Document("1.xml", "<Policy><A>new</A></Policy>");
    Document("2.xml", "<Policy>\n  <A>same</A>\n</Policy>");
    Document("-3.xml", "<Policy><A>first</A></Policy>");
    const SyncResult result = Sync();
    EXPECT_THAT(result.published, ElementsAre(-3, 1));
    EXPECT_EQ(result.unchanged, 1U);
    EXPECT_THAT(result.removed, IsEmpty());
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_THAT(FilesInStore(), UnorderedElementsAre("-3.cdb", "1.cdb", "2.cdb", "4.cdb"));
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "new"}));
    EXPECT_THAT(store_.Read(-3), ElementsAre(Item{"A", "first"}));
    EXPECT_THAT(store_.Read(4), ElementsAre(Item{"A", "other"}));
}

TEST_F(PolicySyncTest, UnchangedDocumentsTouchNothing) {
    for (const char* const id : {"1", "2", "3"}) {
        Document(std::string(id) + ".xml", "<Policy><A>1</A></Policy>");
    }
    EXPECT_THAT(Sync().published, SizeIs(3));
    const std::vector<std::string> before = Facts();
    const SyncResult result = SyncPolicies(store_, Delete());
    EXPECT_EQ(result.unchanged, 3U);
    EXPECT_EQ(Facts(), before);
}

TEST_F(PolicySyncTest, RefusedDocumentKeepsItsPolicyAndOthersArePublished) {
    Publish(1, "<Policy><A>old</A></Policy>");
    Document("1.xml", "<Policy>\n  <A>new</A>\n  <A>again</A>\n</Policy>");
    Document("2.xml", "<Policy><A>2</A></Policy>");
    const SyncResult result = SyncPolicies(store_, Delete());
    EXPECT_THAT(result.problems, ElementsAre(documents_ + "/1.xml:3:3: a second item \"A\""));
    EXPECT_THAT(result.published, ElementsAre(2));
    EXPECT_THAT(result.removed, IsEmpty());
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "old"}));
}

TEST_F(PolicySyncTest, UnreadableDocumentKeepsItsPolicy) {
    for (const int id : {1, 2, 3}) {
        Publish(id, "<Policy/>");
    }
    std::filesystem::create_directory(documents_ + "/1.xml");
    ASSERT_EQ(mkfifo((documents_ + "/2.xml").c_str(), 0600), 0);
    std::filesystem::create_symlink("nowhere", documents_ + "/3.xml");
    const SyncResult result = SyncPolicies(store_, Delete());
    EXPECT_THAT(result.problems,
                UnorderedElementsAre(documents_ + "/1.xml: Is a directory",
                                     documents_ + "/2.xml: not a regular file",
                                     documents_ + "/3.xml: No such file or directory"));
    EXPECT_THAT(store_.List(), ElementsAre(1, 2, 3));
}

TEST_F(PolicySyncTest, RemovesPoliciesWithoutDocumentOnRequest) {
    Publish(1, "<Policy/>");
    Publish(2, "<Policy/>");
    WriteFile(store_.Directory() + "/notes.txt", "");
    Document("2.xml", "<Policy/>");
    EXPECT_THAT(Sync().removed, IsEmpty());
    EXPECT_THAT(SyncPolicies(store_, Delete()).removed, ElementsAre(1));
    EXPECT_THAT(FilesInStore(), UnorderedElementsAre("2.cdb", "notes.txt"));
}

TEST_F(PolicySyncTest, NeverRemovesAllPoliciesForLackOfDocuments) {
    Publish(1, "<Policy/>");
    Document("notes.txt", "");
    EXPECT_EQ(FailureOf(Delete()),
              documents_ + ": no documents <id>.xml; refusing to remove every policy");
    SyncOptions missing = Delete();
    missing.directory = directory_ / "missing";
    EXPECT_EQ(FailureOf(missing), missing.directory + ": No such file or directory");
    EXPECT_THAT(store_.List(), ElementsAre(1));
}

TEST_F(PolicySyncTest, EmptyDirectoryAndEmptyStoreAreFine) {
    const SyncResult result = SyncPolicies(store_, Delete());
    EXPECT_EQ(result.unchanged, 0U);
    EXPECT_FALSE(std::filesystem::exists(store_.Directory()));
}

TEST_F(PolicySyncTest, OtherNamesAreIgnored) {
    for (const char* const name : {"README.md", "1.xml~", ".xml", "xml", "1.txt"}) {
        Document(name, "no policy");
    }
    Document("template.xml", "no policy");
    Document("TEMPLATE.XML", "no policy");
    Document("1.xml", "<Policy/>");
    const SyncResult result = Sync();
    EXPECT_THAT(result.ignored, ElementsAre("TEMPLATE.XML", "template.xml"));
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_THAT(store_.List(), ElementsAre(1));
}

TEST_F(PolicySyncTest, MisnamedDocumentIsReportedAndPreventsRemoval) {
    Publish(7, "<Policy/>");
    Document("1.xml", "<Policy/>");
    for (const char* const name :
         {"007.xml", "+7.xml", "-0.xml", "2147483648.xml", "7 .xml", "7.XML", "7.Xml"}) {
        Document(name, "<Policy/>");
        const SyncResult result = SyncPolicies(store_, Delete());
        EXPECT_THAT(result.problems,
                    ElementsAre(documents_ + "/" + name +
                                    ": not published: not called <id>.xml; an id is a decimal "
                                    "32-bit integer without leading zeros or plus sign",
                                "no policy removed because of misnamed documents"));
        EXPECT_THAT(store_.List(), ElementsAre(1, 7));
        std::filesystem::remove(documents_ + "/" + name);
    }
}

// The document appears before the directory is opened, or before a document is.
TEST_F(PolicySyncTest, PolicyWhoseDocumentAppearsMeanwhileStays) {
#ifndef __linux__
    GTEST_SKIP() << kNoSystemCallHooks;
#endif
    Publish(7, "<Policy/>");
    Document("1.xml", "<Policy><A>1</A></Policy>");
    bool appears = true;
    for (int at = 1; appears; ++at) {
        appears = false;
        int opened = 0;
        const std::function<void()> beforeOpen = [&] {
            if (++opened == at) {
                appears = true;
                Document("7.xml", "<Policy/>");
            } else {
                systemCallHooks.beforeOpenat = beforeOpen;
            }
        };
        systemCallHooks.beforeOpenat = beforeOpen;
        const SyncResult result = SyncPolicies(store_, Delete());
        systemCallHooks = {};
        if (appears) {
            ASSERT_THAT(result.removed, IsEmpty()) << at;
            ASSERT_THAT(store_.List(), ElementsAre(1, 7)) << at;
        } else {
            EXPECT_THAT(result.removed, ElementsAre(7));
            EXPECT_GT(at, 2);
        }
        store_.Remove(1);
        std::filesystem::remove(documents_ + "/7.xml");
    }
}

TEST_F(PolicySyncTest, ProblemsAreSortedById) {
    std::filesystem::create_directories(FileOf(2));
    for (int id = -10; id <= 30; ++id) {
        Document(std::to_string(id) + ".xml", id == 2 ? "<Policy/>" : "none");
    }
    SyncOptions options = Options();
    options.jobs = 4;
    const std::vector<std::string> problems = SyncPolicies(store_, options).problems;
    ASSERT_THAT(problems, SizeIs(41));
    for (int id = -10; id <= 30; ++id) {
        EXPECT_THAT(problems[static_cast<std::size_t>(id + 10)],
                    HasSubstr("/" + std::to_string(id) + (id == 2 ? ".cdb: " : ".xml:")));
    }
}

TEST_F(PolicySyncTest, DryRunChangesNothing) {
    Publish(1, "<Policy/>");
    Publish(2, "<Policy/>");
    Document("1.xml", "<Policy><A>new</A></Policy>");
    Document("3.xml", "<Policy/>");
    const std::vector<std::string> before = Facts();
    SyncOptions options = Delete();
    options.dryRun = true;
    const SyncResult result = SyncPolicies(store_, options);
    EXPECT_THAT(result.published, ElementsAre(1, 3));
    EXPECT_THAT(result.removed, ElementsAre(2));
    EXPECT_EQ(Facts(), before);
}

TEST_F(PolicySyncTest, DryRunDoesNotCreateAStore) {
    Document("1.xml", "<Policy/>");
    SyncOptions options = Options();
    options.dryRun = true;
    EXPECT_THAT(SyncPolicies(store_, options).published, ElementsAre(1));
    EXPECT_FALSE(std::filesystem::exists(store_.Directory()));
}

TEST_F(PolicySyncTest, DamagedPolicyIsPublishedAgain) {
    Document("1.xml", "<Policy/>");
    Sync();
    WriteFile(FileOf(1), "damaged");
    EXPECT_THAT(Sync().published, ElementsAre(1));
    EXPECT_THAT(store_.Verify(1).damage, IsEmpty());
}

TEST_F(PolicySyncTest, ThreadsAndBatchesPublishEverything) {
    constexpr int kCount = 600;
    for (int id = 0; id < kCount; ++id) {
        Document(std::to_string(id) + ".xml",
                 "<Policy><Id>" + std::to_string(id) + "</Id></Policy>");
    }
    SyncOptions options = Options();
    options.jobs = 4;
    const SyncResult result = SyncPolicies(store_, options);
    EXPECT_THAT(result.published, SizeIs(kCount));
    EXPECT_THAT(FilesInStore(), SizeIs(kCount));
    for (int id = 0; id < kCount; ++id) {
        ASSERT_THAT(store_.Read(id), ElementsAre(Item{"Id", std::to_string(id)}));
    }
    EXPECT_EQ(SyncPolicies(store_, options).unchanged, std::size_t{kCount});
}

TEST_F(PolicySyncTest, PolicyThatCannotBeReplacedIsAProblem) {
    std::filesystem::create_directories(FileOf(1));
    Document("1.xml", "<Policy/>");
    Document("2.xml", "<Policy/>");
    const SyncResult result = Sync();
    EXPECT_THAT(result.problems, ElementsAre("cannot replace " + FileOf(1) + ": Is a directory"));
    EXPECT_THAT(result.published, ElementsAre(2));
}

TEST_F(PolicySyncTest, FullDiskIsAnErrorAndLeavesNoTemporaryFile) {
    Publish(1, "<Policy><A>old</A></Policy>");
    for (const char* const id : {"1", "2", "3"}) {
        Document(std::string(id) + ".xml",
                 "<Policy><A>" + std::string(9000, 'x') + "</A></Policy>");
    }
    const ProcessResult result = RunInChild([&] {
        const rlimit fileSize = {5000, 5000};
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &fileSize);
        SyncOptions options = Options();
        options.jobs = 2;
        std::cout << FailureOf(options);
    });
    EXPECT_THAT(result.out, HasSubstr("File too large")) << result;
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "old"}));
}

TEST_F(PolicySyncTest, ShowsProgressOnTerminal) {
#ifndef __linux__
    GTEST_SKIP() << kNoSystemCallHooks;
#endif
    Document("1.xml", "<Policy/>");
    Document("2.xml", "<Policy/>");
    PseudoTerminal terminal;
    int go[2];
    ASSERT_EQ(pipe(go), 0);
    ChildProcess child([&] {
        dup2(terminal.Other().Get(), STDERR_FILENO);
        // The first call opens the directory, the second one a document.
        systemCallHooks.beforeOpenat = [&] {
            systemCallHooks.beforeOpenat = [&] {
                char byte = 0;
                [[maybe_unused]] const ssize_t count = read(go[0], &byte, 1);
            };
        };
        Sync();
    });
    EXPECT_THAT(terminal.ShownUpTo("0/2"),
                HasSubstr("synchronising [" + std::string(30, '.') + "] 0/2"));
    ASSERT_EQ(write(go[1], "x", 1), 1);
    terminal.Other().Close();
    EXPECT_THAT(terminal.ShownUpTo("the end of the child"), testing::EndsWith("\r\x1b[K"));
    EXPECT_TRUE(child.Wait().Succeeded());
    EXPECT_THAT(store_.List(), ElementsAre(1, 2));
    close(go[0]);
    close(go[1]);
}

TEST_F(PolicySyncTest, StopsWhenInterrupted) {
    Publish(1, "<Policy><A>old</A></Policy>");
    Document("1.xml", "<Policy><A>new</A></Policy>");
    const ProcessResult result = RunInChild([&] {
        const InterruptScope scope;
        raise(SIGINT);
        try {
            Sync();
        } catch (const Interrupted& interrupted) {
            std::cout << interrupted.Signal() << " " << interrupted.Outcome();
        }
    });
    EXPECT_EQ(result.out, std::to_string(SIGINT) +
                              " the first 0 of 1 documents were synchronised, nothing was removed");
    EXPECT_THAT(FilesInStore(), ElementsAre("1.cdb"));
    EXPECT_THAT(store_.Read(1), ElementsAre(Item{"A", "old"}));
}

}  // namespace
