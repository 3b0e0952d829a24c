#include <gtest/gtest.h>

#include "HelpTexts.h"

namespace {

TEST(HelpTexts, KnowsExamplesByCommand) {
    EXPECT_EQ(ExamplesOf("policy remove").at(0).label, "znpolicy policy remove 1001");
    EXPECT_TRUE(ExamplesOf("no such command").empty());
}

}  // namespace
