// The members of JSON answers against docs/json.md.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "PackageTest.h"

namespace {

// A member and its type, such as "[].name string"; type "*" for the elements of an empty array.
using Members = std::set<std::string>;

std::string TypeOf(const Json& value) {
    return value.is_number_integer() ? "integer" : value.type_name();
}

void AddMembers(Members& members, const Json& value, const std::string& path = "") {
    if (value.is_object()) {
        for (const auto& member : value.items()) {
            AddMembers(members, member.value(), path + (path.empty() ? "" : ".") + member.key());
        }
    } else if (value.is_array() && value.empty()) {
        members.insert(path + "[] *");
    } else if (value.is_array()) {
        for (const Json& element : value) {
            AddMembers(members, element, path + "[]");
        }
    } else {
        members.insert((path.empty() ? "(value)" : path) + " " + TypeOf(value));
    }
}

// The tables of the page by their headings, "Errors" or a command.
std::map<std::string, Members> ReadPage(const std::string& page) {
    const std::regex row("\\| `([^`]+)` \\| ([a-z, ]+) \\|.*");
    std::map<std::string, Members> tables;
    std::string heading;
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (line.rfind("## ", 0) == 0) {
            heading = line.substr(3);
        } else if (std::regex_match(line, match, row)) {
            std::istringstream types(match[2]);
            for (std::string type; std::getline(types >> std::ws, type, ',');) {
                tables[heading].insert(match[1].str() + " " + type);
            }
        }
    }
    return tables;
}

// Whether all observed elements of one of the arrays around the member were empty.
bool IsInEmptyArray(const Members& observed, const std::string& member) {
    for (size_t end = member.find("[]"); end != std::string::npos;
         end = member.find("[]", end + 2)) {
        const std::string array = member.substr(0, end + 2);
        const auto next = observed.lower_bound(array);
        if (next != observed.end() && *next == array + " *") {
            const auto after = std::next(next);
            return after == observed.end() || after->rfind(array, 0) != 0;
        }
    }
    return false;
}

class JsonInterface : public PackageTest {
   protected:
    // Runs a command, which may fail, and notes the members of its answer and of its error.
    void Observe(const std::string& heading, std::vector<std::string> arguments,
                 const std::string& input = "") {
        arguments.emplace_back("--json");
        const ProcessResult result = Run(arguments, Input(input));
        const Json answer = Json::parse(result.out, nullptr, false);
        ASSERT_FALSE(answer.is_discarded()) << heading << result;
        if (heading == "policy show ID") {
            AddItems(heading, answer, "");
        } else if (heading == "policy show ID ID") {
            for (const Json& policy : answer) {
                AddItems(heading, policy.at("items"), "[].items.");
                AddMembers(observed_[heading], Json::array({{{"id", policy.at("id")}}}));
            }
        } else {
            AddMembers(observed_[heading], answer);
        }
        const bool isDifference = heading == "policy diff ID FILE" && result.exitCode == 1;
        if (result.exitCode != 0 && !isDifference) {
            AddMembers(observed_["Errors"], Json::parse(result.err));
        }
    }

    // The members of `items` have the keys of the policy.
    void AddItems(const std::string& heading, const Json& items, const std::string& path) {
        for (const Json& value : items) {
            AddMembers(observed_[heading], value, path + "*");
        }
    }

