#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "PolicyFile.h"
#include "Program.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class PolicySyncCommands : public CommandTest {
   protected:
    void Document(const std::string& name, const std::string& xml) const {
        WriteFile(documents_ + "/" + name, xml);
    }

    // Changes a byte of a value.
    void Damage(int id, const std::string& value) const {
        const std::string file = store_ + "/" + std::to_string(id) + ".cdb";
        std::string contents = ReadFile(file);
        contents.at(contents.find(value)) ^= 1;
        WriteFile(file, contents);
    }

    // The ids that have a policy.
    std::vector<int> Ids() {
        std::vector<int> ids;
        for (const Json& policy : Json::parse(Output({"policy", "list", "--json"}))) {
            ids.push_back(policy.at("id"));
        }
        return ids;
    }

    const std::string documents_ = directory_ / "documents";
};

TEST_F(PolicySyncCommands, VerifyChecksAllPolicies) {
    Publish("1", "<Policy><A>value</A></Policy>");
    Publish("2", "<Policy><A>value</A></Policy>");
    EXPECT_EQ(Output({"policy", "verify"}), "2 verified, 0 damaged\n");
    Damage(2, "value");
    const ProcessResult result = Run({"policy", "verify"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.out,
              "policy 2: the item \"A\" at byte 2097 is damaged\n2 verified, 1 damaged\n");
    EXPECT_EQ(result.err, "znpolicy: there are damaged, missing or unreadable policies\n");
}

TEST_F(PolicySyncCommands, VerifyChecksTheNamedPolicies) {
    Publish("1", "<Policy><A>value</A></Policy>");
    Publish("2", "<Policy><A>value</A></Policy>");
    Damage(2, "value");
    EXPECT_EQ(Output({"policy", "verify", "1"}), "1 verified, 0 damaged\n");
    const ProcessResult result = Run({"policy", "verify", "1", "9"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.out,
              "policy 9: no policy for id 9 in " + store_ + "\n2 verified, 1 damaged\n");
}

TEST_F(PolicySyncCommands, VerifyPrintsJson) {
    Publish("1", "<Policy><A>value</A></Policy>");
    Publish("2", "<Policy><A>value</A></Policy>");
    Damage(2, "value");
    const ProcessResult result = Run({"policy", "verify", "--json"});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(Json::parse(result.out), Json::parse(R"({"policies": [
        {"id": 1, "state": "ok", "checksums": true, "damage": []},
        {"id": 2, "state": "damaged", "checksums": true,
         "damage": ["the item \"A\" at byte 2097 is damaged"]}],
        "damaged": 1, "unreadable": 0})"));
}

TEST_F(PolicySyncCommands, VerifyTellsUnreadableFromDamagedPolicies) {
    Publish("1", "<Policy><A>value</A></Policy>");
    Publish("2", "<Policy><A>value</A></Policy>");
    const std::string file = store_ + "/2.cdb";
    std::filesystem::permissions(file, std::filesystem::perms::none);
    // An ordinary user cannot read the file; root has to become one.
    const std::string command =
        "exec $(test $(id -u) -ne 0 || echo setpriv --reuid=65534 --clear-groups) \"$@\"";
    for (const std::string& directory : {directory_.Path(), store_}) {
        std::filesystem::permissions(directory, static_cast<std::filesystem::perms>(0755));
    }
    if (!RunProgram({"sh", "-c", command, "sh", ZNPOLICY, "--version"}).Succeeded()) {
        GTEST_SKIP() << "this user cannot become an ordinary one that may run the program";
    }
    const auto verify = [&](const std::string& option) {
        return RunProgram(
            {"sh", "-c", command, "sh", ZNPOLICY, "--store", store_, "policy", "verify", option});
    };
    const ProcessResult result = verify("--color=never");
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.out, "policy 2: cannot read " + file +
                              ": Permission denied\n1 verified, 0 damaged, 1 unreadable\n");
    const Json json = Json::parse(verify("--json").out);
    EXPECT_EQ(json["policies"][1]["state"], "unreadable");
    EXPECT_EQ(json["damaged"], 0);
    EXPECT_EQ(json["unreadable"], 1);
}

TEST_F(PolicySyncCommands, DamagedPolicyGivesASessionNothing) {
    Publish("1", "<Policy><PolicyName>value</PolicyName></Policy>");
    Damage(1, "value");
    EXPECT_THAT(Failure({"session", "1"}), HasSubstr("damaged"));
}

TEST_F(PolicySyncCommands, SyncPublishesAndRemoves) {
    Publish("3", "<Policy/>");
    Document("1.xml", "<Policy><A>1</A></Policy>");
    Document("2.xml", "<Policy><A>2</A></Policy>");
    EXPECT_EQ(Output({"policy", "sync", documents_, "--delete", "--dry-run"}),
              "would publish policy 1\nwould publish policy 2\nwould remove policy 3\n"
              "2 to publish, 1 to remove, 0 unchanged\n");
    EXPECT_THAT(Ids(), ElementsAre(3));
    EXPECT_EQ(Output({"policy", "sync", documents_, "--delete", "--jobs", "3"}),
              "2 published, 1 removed, 0 unchanged\n");
    EXPECT_EQ(Output({"policy", "sync", documents_, "--delete"}),
              "0 published, 0 removed, 2 unchanged\n");
    EXPECT_EQ(Output({"policy", "show", "2", "A"}), "2\n");
    EXPECT_THAT(Ids(), ElementsAre(1, 2));
}

