// Packages in a test's own directory.
#pragma once

#include <cstdlib>
#include <map>
#include <string>

#include "RealZips.h"
#include "TemporaryDirectory.h"

// A manifest for platform Model-A with these lines after the head of the platform's section.
inline std::string ManifestOf(const std::string& paths) {
    return "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\n" + paths;
}

// A package P_Server.zip that installs "a" and "b" into the directory To(), on a machine of
// platform Model-A.
class TestPackage {
   public:
    TestPackage() {
        WriteFile(directory_ / "platforminfo.ini", "[os]\nplatform=Model-A\n");
        setenv("ZN_PROCESS_DIRECTORY", directory_.Path().c_str(), 1);
        std::filesystem::create_directory(To());
        Make({{"FileList.ini", Manifest()}, {"Common/a", "1"}, {"Common/b", "2"}});
    }
    ~TestPackage() {
        unsetenv("ZN_PROCESS_DIRECTORY");
    }
    TestPackage(const TestPackage&) = delete;
    TestPackage& operator=(const TestPackage&) = delete;

    void Make(const std::map<std::string, std::string>& files) const {
        MakeZip(Zip(), files);
    }

    std::string Manifest() const {
        return ManifestOf("p=" + To() + "\n[p]\nf=a,b\n");
    }
    std::string Zip() const {
        return directory_ / "Package/P_Server.zip";
    }
    // Where the zip is unpacked.
    std::string Unpacked() const {
        return directory_ / "Package/P_Server";
    }
    // The directory with Package in it.
    std::string Root() const {
        return directory_.Path();
    }
    // With a trailing separator.
    std::string To() const {
        return directory_ / "to/";
    }

   private:
    const TemporaryDirectory directory_;
};
