// znpolicy vc: virtual-channel plugin lists.
#include <CLI/CLI.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Input.h"
#include "PolicyStore.h"
#include "VcItems.h"
#include "ZnVcVek.h"

// The list in `text`, or on standard input for "-", without the end of its last line.
static std::string ReadList(const std::string& text) {
    if (text != "-") {
        return text;
    }
    std::string list = ReadInput(text, PolicyStore::kMaxDocumentSize);  // one item of a policy
    for (const char end : {'\n', '\r'}) {
        if (!list.empty() && list.back() == end) {
            list.pop_back();
        }
    }
    return list;
}

static void Parse(const std::string& text, bool json) {
    const std::string list = ReadList(text);
    std::vector<VekVcItems> items;
    if (ZnVcVek::ZnParseVekVcItems(list, items) != 0) {
        throw std::runtime_error(DescribeVcProblem(list));
    }
    if (json) {
        PrintJson(VcItemsToJson(items));
    } else {
        PrintVcItems(items);
    }
}

void AddVcCommands(CLI::App& app, Context& context) {
    CLI::App* vc = app.add_subcommand("vc", "Virtual-channel plugin lists");
    vc->require_subcommand(1);
    const auto text = std::make_shared<std::string>();
    CLI::App* parse = vc->add_subcommand("parse", "Parse a plugin list");
    parse->add_option("TEXT", *text, "The list; - for standard input")->required();
    AddJsonOption(*parse, context);
    SetAction(*parse, context, [=, &context] { Parse(*text, context.json); });
}
