// znpolicy package check and build: for the authors of packages.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Color.h"
#include "EscapeText.h"
#include "Json.h"
#include "PackageBuild.h"
#include "PackageError.h"
#include "Paths.h"
#include "ZnCrypto.h"
#include "ZnFileSys.h"
#include "ZnPackageInfo.h"

namespace {

namespace fs = std::filesystem;

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
        const std::string severity = finding.isError ? Colored(out, Color::kRed, "error:")
                                                     : Colored(out, Color::kYellow, "warning:");
        out << Escaped(name) << ": " << severity << ' ' << Escaped(finding.text) << '\n';
    }
}

// The reason why a zip cannot be read is an error of its report, so that the others are checked
// too.
PackageReport Report(const std::string& zip, const std::string& platform) {
    try {
        return CheckPackage(zip, platform);
    } catch (const PackageError& error) {
        std::string reason = error.what();
        const std::string prefix = zip + ": ";
        if (reason.rfind(prefix, 0) == 0) {
            reason.erase(0, prefix.size());
        }
        PackageReport report;
        report.findings.push_back({true, reason});
        return report;
    }
}

void PrintSummary(const std::string& zip, const PackageReport& report) {
    if (!report.platform.empty()) {
        std::cout << Escaped(zip) << ": " << report.fileCount
                  << (report.fileCount == 1 ? " file" : " files") << " for platform \""
                  << Escaped(report.platform) << "\"\n";
    }
}

// One zip is an object in JSON, several are an array of objects.
void Check(const std::vector<std::string>& zips, const std::string& platform, bool json) {
    Json answer = Json::array();
    std::vector<std::string> refused;
    for (const std::string& zip : zips) {
        const PackageReport report = Report(zip, platform);
        if (json) {
            answer.push_back(ReportToJson(report));
            answer.back()["zip"] = zip;
        } else {
            PrintReport(std::cout, zip, report);
            PrintSummary(zip, report);
        }
        if (report.HasErrors()) {
            refused.push_back(zip);
        }
    }
    if (json) {
        PrintJson(zips.size() == 1 ? answer.front() : answer);
    }
    if (!refused.empty()) {
        throw std::runtime_error(CLI::detail::join(refused, ", ") +
                                 ": the installer would refuse " +
                                 (refused.size() == 1 ? "this package" : "these packages"));
    }
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
            {"packageName", FileName(zip)},
            {"sha256Hash", digest},
            {"size", std::to_string(ZnFile::FileSize(zip.c_str()))}};
}

// The path of a package directory's zip: next to the directory, or in `into` unless that is empty.
std::string ZipPathOf(const fs::path& directory, const fs::path& into) {
    return (into.empty() ? directory.parent_path() : into) /
           (directory.filename().string() + ".zip");
}

void Build(const BuildArguments& arguments) {
    Json records = Json::array();
    for (const std::string& name : arguments.directories) {
        if (!fs::is_directory(name)) {
            throw std::runtime_error(name + ": no such directory");
        }
        // Absolute and without a trailing separator: its last component names the zip.
        const fs::path directory = fs::absolute(name + "/.").lexically_normal().parent_path();
        const std::string zip = ZipPathOf(directory, arguments.into);
        const PackageReport report = BuildPackage(directory, zip);
        PrintReport(std::cerr, zip, report);
        if (report.HasErrors()) {
            throw std::runtime_error(zip + ": not built; the installer would refuse the package");
        }
        records.push_back(DescribePackage(arguments, zip, report));
    }
    PrintJson({{"packageInfo", records}});
}

// An option for a text field of the package's record. A text that does not fit is refused, because
// the library would leave the field empty.
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

}  // namespace

void AddAuthorCommands(CLI::App& package, Context& context) {
    const auto zips = std::make_shared<std::vector<std::string>>();
    const auto platform = std::make_shared<std::string>();
    CLI::App* check = package.add_subcommand("check", "Check packages before they are installed");
    check->add_option("ZIP", *zips, "The packages")->required();
    check->add_option("--platform", *platform, "Platform that the packages should be for");
    AddJsonOption(*check, context);
    SetAction(*check, context, [=, &context] { Check(*zips, *platform, context.json); });

    const auto arguments = std::make_shared<BuildArguments>();
    CLI::App* build = package.add_subcommand(
        "build",
        "Create package zips from directories and print their records as an update description");
    build->add_option("DIR", arguments->directories, "Directories with FileList.ini and Common")
        ->required();
    build
        ->add_option("--into", arguments->into,
                     "Where to create the zips; next to the directories by default")
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
    AddJsonOption(*build, context);  // accepted for uniformity: the output is JSON anyway
    SetAction(*build, context, [=] { Build(*arguments); });
}
