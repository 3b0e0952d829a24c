#include <gtest/gtest.h>

#include <string>

#include "ZnPolicyVersion.h"

namespace {

TEST(ZnPolicyVersionTest, IsThatOfTheProject) {
    EXPECT_STREQ(ZN_POLICY_VERSION_STRING, PROJECT_VERSION);
    EXPECT_EQ(std::to_string(ZN_POLICY_VERSION_MAJOR) + "." +
                  std::to_string(ZN_POLICY_VERSION_MINOR) + "." +
                  std::to_string(ZN_POLICY_VERSION_PATCH),
              PROJECT_VERSION);
}

TEST(ZnPolicyVersionTest, ComparesAsNumber) {
    static_assert(kZnPolicyVersion == ZN_POLICY_VERSION);
    EXPECT_EQ(kZnPolicyVersion, ZN_POLICY_VERSION_MAJOR * 10000 + ZN_POLICY_VERSION_MINOR * 100 +
                                    ZN_POLICY_VERSION_PATCH);
}

}  // namespace
