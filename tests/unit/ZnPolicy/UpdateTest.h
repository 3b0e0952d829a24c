// What the tests of package update share: a process directory of the test's own.
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

    // As the library builds it; the separator before "Package" is doubled.
    std::string Microservices() const {
        return temporary_.Path() + "/microservices/";
    }
    std::string Package() const {
        return temporary_.Path() + "/microservices//Package/";
    }

    // What every operation that makes sure of the tree begins its records with.
    Logged TreeRecord() const {
        return Progress("ZnCreateMicroserviceDirectories", Microservices());
    }

    // From now on the directory `path` cannot be made; the others can.
    static void RefuseDirectory(const std::string& path) {
        const auto makeDirectory = ScriptedFiles::Get().mkDir;
        ScriptedFiles::Get().mkDir = [=](const std::string& wanted, unsigned short mode) {
            return wanted == path ? -1 : makeDirectory(wanted, mode);
        };
    }

    TemporaryDirectory temporary_;
};
