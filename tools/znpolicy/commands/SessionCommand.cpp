// znpolicy session: what the library's readers answer for one terminal or session.
#include <CLI/CLI.hpp>
#include <iostream>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "PolicyStore.h"
#include "RedirectionModules.h"
#include "Table.h"
#include "VcItems.h"
#include "ZnAutoCloseDisplayerVek.h"
#include "ZnBandwidthPolicy.h"
#include "ZnIdtVek.h"
#include "ZnVcVek.h"
#include "ZnXml.h"

namespace {

// The allowance of a module, and what set it.
struct Allowance {
    std::string module;
    int bytesPerSecond;
    int bytesPerMillisecond;
    std::string limit;  // "total", "absolute" or "share"
};

// Every answer of the library for one id.
struct Session {
    int dataTransportFlag = 0;
    AutoReconnect reconnect = {};
    bool disableLoginHint = false;
    int autoCloseSeconds = 0;
    std::vector<Allowance> bandwidth;
    std::string vcList;
    std::vector<VekVcItems> vcItems;
    std::string vcProblem;  // why the list was refused, else ""
};

std::set<std::string> SortedModules() {
    return {std::begin(kRedirectionModules), std::end(kRedirectionModules)};
}

// Whether the absolute bandwidth of a module alone gives its allowance.
std::string WinningLimit(ZnXml& xml, const std::string& module, int bytesPerSecond) {
    if (module == "Total") {
        return "total";
    }
    PolicyCfgItemValue absolute = {};
    xml.GetXmlContent((module + "BandwidthSpecified").c_str(), absolute.bandwidthSpecified);
    xml.GetXmlContent((module + "Bandwidth").c_str(), absolute.bandwidth);
    ZnBandwidthPolicy alone;
    alone.CalculateModuleAllowedBandwidth(0, module, absolute);
    return alone.GetBandwidthBytesPerSec(module.c_str()) == bytesPerSecond ? "absolute" : "share";
}

std::vector<Allowance> ReadBandwidth(ZnXml& xml, int id) {
    ZnBandwidthPolicy policy;
    policy.ReadBandwidthPolicy(id);
    std::vector<Allowance> allowances;
    for (const std::string& module : SortedModules()) {
        const int bytesPerSecond = policy.GetBandwidthBytesPerSec(module.c_str());
        if (bytesPerSecond != 0) {
            allowances.push_back({module, bytesPerSecond,
                                  policy.GetBandwidthBytesPerMs(module.c_str()),
                                  WinningLimit(xml, module, bytesPerSecond)});
        }
    }
    return allowances;
}

Session ReadSession(int id) {
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(id)) {
        (void)PolicyStore().Read(id);  // throws: it tells a missing policy from a damaged one
        throw std::runtime_error("policy " + std::to_string(id) + " cannot be loaded");
    }
    Session session;
    session.dataTransportFlag = ZnIdtVek::ReadIdtPolicy(id);
    ZnVcVek::ZnReadVekReconnectPolicy(id, session.reconnect);
    session.disableLoginHint = ZnVcVek::ZnDisableLoginHintPolicy(id);
    session.autoCloseSeconds = ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer(id);
    session.bandwidth = ReadBandwidth(xml, id);
    ZnVcVek::ZnReadVekVcPolicy(id, session.vcList);
    if (!session.vcList.empty() &&
        ZnVcVek::ZnParseVekVcItems(session.vcList, session.vcItems) != 0) {
        session.vcProblem = DescribeVcProblem(session.vcList);
    }
    return session;
}

void PrintAsJson(int id, const Session& session) {
    Json document = {
        {"id", id},
        {"intelligentDataTransportFlag", session.dataTransportFlag},
        {"reconnectInterval", session.reconnect.reconnectInterval},
        {"reconnectKeepliveTime", session.reconnect.reconnectKeepliveTime},
        {"disableLoginHint", session.disableLoginHint},
        {"autoCloseDisplayerSeconds", session.autoCloseSeconds},
        {"bandwidth", Json::array()},
        {"virtualChannels", VcItemsToJson(session.vcItems)},
    };
    for (const Allowance& allowance : session.bandwidth) {
        document["bandwidth"].push_back({{"module", allowance.module},
                                         {"bytesPerSecond", allowance.bytesPerSecond},
                                         {"bytesPerMillisecond", allowance.bytesPerMillisecond},
                                         {"limit", allowance.limit}});
    }
    if (!session.vcProblem.empty()) {
        document["virtualChannelsRefused"] = session.vcProblem;
    }
    PrintJson(document);
}

void PrintAsTables(const Session& session) {
    Table settings({"SETTING", "VALUE"});
    settings.AddRow({"intelligent data transport flag", std::to_string(session.dataTransportFlag)});
    settings.AddRow({"reconnect interval", std::to_string(session.reconnect.reconnectInterval)});
    settings.AddRow(
        {"reconnect keep-alive time", std::to_string(session.reconnect.reconnectKeepliveTime)});
    settings.AddRow({"disable login hint", session.disableLoginHint ? "yes" : "no"});
    settings.AddRow(
        {"auto-close displayer after", session.autoCloseSeconds == 0
                                           ? "never"
                                           : std::to_string(session.autoCloseSeconds) + " s"});
    settings.Print();

    std::cout << '\n';
    Table bandwidth({"MODULE", "BYTES/S", "BYTES/MS", "LIMIT"});
    for (const Allowance& allowance : session.bandwidth) {
        bandwidth.AddRow({allowance.module, std::to_string(allowance.bytesPerSecond),
                          std::to_string(allowance.bytesPerMillisecond), allowance.limit});
    }
    if (bandwidth.IsEmpty()) {
        std::cout << "no bandwidth allowances\n";
    } else {
        bandwidth.Print();
    }

    std::cout << '\n';
    if (!session.vcProblem.empty()) {
        std::cout << "virtual-channel list refused: " << session.vcProblem << '\n';
    } else if (session.vcItems.empty()) {
        std::cout << "no virtual-channel plugins\n";
    } else {
        PrintVcItems(session.vcItems);
    }
}

int ShowSession(int id, bool json) {
    const Session session = ReadSession(id);
    if (json) {
        PrintAsJson(id, session);
    } else {
        PrintAsTables(session);
    }
    return kExitDone;
}

}  // namespace

void AddSessionCommand(CLI::App& app, Context& context) {
    const auto id = std::make_shared<int>(0);
    CLI::App* session =
        app.add_subcommand("session", "Show what the library's readers answer for a session");
    AddIdArgument(*session, *id, "Terminal or session");
    AddJsonOption(*session, context);
    session->callback(
        [=, &context] { context.run = [=, &context] { return ShowSession(*id, context.json); }; });
}
