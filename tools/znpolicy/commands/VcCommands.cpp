// znpolicy vc: virtual-channel plugin lists.
#include <CLI/CLI.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Commands.h"
#include "Input.h"
#include "Json.h"
#include "VcItems.h"
#include "ZnVcVek.h"

// A list is one item of a policy, which is smaller.
constexpr size_t kMaxListSize = size_t{16} << 20;

// The list in `text`, or on standard input for "-", without the end of its last line.
static std::string ReadList(const std::string& text) {
    if (text != "-") {
        return text;
    }
    std::string list = ReadInput(text, kMaxListSize);
    for (const char end : {'\n', '\r'}) {
        if (!list.empty() && list.back() == end) {
            list.pop_back();
        }
    }
    return list;
}

static int Parse(const std::string& text, bool json) {
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
    return kExitDone;
}

void AddVcCommands(CLI::App& app, Context& context) {
    CLI::App* vc = app.add_subcommand("vc", "Virtual-channel plugin lists");
    vc->require_subcommand(1);
    const auto text = std::make_shared<std::string>();
    CLI::App* parse = vc->add_subcommand("parse", "Parse a plugin list");
    parse->add_option("TEXT", *text, "The list; - for standard input")->required();
    AddJsonOption(*parse, context);
    parse->callback(
        [=, &context] { context.run = [=, &context] { return Parse(*text, context.json); }; });
}
