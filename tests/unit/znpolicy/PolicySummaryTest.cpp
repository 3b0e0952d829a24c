#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <iostream>

#include "IsolatedCheck.h"
#include "PolicySummary.h"
#include "StoreTest.h"

namespace {

class PolicySummaryTest : public StoreTest {
   protected:
    std::string StateOf(int id) const {
        const auto summary = SummarizePolicy(store_, id);
        return summary ? summary->state : "none";
    }
};

TEST_F(PolicySummaryTest, DescribesPolicy) {
    Publish(5,
            "<Policy><G><PolicyName>other</PolicyName></G><PolicyName> x </PolicyName></Policy>");
    const timespec times[] = {{0, 0}, {1769904000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, FileOf(5).c_str(), times, 0), 0);
    const auto summary = SummarizePolicy(store_, 5);
    ASSERT_TRUE(summary);
    EXPECT_STREQ(summary->state, "ok");
    EXPECT_EQ(summary->published, 1769904000);
    EXPECT_EQ(summary->itemCount, 2U);
    EXPECT_EQ(summary->policyName, " x ");
}

TEST_F(PolicySummaryTest, PolicyNeedsNoName) {
    Publish(5, "<Policy/>");
    const auto summary = SummarizePolicy(store_, 5);
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->itemCount, 0U);
    EXPECT_EQ(summary->policyName, std::nullopt);
}

TEST_F(PolicySummaryTest, SaysWhenThereIsNoFile) {
    EXPECT_EQ(StateOf(5), "none");
}

TEST_F(PolicySummaryTest, WhateverIsNoPolicyIsDamaged) {
    WriteFile(FileOf(1), "");
    WriteFile(FileOf(2), std::string(5000, '\0'));
    std::filesystem::create_directory(FileOf(3));
    std::filesystem::create_symlink("missing", FileOf(4));
    for (const int id : {1, 2, 3, 4}) {
        EXPECT_EQ(StateOf(id), "damaged") << id;
    }
    const auto summary = SummarizePolicy(store_, 1);
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->itemCount, std::nullopt);
    EXPECT_NE(summary->published, std::nullopt);
}

TEST_F(PolicySummaryTest, FileWithoutPermissionIsUnreadable) {
    Publish(5, "<Policy/>");
    std::filesystem::permissions(FileOf(5), std::filesystem::perms::none);
    ExpectHolds(InChild([&] {
        BecomeOrdinaryUser(directory_.Path());
        return StateOf(5) == "unreadable";
    }));
}

TEST_F(PolicySummaryTest, DirectoryWithoutPermissionHidesTime) {
    Publish(5, "<Policy/>");
    ExpectHolds(InChild([&] {
        BecomeOrdinaryUser(directory_.Path());
        std::filesystem::permissions(directory_.Path(), std::filesystem::perms::none);
        const auto summary = SummarizePolicy(store_, 5);
        std::filesystem::permissions(directory_.Path(), std::filesystem::perms::owner_all);
        return summary && std::string(summary->state) == "unreadable" && !summary->published;
    }));
}

}  // namespace
