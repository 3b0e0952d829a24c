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

struct SessionArguments {
    std::vector<int> ids;
    bool explain = false;
};

Json SessionToJson(int id, const Session& session) {
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
    return document;
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

void PrintSession(const Session& session) {
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

// Prints the session below `heading`, or returns it as JSON.
Json Show(int id, const std::string& heading, bool json) {
    const Session session = ReadSession(id);
    if (json) {
        return SessionToJson(id, session);
    }
    std::cout << heading;
    PrintSession(session);
    return {};
}

// The same with reasons.
Json Explain(int id, const std::string& heading, bool json) {
    const std::vector<PolicyStore::Item> items = ReadKnownItems(id);
    if (items.size() < KnownItems().size()) {
        ReportDamage(id);
    }
    const Explanation explanation = ExplainPolicy(items);
    if (json) {
        return ExplanationToJson(id, explanation);
    }
    std::cout << heading;
    PrintExplanation(explanation);
    return {};
}

void ShowSessions(const SessionArguments& arguments, Context& context) {
    const bool isOne = arguments.ids.size() == 1;
    Json answer = Json::array();
    ForEachId(arguments.ids, context, [&](int id) {
        const std::string title = "session " + std::to_string(id) + ":\n";
        const std::string heading = isOne ? "" : (answer.empty() ? "" : "\n") + title;
        answer.push_back((arguments.explain ? Explain : Show)(id, heading, context.json));
    });
    if (context.json && !(isOne && answer.empty())) {
        PrintJson(isOne ? answer[0] : answer);
    }
}

}  // namespace

void AddSessionCommand(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<SessionArguments>();
    CLI::App* session =
        app.add_subcommand("session", "Show what the library's readers return for sessions");
    AddIdsArgument(*session, arguments->ids, "Terminals or sessions");
    session->add_flag("--explain", arguments->explain,
                      "Show which items the values come from, and why");
    AddJsonOption(*session, context);
    SetAction(*session, context, [=, &context] { ShowSessions(*arguments, context); });
}
