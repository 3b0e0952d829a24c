// Fixture for the unit tests of the library's sources: resets the doubles for each test.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "RecordingLogger.h"
#include "ScriptedFiles.h"
#include "ScriptedPolicyStore.h"
#include "ScriptedServices.h"

class PolicyTest : public testing::Test {
   protected:
    PolicyTest() {
        RecordingLogger::Clear();
        ScriptedPolicyStore::Reset();
        ScriptedFiles::Reset();
        ScriptedServices::Reset();
    }

    // No accessor of the policy store outlives the call that created it.
    void TearDown() override {
        EXPECT_EQ(ScriptedPolicyStore::LiveAccessors(), 0);
    }
};

// A record of `function` at level 1.
inline Logged Failure(const std::string& function, const std::string& text) {
    return {LogLevelError, function, text};
}

// A record of `function` at level 3.
inline Logged Progress(const std::string& function, const std::string& text) {
    return {LogLevelInfo, function, text};
}
