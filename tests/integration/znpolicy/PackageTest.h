// A machine for tests of the package commands. Linux only: the fixed paths are written in a private
// mount namespace.
#pragma once

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "PrivateMounts.h"
#include "Program.h"
#include "RealZips.h"

// A manifest for platform Model-A with these lines after the head of the platform's section.
inline std::string ManifestOf(const std::string& paths) {
    return "[Package_Intall_Type]\nPackageIntallType=Model-A\n[Model-A]\n" + paths;
}

// Installs a.so and b.so.
inline const std::string kManifest =
    ManifestOf("plugins=/usr/local/plugins/\n[plugins]\nfiles=a.so,b.so\n");

// Every file and directory below `directory`, with the contents of files.
inline std::map<std::string, std::string> Snapshot(const std::string& directory) {
    std::map<std::string, std::string> snapshot;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        snapshot[entry.path()] = entry.is_regular_file() ? ReadFile(entry.path()) : "";
    }
    return snapshot;
}

// A machine of platform Model-A with a process directory, a store and a package tree of its own.
class PackageTest : public CommandTest {
   protected:
    PackageTest() {
        EmptyPrivateMounts();
        std::filesystem::create_directories("/usr/local/vornserver/bin/microservices/Package");
        WriteFile(process_ + "/platforminfo.ini", "[os]\nplatform=Model-A\n");
        std::filesystem::create_directories(packages_);
    }

    // Publishes a policy for terminal 7 with these items.
    void PublishItems(const std::map<std::string, std::string>& items) {
        std::string document = "<Policy>";
        for (const auto& [key, value] : items) {
            document += "<" + key + "><![CDATA[" + value + "]]></" + key + ">";
        }
        Publish("7", document + "</Policy>");
    }

    // Creates a zip in the server's package directory. Returns its path.
    std::string AddZip(const std::string& name, const std::map<std::string, std::string>& files) {
        MakeZip(packages_ + name, files);
        return packages_ + name;
    }

    // Creates a valid package zip in the server's package directory. Returns its path.
    std::string AddPackage(const std::string& name = "P_1.0_Server.zip") {
        return AddZip(name, {{"FileList.ini", kManifest},
                             {"Common/a.so", "contents of a"},
                             {"Common/b.so", "contents of b"}});
    }

    // Writes an update description with one record for each of the zips. Returns its path.
    std::string DescribeZips(const std::vector<std::string>& zips,
                             const std::string& platform = "Model-A") {
        Json records = Json::array();
        for (const std::string& zip : zips) {
            records.push_back({{"packageName", std::filesystem::path(zip).filename()},
                               {"platform", platform},
                               {"sha256Hash", Sha256Of("'" + zip + "'")},
                               {"size", std::to_string(std::filesystem::file_size(zip))}});
        }
        WriteFile(directory_ / "update.json", Json{{"packageInfo", records}}.dump());
        return directory_ / "update.json";
    }

    // The arguments of `command`, plan or install, for the server's side.
    std::vector<std::string> ServerSide(const std::string& command, const std::string& update) {
        return {"package", command, "--side", "server", "--root", root_, "--update", update};
    }

    ProcessResult RunForJson(std::vector<std::string> arguments) {
        arguments.emplace_back("--json");
        return Run(arguments);
    }

    const std::string root_ = process_ + "/microservices";
    const std::string packages_ = root_ + "/Package/Server/";
};
