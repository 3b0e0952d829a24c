// Fixture for tests of package update: a temporary process directory.
#pragma once

#include <string>

#include "PolicyTest.h"
#include "TemporaryDirectory.h"
#include "ZnVcUpdate.h"

constexpr int kSuccess = 0;
constexpr int kFailure = -10000;

class UpdateTest : public PolicyTest {
   protected:
    UpdateTest() {
        ScriptedServices::Get().processDirectory = temporary_.Path();
    }

    // As the library builds them: the separator before "Package" is doubled.
    std::string Microservices() const {
        return temporary_.Path() + "/microservices/";
    }
    std::string Package() const {
        return temporary_.Path() + "/microservices//Package/";
    }

    // The first record of every operation that creates the tree.
    Logged TreeRecord() const {
        return Progress("ZnCreateMicroserviceDirectories", Microservices());
    }

    // Makes the creation of the directory `path` fail.
    static void RefuseDirectory(const std::string& path) {
        const auto makeDirectory = ScriptedFiles::Get().mkDir;
        ScriptedFiles::Get().mkDir = [=](const std::string& wanted, unsigned short mode) {
            return wanted == path ? -1 : makeDirectory(wanted, mode);
        };
    }

    TemporaryDirectory temporary_;
};
