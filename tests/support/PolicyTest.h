// What the unit tests of the library share: fresh doubles for each test, short names for records.
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

    // No accessor of the policy store outlives the call that made it, whatever happened in it.
    void TearDown() override {
        EXPECT_EQ(ScriptedPolicyStore::LiveAccessors(), 0);
    }
};

// A record at level 1, in the words of `function`.
inline Logged Failure(const std::string& function, const std::string& text) {
    return {LogLevelError, function, text};
}

// A record at level 3.
inline Logged Progress(const std::string& function, const std::string& text) {
    return {LogLevelInfo, function, text};
}
