// znpolicy session: what the library's readers return for one terminal or session.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "Arguments.h"
#include "CommandError.h"
#include "ExplanationOutput.h"
#include "ItemReference.h"
#include "PolicyAccess.h"
#include "Session.h"
#include "Table.h"
#include "VcItems.h"

namespace {

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

void PrintSettings(const Session& session) {
    Table table({"SETTING", "VALUE"});
    table.AddRow({"intelligent data transport flag", std::to_string(session.dataTransportFlag)});
    table.AddRow({"reconnect interval", std::to_string(session.reconnect.reconnectInterval)});
    table.AddRow(
        {"reconnect keep-alive time", std::to_string(session.reconnect.reconnectKeepliveTime)});
    table.AddRow({"disable login hint", session.disableLoginHint ? "yes" : "no"});
    table.AddRow({"auto-close displayer after",
                  session.autoCloseSeconds == 0 ? "never"
                                                : std::to_string(session.autoCloseSeconds) + " s"});
    table.Print();
}

void PrintBandwidth(const Session& session) {
    if (session.bandwidth.empty()) {
        std::cout << "no bandwidth allowances\n";
        return;
    }
    Table table({"MODULE", "BYTES/S", "BYTES/MS", "LIMIT"});
    for (const Allowance& allowance : session.bandwidth) {
        table.AddRow({allowance.module, std::to_string(allowance.bytesPerSecond),
                      std::to_string(allowance.bytesPerMillisecond), allowance.limit});
    }
    table.Print();
}

void PrintPlugins(const Session& session) {
    if (!session.vcProblem.empty()) {
        std::cout << "virtual-channel list refused: " << session.vcProblem << '\n';
    } else if (session.vcItems.empty()) {
        std::cout << "no virtual-channel plugins\n";
    } else {
        PrintVcItems(session.vcItems);
    }
}

void ShowSession(int id, bool json) {
    const Session session = ReadSession(id);
    if (json) {
        PrintAsJson(id, session);
        return;
    }
    PrintSettings(session);
    std::cout << '\n';
    PrintBandwidth(session);
    std::cout << '\n';
    PrintPlugins(session);
}

// Asks the library's policy store for the items, whichever service that is.
std::vector<PolicyStore::Item> ReadKnownItems(int id) {
    ZnXml xml;
    LoadPolicy(xml, id);
    std::vector<PolicyStore::Item> items;
    for (const ItemDescription& item : KnownItems()) {
        std::string text;
        if (xml.GetXmlContent(item.name.c_str(), text)) {
            items.push_back({item.name, text});
        }
    }
    return items;
}

// An item that is damaged counts as missing, which the explanation cannot tell.
void ReportDamage(int id) {
    try {
        if (!PolicyStore().Verify(id).damage.empty()) {
            const std::string policy = std::to_string(id);
            PrintError(false, "",
                       "policy " + policy + " is damaged: damaged items count as " +
                           "missing; see znpolicy policy verify " + policy);
        }
    } catch (const PolicyStore::Error&) {
        // Another service may keep the policies elsewhere.
    }
}

void Explain(int id, bool json) {
    const std::vector<PolicyStore::Item> items = ReadKnownItems(id);
    PrintExplanation(id, ExplainPolicy(items), json);
    if (items.size() < KnownItems().size()) {
        ReportDamage(id);
    }
}

}  // namespace

void AddSessionCommand(CLI::App& app, Context& context) {
    const auto id = std::make_shared<int>(0);
    CLI::App* session =
        app.add_subcommand("session", "Show what the library's readers return for a session");
    AddIdArgument(*session, *id, "Terminal or session");
    const auto explain = std::make_shared<bool>(false);
    session->add_flag("--explain", *explain, "Show which items the values come from, and why");
    AddJsonOption(*session, context);
    SetAction(*session, context, [=, &context] {
        if (*explain) {
            Explain(*id, context.json);
        } else {
            ShowSession(*id, context.json);
        }
    });
}
