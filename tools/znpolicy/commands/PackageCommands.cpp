// znpolicy package: local package zips.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Commands.h"
#include "EscapeText.h"
#include "Json.h"
#include "PackageBuild.h"
#include "PackageCheck.h"
#include "PackageRecords.h"
#include "PackageSelection.h"
#include "Progress.h"
#include "RedirectedStdout.h"
#include "Rollback.h"
#include "UnpackedPackage.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnVcUpdate.h"

namespace {

int Scan(const std::string& directory, bool json) {
    if (std::filesystem::exists(directory) && !std::filesystem::is_directory(directory)) {
        throw std::runtime_error(directory + ": not a directory");
    }
    std::vector<ZnPackageInfo> records;
    {
        const Progress progress("scanning", 0);
        if (ZnVcUpdate::ZnScanLocalZipFiles(directory, records) != 0) {
            throw std::runtime_error(directory + ": no such directory");
        }
    }
    if (!json) {
        PrintRecords(records);
        return kExitDone;
    }
    Json document = Json::array();
    for (const ZnPackageInfo& record : records) {
        document.push_back({{"packageName", FieldText(record.packageName)},
                            {"sha256Hash", FieldText(record.sha256Hash)},
                            {"size", record.size}});
    }
    PrintJson(document);
    return kExitDone;
}

// Unpacks one zip and makes sure that its files are there, which the library leaves to its callers.
void UnpackOne(const std::string& zip) {
    const UnpackedPackage folder(zip);
    const RedirectedStdout silenced;
    if (ZnVcUpdate::UnZipVcPackage(zip) != 0) {
        throw std::runtime_error(zip + ": no \".zip\" in the path");
    }
    const std::string missing = folder.FirstNotUnpacked();
    if (!missing.empty()) {
        throw std::runtime_error(zip + ": unzip did not make " + missing +
                                 " as it is in the zip; is unzip installed, is the disk full?");
    }
}

// A bare file name has no directory for the library to unpack into.
std::string WithDirectory(const std::string& zip) {
    return zip.find('/') == std::string::npos ? "./" + zip : zip;
}

int Unzip(const std::vector<std::string>& zips) {
    Progress progress("unpacking", zips.size());
    for (const std::string& zip : zips) {
        UnpackOne(WithDirectory(zip));
        progress.Step();
    }
    return kExitDone;
}

int PackagePath(const std::string& name, const std::string& subDirectory) {
    std::string microservices;
    if (ZnVcUpdate::ZnCreateMicroservicePackagePath(subDirectory, name, microservices) != 0) {
        throw std::runtime_error(
            name.find("Client") == std::string::npos && name.find("Server") == std::string::npos
                ? "\"" + name + "\" has neither \"Client\" nor \"Server\" in it"
                : "the directories below " + microservices + " cannot be made");
    }
    std::string path = microservices + "/Package/";
    if (name.find("Client") == std::string::npos) {
        path += "Server/";
    } else {
        path += "Client/" + name.substr(0, name.find(".zip")) + "_Release/";
    }
    ZnVcUpdate::RepairPath(path);
    std::cout << path << '\n';
    return kExitDone;
}

Json ReportToJson(const PackageReport& report) {
    Json document = {{"platform", report.platform},
                     {"files", report.fileCount},
                     {"errors", Json::array()},
                     {"warnings", Json::array()}};
    for (const Finding& finding : report.findings) {
        document[finding.isError ? "errors" : "warnings"].push_back(finding.text);
    }
    return document;
}

void PrintReport(std::ostream& out, const std::string& name, const PackageReport& report) {
    for (const Finding& finding : report.findings) {
        out << Escaped(name) << (finding.isError ? ": error: " : ": warning: ")
            << Escaped(finding.text) << '\n';
    }
}

int Check(const std::string& zip, const std::string& platform, bool json) {
    const PackageReport report = CheckPackage(zip, platform);
    if (json) {
        PrintJson(ReportToJson(report));
    } else {
        PrintReport(std::cout, zip, report);
        std::cout << Escaped(zip) << ": " << report.fileCount << " files for platform \""
                  << Escaped(report.platform) << "\"\n";
    }
    if (report.HasErrors()) {
        throw std::runtime_error(zip + ": the installer would refuse this package");
    }
    return kExitDone;
}

struct BuildArguments {
    std::vector<std::string> directories;
    std::string into;
    std::string application;
    std::string description;
    std::string downloadUrl;
    std::string releaseDate;
    std::string microserviceName;
    std::string version;
};

// The record of a package just built.
Json DescribePackage(const BuildArguments& arguments, const std::string& zip,
                     const PackageReport& report) {
    const std::string digest = ZnSha256::FileSha256Value(zip);
    return {{"application", arguments.application},
            {"description", arguments.description},
            {"downloadUrl", arguments.downloadUrl},
            {"downloadZipSha256Hash", digest},
            {"releaseDate", arguments.releaseDate},
            {"microserviceName", arguments.microserviceName},
            {"version", arguments.version},
            {"platform", report.platform},
            {"packageName", zip.substr(zip.rfind('/') + 1)},
            {"sha256Hash", digest},
            {"size", std::to_string(ZnFile::FileSize(zip.c_str()))}};
}

// Where the zip of a folder goes: beside the folder, or into the directory asked for.
std::string ZipPathOf(const std::filesystem::path& directory, const std::string& into) {
    const std::filesystem::path folder =
        into.empty() ? directory.parent_path() : std::filesystem::path(into);
    return folder / (directory.filename().string() + ".zip");
}

int Build(const BuildArguments& arguments) {
    Json records = Json::array();
    for (const std::string& name : arguments.directories) {
        if (!std::filesystem::is_directory(name)) {
            throw std::runtime_error(name + ": no such directory");
        }
        // Absolute and without a final separator, so that there is a last component to name it by.
        const auto directory =
            std::filesystem::absolute(name + "/.").lexically_normal().parent_path();
        const std::string zip = ZipPathOf(directory, arguments.into);
        const PackageReport report = BuildPackage(directory, zip);
        PrintReport(std::cerr, zip, report);
        if (report.HasErrors()) {
            throw std::runtime_error(zip + ": not built; the installer would refuse the package");
        }
        records.push_back(DescribePackage(arguments, zip, report));
    }
    PrintJson({{"packageInfo", records}});
    return kExitDone;
}

int RollBackPackage(const std::string& package, bool force, bool json) {
    const std::vector<RolledBackFile> files = RollBack(WithDirectory(package), force);
    Json document = Json::array();
    Table table({"FILE", "RESULT", "REASON"});
    size_t notDone = 0;
    for (const RolledBackFile& file : files) {
        document.push_back({{"file", file.destination},
                            {"result", ActionName(file.action)},
                            {"reason", file.reason}});
        table.AddRow({file.destination, ActionName(file.action), file.reason});
        notDone +=
            file.action == RollbackAction::kFailed || file.action == RollbackAction::kKept ? 1 : 0;
    }
    if (json) {
        PrintJson(document);
    } else {
        table.Print();
    }
    if (notDone > 0) {
        throw std::runtime_error(package + ": " + std::to_string(notDone) +
                                 " of the files not put back");
    }
    return kExitDone;
}

void AddZipCommands(CLI::App& package, Context& context) {
    const auto directory = std::make_shared<std::string>();
    CLI::App* scan = package.add_subcommand(
        "scan", "Make the package tree, and list the zips below a directory");
    scan->add_option("DIR", *directory)->required();
    AddJsonOption(*scan, context);
    scan->callback(
        [=, &context] { context.run = [=, &context] { return Scan(*directory, context.json); }; });

    const auto zips = std::make_shared<std::vector<std::string>>();
    CLI::App* unzip = package.add_subcommand("unzip", "Unpack package zips beside themselves");
    unzip->add_option("FILE", *zips)->required();
    unzip->callback([=, &context] { context.run = [=] { return Unzip(*zips); }; });

    const auto name = std::make_shared<std::string>();
    const auto subDirectory = std::make_shared<std::string>("Package");
    CLI::App* path = package.add_subcommand("path", "Make and print the directory of a package");
    path->add_option("NAME", *name, "File name of the package zip")->required();
    path->add_option("--sub", *subDirectory, "Directory to make below microservices")
        ->capture_default_str();
    path->callback(
        [=, &context] { context.run = [=] { return PackagePath(*name, *subDirectory); }; });
}

// An option whose text goes into the record of a package. One that does not fit is refused: the
// record's field would silently be empty.
void AddRecordText(CLI::App& build, const std::string& option, std::string& text,
                   size_t fieldSize) {
    build.add_option(option, text, "For the record")
        ->type_name("TEXT")
        ->check([=](const std::string& value) {
            return value.size() < fieldSize
                       ? ""
                       : "has more than " + std::to_string(fieldSize - 1) + " bytes";
        });
}

void AddAuthorCommands(CLI::App& package, Context& context) {
    const auto zip = std::make_shared<std::string>();
    const auto platform = std::make_shared<std::string>();
    CLI::App* check = package.add_subcommand("check", "Look into a package before installing it");
    check->add_option("ZIP", *zip)->required();
    check->add_option("--platform", *platform, "Platform that the package should be for");
    AddJsonOption(*check, context);
    check->callback([=, &context] {
        context.run = [=, &context] { return Check(*zip, *platform, context.json); };
    });

    const auto arguments = std::make_shared<BuildArguments>();
    CLI::App* build = package.add_subcommand(
        "build", "Make package zips from folders and print their records as an update description");
    build->add_option("DIR", arguments->directories, "Folders with FileList.ini and Common")
        ->required();
    build
        ->add_option("--into", arguments->into,
                     "Where to put the zips; beside the folders if not given")
        ->type_name("DIR");
    AddRecordText(*build, "--application", arguments->application,
                  sizeof ZnPackageInfo::application);
    AddRecordText(*build, "--description", arguments->description,
                  sizeof ZnPackageInfo::description);
    AddRecordText(*build, "--download-url", arguments->downloadUrl,
                  sizeof ZnPackageInfo::downloadUrl);
    AddRecordText(*build, "--release-date", arguments->releaseDate,
                  sizeof ZnPackageInfo::releaseDate);
    AddRecordText(*build, "--microservice", arguments->microserviceName,
                  sizeof ZnPackageInfo::microserviceName);
    AddRecordText(*build, "--package-version", arguments->version, sizeof ZnPackageInfo::version);
    AddJsonOption(*build, context);  // the answer is JSON anyway
    build->callback([=, &context] { context.run = [=] { return Build(*arguments); }; });
}

void AddRollbackCommand(CLI::App& package, Context& context) {
    const auto name = std::make_shared<std::string>();
    const auto force = std::make_shared<bool>(false);
    CLI::App* rollback =
        package.add_subcommand("rollback", "Put back the files that a package replaced");
    rollback->add_option("PACKAGE", *name, "The zip, or the directory it was unpacked into")
        ->required();
    rollback->add_flag("--force", *force, "Also where the file was changed since");
    AddJsonOption(*rollback, context);
    rollback->callback([=, &context] {
        context.run = [=, &context] { return RollBackPackage(*name, *force, context.json); };
    });
}

}  // namespace

void AddPackageCommands(CLI::App& app, Context& context) {
    CLI::App* package = app.add_subcommand("package", "Plugin package zips");
    package->require_subcommand(1);
    AddZipCommands(*package, context);
    AddAuthorCommands(*package, context);
    AddInstallCommands(*package, context);
    AddRollbackCommand(*package, context);
}