TEST_F(PolicySyncCommands, SyncReportsRefusedDocuments) {
    Document("1.xml", "<Policy><A>1</A></Policy>");
    Document("2.xml", "<Policy>\n<A>2</B></Policy>");
    Document("template.xml", "");
    const ProcessResult result = Run({"policy", "sync", documents_});
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_EQ(result.out, "1 published, 0 removed, 0 unchanged\n");
    EXPECT_EQ(result.err,
              "znpolicy: " + documents_ +
                  "/template.xml: ignored: not called <id>.xml\nznpolicy: " + documents_ +
                  "/2.xml:2:7: mismatched tag\n"
                  "znpolicy: not everything was synchronised\n");
}

TEST_F(PolicySyncCommands, SyncPrintsJson) {
    Document("1.xml", "<Policy><A>1</A></Policy>");
    EXPECT_EQ(Json::parse(Output({"policy", "sync", documents_, "--json"})),
              Json::parse(R"({"published": [1], "removed": [], "unchanged": 0, "problems": [],
                              "ignored": [], "dryRun": false})"));
    const ProcessResult failed = Run({"policy", "sync", documents_ + "/missing", "--json"});
    EXPECT_EQ(failed.exitCode, kFailed);
    EXPECT_EQ(Json::parse(failed.err).at("error").at("message"),
              documents_ + "/missing: No such file or directory");
}

TEST_F(PolicySyncCommands, SyncRefusesBadArguments) {
    for (const char* const jobs : {"0", "-1", "x", "1000"}) {
        EXPECT_EQ(Run({"policy", "sync", documents_, "--jobs", jobs}).exitCode, kWrongUsage);
    }
    EXPECT_EQ(Run({"policy", "sync"}).exitCode, kWrongUsage);
    EXPECT_EQ(Run({"policy", "verify", "x"}).exitCode, kWrongUsage);
}

TEST_F(PolicySyncCommands, SyncNeedsOnlyAsManyThreadsAndFilesAsTheLimitsAllow) {
    for (const char* const limits : {
             "ulimit -s 2000000; ulimit -v 1500000",  // no thread's stack fits
             "ulimit -n 64",
             "ulimit -n 16",
         }) {
        if (!RunProgram({"sh", "-c", std::string(limits) + "; \"$0\" --version", ZNPOLICY})
                 .Succeeded()) {
            continue;  // a sanitizer, or a hard limit
        }
        std::filesystem::remove_all(store_);
        for (int id = 0; id < 300; ++id) {
            Document(std::to_string(id) + ".xml", "<Policy><A>1</A></Policy>");
        }
        const ProcessResult result =
            RunProgram({"sh", "-c", std::string(limits) + "; exec \"$@\"", "sh", ZNPOLICY,
                        "--store", store_, "policy", "sync", documents_, "--jobs", "256"});
        EXPECT_EQ(result.out, "300 published, 0 removed, 0 unchanged\n") << limits << result;
        EXPECT_EQ(result.exitCode, kDone) << limits;
    }
}

TEST_F(PolicySyncCommands, SyncUpgradesFilesOfFormatVersion1) {
    Document("1.xml", "<Policy><A>1</A></Policy>");
    // An empty policy of version 1: 256 empty hash tables but one, and the format record.
    const auto number = [](unsigned value) {
        std::string bytes;
        for (unsigned shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>(value >> shift & 0xFF);
        }
        return bytes;
    };
    std::string file;
    for (int table = 0; table < 256; ++table) {
        file += number(table == 0 ? 2073 : 2089) + number(table == 0 ? 2 : 0);
    }
    file += number(9) + number(8) + std::string("\0ZnPolicy", 9) + number(1) + number(2089) +
            std::string(16, '\0');
    WriteFile(store_ + "/1.cdb", file);
    EXPECT_EQ(Output({"policy", "verify"}),
              "policy 1: ok, but of a format version without checksums; publish it again\n"
              "1 verified, 0 damaged\n");
    EXPECT_EQ(Output({"policy", "sync", documents_}), "1 published, 0 removed, 0 unchanged\n");
    EXPECT_EQ(Output({"policy", "verify"}), "1 verified, 0 damaged\n");
}

// The signal arrives after the first batch, which the limit of open files makes a small one.
// Whichever documents are published then, they are whole.
TEST_F(PolicySyncCommands, InterruptedSyncLeavesWholePolicies) {
    constexpr int kCount = 600;
    for (int id = 0; id < kCount; ++id) {
        Document(std::to_string(id) + ".xml", "<Policy><A>" + std::to_string(id) + "</A></Policy>");
    }
    ChildProcess sync({"sh", "-c", "ulimit -n 20; exec \"$@\"", "sh", ZNPOLICY, "--store", store_,
                       "policy", "sync", documents_, "--jobs", "1"});
    while (!std::filesystem::exists(store_ + "/0.cdb")) {
        sched_yield();
    }
    sync.Send(SIGINT);
    const ProcessResult result = sync.Wait();
    EXPECT_EQ(result.exitCode, 128 + SIGINT) << result;
    EXPECT_THAT(result.err, testing::MatchesRegex("znpolicy: interrupted; the first [0-9]+ of 600 "
                                                  "documents were synchronised, nothing was "
                                                  "removed\n"));
    EXPECT_THAT(OutputOf("ls -A " + store_), Not(HasSubstr(".zn-")));
    EXPECT_THAT(Output({"policy", "verify"}), HasSubstr(" 0 damaged\n"));
    EXPECT_THAT(Output({"policy", "sync", documents_}), HasSubstr(" unchanged\n"));
    EXPECT_EQ(Output({"policy", "sync", documents_}), "0 published, 0 removed, 600 unchanged\n");
}

}  // namespace
