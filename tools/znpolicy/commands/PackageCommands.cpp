// znpolicy package: scan, unzip and path, and the rest of the group.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Arguments.h"
#include "CommandError.h"
#include "PackageRecords.h"
#include "PackageScan.h"
#include "PackageSelection.h"
#include "Paths.h"
#include "Progress.h"
#include "RedirectedStdio.h"
#include "ShellPath.h"
#include "UnpackedPackage.h"
#include "ZnVcUpdate.h"

namespace {

// Lets the library scan if it is to create its tree as well.
std::vector<ZnPackageInfo> FindZips(const std::string& directory, bool createTree) {
    std::vector<ZnPackageInfo> records;
    if (createTree) {
        ZnVcUpdate::ZnScanLocalZipFiles(directory, records);
    } else {
        records = ScanZips(directory);
    }
    return records;
}

void Scan(const std::string& directory, bool createTree, bool json) {
    if (!std::filesystem::is_directory(directory)) {
        throw std::runtime_error(directory + (std::filesystem::exists(directory)
                                                  ? ": not a directory"
                                                  : ": no such directory"));
    }
    std::vector<ZnPackageInfo> records;
    {
        const Progress progress("scanning", 0);
        records = FindZips(directory, createTree);
    }
    if (!json) {
        PrintRecords(records);
        return;
    }
    Json document = Json::array();
    for (const ZnPackageInfo& record : records) {
        document.push_back({{"packageName", FieldText(record.packageName)},
                            {"sha256Hash", FieldText(record.sha256Hash)},
                            {"size", record.size}});
    }
    PrintJson(document);
}

// Unpacks a zip and checks the result, which the library leaves to its callers.
void UnpackOne(const std::string& zip) {
    RequirePlainPath(zip);
    const UnpackedPackage package(zip);
    // Otherwise unzip would ask for a password, or create a part of what the zip has.
    std::string problems;
    for (const std::string& problem : package.PlanUnpacking(zip).problems) {
        problems += (problems.empty() ? "" : "; ") + problem;
    }
    if (!problems.empty()) {
        throw std::runtime_error(problems);
    }
    const RedirectedStdio silenced;
    if (ZnVcUpdate::UnZipVcPackage(zip) != 0) {
        throw std::runtime_error(zip + ": no \".zip\" in the path");
    }
    const std::string missing = package.FirstNotUnpacked();
    if (!missing.empty()) {
        throw std::runtime_error(zip + ": unzip did not create " + missing +
                                 " with the contents that it has in the zip; is unzip installed, "
                                 "is the disk full?");
    }
}

// Unpacks what can be unpacked, and reports the rest.
void Unzip(const std::vector<std::string>& zips, Context& context) {
    std::vector<std::string> problems;
    {
        Progress progress("unpacking", zips.size());
        for (const std::string& zip : zips) {
            try {
                UnpackOne(WithDirectory(zip));
            } catch (const std::runtime_error& error) {
                problems.emplace_back(error.what());
            }
            progress.Step();
        }
    }
    for (const std::string& problem : problems) {
        PrintError(context.json, "failed", problem);
        context.status = 1;
    }
}

void PackagePath(const std::string& name, const std::string& subDirectory) {
    std::string microservices;
    if (ZnVcUpdate::ZnCreateMicroservicePackagePath(subDirectory, name, microservices) != 0) {
        throw std::runtime_error(
            Contains(name, "Client") || Contains(name, "Server")
                ? "the directories below " + microservices + " cannot be created"
                : "\"" + name + "\" contains neither \"Client\" nor \"Server\"");
    }
    std::string path = microservices + "/Package/";
    if (Contains(name, "Client")) {
        path += "Client/" + name.substr(0, name.find(".zip")) + "_Release/";
    } else {
        path += "Server/";
    }
    ZnVcUpdate::RepairPath(path);
    std::cout << path << '\n';
}

}  // namespace

void AddPackageCommands(CLI::App& app, Context& context) {
    CLI::App* package = app.add_subcommand("package", "Plugin packages");
    package->require_subcommand(1);

    const auto directory = std::make_shared<std::string>();
    CLI::App* scan = package->add_subcommand(
        "scan", "List the zips below a directory with their digests and sizes");
    scan->add_option("DIR", *directory, "The directory")->required();
    const auto createTree = std::make_shared<bool>(false);
    scan->add_flag("--create-tree", *createTree,
                   "Create the package tree of the process directory first");
    AddJsonOption(*scan, context);
    SetAction(*scan, context, [=, &context] { Scan(*directory, *createTree, context.json); });

    const auto zips = std::make_shared<std::vector<std::string>>();
    CLI::App* unzip = package->add_subcommand("unzip", "Unpack package zips next to themselves");
    unzip->add_option("FILE", *zips, "The zips")->required();
    SetAction(*unzip, context, [=, &context] { Unzip(*zips, context); });

    const auto name = std::make_shared<std::string>();
    const auto subDirectory = std::make_shared<std::string>("Package");
    CLI::App* path =
        package->add_subcommand("path", "Create the directory of a package and print its path");
    path->add_option("NAME", *name, "File name of the package zip")->required();
    path->add_option("--sub", *subDirectory, "Directory to create below microservices")
        ->capture_default_str();
    SetAction(*path, context, [=] { PackagePath(*name, *subDirectory); });

    AddAuthorCommands(*package, context);
    AddInstallCommands(*package, context);
    AddHistoryCommands(*package, context);
    AddRollbackCommand(*package, context);
}