    void PublishForSession() {
        PublishItems({{"PolicyName", "p"},
                      {"IntelligentDataTransportFlag", "1"},
                      {"TotalBandwidthSpecified", "1"},
                      {"TotalBandwidth", "1000"},
                      {"AudioBandwidthSpecified", "1"},
                      {"AudioBandwidth", "400"},
                      {"AudioBandwidthPercentSpecified", "1"},
                      {"AudioBandwidthPercent", "50"},
                      {"VirtualChannelEnable", "1"},
                      {"VirtualChannelOptionNames", "A@B@0x1F@ff@C@D@E"},
                      {"VirtualChannelPluginDetails",
                       R"({"packageInfo": [{"packageName": "P.zip", "platform": "Model-A",
                           "version": "1.0", "sha256Hash": "0123", "size": "8"}]})"}});
    }

    void ObservePolicies() {
        const std::string mistakes =
            "<Policy><PolicyName>p</PolicyName><PolicyNme>q</PolicyNme></Policy>";
        Observe("policy items", {"policy", "items"});
        Observe("policy items ITEM", {"policy", "items", "PolicyName"});
        Observe("policy check FILE", {"policy", "check", "-"}, mistakes);
        Observe("policy check FILE", {"policy", "check", "-"}, "<Policy>");
        PublishForSession();
        Publish("8", mistakes);
        WriteFile(store_ + "/9.cdb", "damaged");
        Observe("policy list", {"policy", "list"});
        Observe("policy diff ID FILE", {"policy", "diff", "8", "-"},
                "<Policy><PolicyName>q</PolicyName><Added>1</Added></Policy>");
        Observe("policy verify", {"policy", "verify"});
        std::filesystem::remove(store_ + "/9.cdb");
        WriteFile(directory_ / "policies/10.xml", mistakes);
        WriteFile(directory_ / "policies/11.xml", "<Policy>");
        WriteFile(directory_ / "policies/notes.txt", "");
        Observe("policy sync DIR", {"policy", "sync", directory_ / "policies", "--delete"});
        Publish("8", mistakes);
        Observe("policy show ID ID", {"policy", "show", "8", "10"});
        PublishForSession();
        Observe("policy show ID", {"policy", "show", "7"});
        Observe("policy show ID ITEM", {"policy", "show", "7", "PolicyName"});
        Observe("session ID", {"session", "7"});
        Observe("session ID --explain", {"session", "7", "--explain"});
        Observe("vc parse TEXT", {"vc", "parse", "A@B@0x1F@ff@C@D@E"});
        Observe("update show ID", {"update", "show", "7"});
        PublishItems({{"PolicyName", "p"},
                      {"VirtualChannelEnable", "1"},
                      {"VirtualChannelOptionNames", "A@B"}});
        Observe("session ID", {"session", "7"});
    }

    void ObservePackages() {
        WriteFile(directory_ / "P_2.0_Server/FileList.ini", kManifest);
        WriteFile(directory_ / "P_2.0_Server/Common/a.so", "a");
        WriteFile(directory_ / "P_2.0_Server/Common/b.so", "b");
        Observe("package build DIR", {"package", "build", directory_ / "P_2.0_Server"});
        const std::string zip = AddPackage();
        const std::string broken = AddZip("Broken_Server.zip", {{"x", "y"}});
        const std::string update = DescribeZips({zip});
        Observe("update convert FILE", {"update", "convert", update});
        Observe("update check FILE", {"update", "check", "-"}, R"({"packageInf": []})");
        Observe("package scan DIR", {"package", "scan", root_});
        Observe("package check ZIP", {"package", "check", zip, "--platform", "Model-B"});
        Observe("package check ZIP", {"package", "check", broken});
        Observe("package plan", ServerSide("plan", update));
        Observe("package install", ServerSide("install", DescribeZips({zip, broken})));
        std::filesystem::remove(broken);
        Observe("package install", ServerSide("install", DescribeZips({zip})));
        Observe("package history --root DIR", {"package", "history", "--root", root_});
        Observe("package recover --root DIR", {"package", "recover", "--root", root_});
        Observe("package rollback PACKAGE", {"package", "rollback", zip});
        Observe("package rollback --root DIR", {"package", "rollback", "--force", "--root", root_});
    }

    std::map<std::string, Members> observed_;
};

TEST_F(JsonInterface, PageListsEveryMemberAndNoOther) {
    const auto page = ReadPage(ReadFile(DOCS "/json.md"));
    ObservePolicies();
    ObservePackages();
    AddMembers(observed_["Errors"], Json::parse(Run({"policy", "lst", "--json"}).err));
    for (const auto& [heading, members] : observed_) {
        ASSERT_EQ(page.count(heading), 1U) << heading;
        for (const std::string& member : members) {
            if (member.back() != '*') {
                EXPECT_EQ(page.at(heading).count(member), 1U) << heading << " lacks " << member;
            }
        }
    }
    for (const auto& [heading, members] : page) {
        ASSERT_EQ(observed_.count(heading), 1U) << heading;
        for (const std::string& member : members) {
            EXPECT_TRUE(observed_[heading].count(member) == 1 ||
                        IsInEmptyArray(observed_[heading], member))
                << heading << " does not have " << member;
        }
    }
}

// Programs that were written for a version of the interface work as long as its number stays.
TEST_F(JsonInterface, VersionKeepsItsMembers) {
    const std::string text = ReadFile(DOCS "/json.md");
    std::smatch version;
    ASSERT_TRUE(std::regex_search(text, version, std::regex("version ([0-9]+) of the interface")));
    std::map<std::string, Members> page = ReadPage(text);
    std::istringstream lines(
        ReadFile(std::string(JSON_VERSIONS) + "/" + version[1].str() + ".txt"));
    size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const size_t separator = line.find(": ");
        ASSERT_NE(separator, std::string::npos) << line;
        EXPECT_EQ(page[line.substr(0, separator)].count(line.substr(separator + 2)), 1U)
            << "version " << version[1] << " had " << line;
    }
    EXPECT_GT(count, 100U);
}

}  // namespace
