#include "ManPage.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "CommandTree.h"
#include "Help.h"
#include "HelpTexts.h"

namespace {

// The date that the pages show: that of the last release.
constexpr const char* kDate = "2026-11-22";

// Escapes what roff would interpret.
std::string Roff(const std::string& text) {
    std::string escaped = text.find_first_of(".'") == 0 ? "\\&" : "";
    for (const char c : text) {
        switch (c) {
            case '\\':
                escaped += "\\e";
                break;
            case '-':
                escaped += "\\-";
                break;
            case '\'':
                escaped += "\\(aq";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

std::string UpperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string PageOf(const CLI::App& command) {
    return "znpolicy-" + command.get_name();
}

class Page {
   public:
    Page(const std::string& name, const std::string& description) {
        Line(".TH \"" + Roff(UpperCase(name)) + "\" 1 " + kDate +
             " \"znpolicy " ZN_VERSION "\" \"User Commands\"");
        Section("NAME");
        Line(Roff(name) + " \\- " + Roff(description));
    }

    void Section(const std::string& title) {
        Line(".SH \"" + title + "\"");
    }

    void Text(const std::string& text) {
        Line(Roff(text));
    }

    void Paragraph(const std::string& text) {
        if (!EndsWithHeading()) {
            Line(".PP");
        }
        Text(text);
    }

    void Entries(const std::vector<HelpEntry>& entries) {
        for (const HelpEntry& entry : entries) {
            Line(".TP");
            Line("\\fB" + Roff(entry.label) + "\\fR");
            Text(entry.text);
        }
    }

    void Entries(const std::string& title, const std::vector<HelpEntry>& entries) {
        if (!entries.empty()) {
            Section(title);
            Entries(entries);
        }
    }

    void Examples(const std::vector<HelpEntry>& examples) {
        for (const HelpEntry& example : examples) {
            Paragraph(example.text + ":");
            Line(".RS 4");
            Line(".EX");
            Text(example.label);
            Line(".EE");
            Line(".RE");
        }
    }

    // A subsection with all about one command.
    void Command(const CLI::App& command) {
        Line(".SS \"" + Roff(UsageOf(command)) + "\"");
        Text(command.get_description() + ".");
        Entries(DescribeArguments(command));
        Entries(DescribeOptions(command));
        Examples(ExamplesOf(CommandPath(command)));
        const std::vector<HelpEntry>& statuses = ExitStatuses(CommandPath(command));
        if (&statuses != &ExitStatuses()) {
            Paragraph("Exit status:");
            Entries(statuses);
        }
    }

    // The sections at the end of every page.
    void Footer(const std::string& seeAlso) {
        Entries("EXIT STATUS", ExitStatuses());
        Entries("ENVIRONMENT", EnvironmentVariables());
        Section("SEE ALSO");
        Line(seeAlso);
    }

    const std::string& Roffed() const {
        return text_;
    }

   private:
    bool EndsWithHeading() const {
        return text_.compare(text_.rfind('\n', text_.size() - 2) + 1, 3, ".SH") == 0;
    }

    void Line(const std::string& line) {
        text_ += line + '\n';
    }

    std::string text_;
};

std::string Reference(const std::string& name, int section) {
    return "\\fB" + Roff(name) + "\\fR(" + std::to_string(section) + ")";
}

std::string MainPage(const CLI::App& app) {
    Page page("znpolicy", "publish session policies and install plugin packages");
    page.Section("SYNOPSIS");
    page.Text(UsageOf(app));
    page.Section("DESCRIPTION");
    page.Text(app.get_description());
    std::vector<HelpEntry> commands = DescribeCommands(app);
    std::string seeAlso;
    for (const CLI::App* command : CommandsOf(app)) {
        seeAlso += Reference(PageOf(*command), 1) + ", ";
    }
    for (HelpEntry& command : commands) {
        command.text += "; see znpolicy-" + command.label + "(1)";
    }
    page.Entries("COMMANDS", commands);
    page.Entries("OPTIONS", DescribeOptions(app));
    page.Section("EXAMPLES");
    page.Examples(ExamplesOf(""));
    page.Footer(seeAlso + Reference("znpolicy-policy", 5) + ", " + Reference("FileList.ini", 5));
    return page.Roffed();
}

std::string GroupPage(const CLI::App& group) {
    Page page(PageOf(group), group.get_description());
    page.Section("SYNOPSIS");
    page.Text(UsageOf(group));
    page.Section("DESCRIPTION");
    page.Command(group);
    for (const CLI::App* command : CommandsOf(group)) {
        page.Command(*command);
    }
    page.Entries("GLOBAL OPTIONS", DescribeGlobalOptions(RootOf(group)));
    page.Footer(Reference("znpolicy", 1) + ", " + Reference("znpolicy-policy", 5) + ", " +
                Reference("FileList.ini", 5));
    return page.Roffed();
}

}  // namespace

std::vector<std::string> ManPageNames(const CLI::App& app) {
    const std::vector<const CLI::App*> commands = CommandsOf(app);
    std::vector<std::string> names = {"znpolicy"};
    names.reserve(commands.size() + 1);
    for (const CLI::App* command : commands) {
        names.push_back(PageOf(*command));
    }
    return names;
}

std::string ManPage(const CLI::App& app, const std::string& name) {
    if (name == "znpolicy") {
        return MainPage(app);
    }
    for (const CLI::App* command : CommandsOf(app)) {
        if (name == PageOf(*command)) {
            return GroupPage(*command);
        }
    }
    throw std::runtime_error("there is no manual page \"" + name + "\"");
}
