// Completion in the shells themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "Program.h"

namespace {

using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::UnorderedElementsAre;

class ShellCompletion : public CommandTest {
   protected:
    ShellCompletion() {
        WriteFile(directory_ / "some file.xml", "<Policy/>");
        WriteFile(directory_ / "directory/file", "");
        Publish("1001", "<Policy/>");
        RunZnpolicy({"--store", directory_ / "other", "policy", "publish", "-56", "-"},
                    Input("<Policy/>"));
        for (const std::string shell : {"bash", "zsh", "fish"}) {
            WriteFile(directory_ / shell, Output({"completion", shell}));
        }
    }

    static bool IsInstalled(const std::string& program) {
        return RunProgram({"/bin/sh", "-c", "command -v " + program}).Succeeded();
    }

    // Runs a script in the temporary directory, with the program on the search path. Returns the
    // lines that it prints.
    std::vector<std::string> Lines(const std::vector<std::string>& shell,
                                   const std::string& script) {
        const std::string program = ZNPOLICY;
        ProcessOptions options = InDirectory(directory_.Path());
        options.environment = {{"PATH", program.substr(0, program.rfind('/')) + ":/usr/bin:/bin"},
                               {"HOME", directory_.Path()},
                               {"XDG_CONFIG_HOME", directory_.Path()},
                               {"XDG_DATA_HOME", directory_.Path()},
                               {"ZN_POLICY_STORE", store_},
                               {"LC_ALL", "C.UTF-8"}};
        std::vector<std::string> command = shell;
        command.push_back(script);
        const ProcessResult result = RunProgram(command, options);
        EXPECT_TRUE(result.Succeeded()) << result;
        EXPECT_EQ(result.err, "") << script;
        std::vector<std::string> lines;
        std::istringstream out(result.out);
        for (std::string line; std::getline(out, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    // What bash offers for the last of these words.
    std::vector<std::string> Bash(const std::string& words) {
        return Lines({"bash", "--norc", "-c"},
                     "source ./bash; complete -p znpolicy >/dev/null || exit 1\n"
                     "COMP_WORDS=(" +
                         words +
                         "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                         "_znpolicy znpolicy \"${COMP_WORDS[COMP_CWORD]}\" ''\n"
                         "for word in \"${COMPREPLY[@]}\"; do echo \"$word\"; done");
    }

    // The arguments that bash passes after these keys, on a terminal.
    std::vector<std::string> BashArguments(const std::string& keys) {
        WriteFile(directory_ / "keys",
                  "source ./bash\n"
                  "znpolicy() { if [ \"$1\" = complete ]; then command znpolicy \"$@\"; "
                  "else printf '%s\\n' \"$@\" >arguments; fi; }\n" +
                      keys + "\nexit\n");
        return Lines(
            {"/bin/sh", "-c"},
            "TERM=dumb script -qec 'bash --norc --noprofile -i' /dev/null <keys >/dev/null; "
            "cat arguments");
    }

    // The command line that zsh makes of these keys.
    std::vector<std::string> Zsh(const std::string& keys) {
        WriteFile(directory_ / "rc",
                  "PS1='ready> '; autoload -U compinit; compinit -u -D; source ./zsh\n"
                  "show-line() { print -r -- \"$BUFFER\" >line; exit }\n"
                  "zle -N show-line; bindkey '^X' show-line; setopt no_list_ambiguous\n");
        return Lines({"zsh", "-f", "-c"},
                     "zmodload zsh/zpty\n"
                     "zpty z 'TERM=dumb zsh -f -i'\n"
                     "zpty -w z 'source ./rc'\n"
                     "zpty -r z output '*ready> '\n"
                     "zpty -w -n z $'" +
                         keys +
                         "\\x18'\n"
                         "while zpty -r z output; do :; done\n"
                         "cat line");
    }

    // What fish offers for a command line, without descriptions.
    std::vector<std::string> Fish(const std::string& line) {
        std::vector<std::string> words =
            Lines({"fish", "--no-config", "-c"}, "source ./fish; complete -C '" + line + "'");
        for (std::string& word : words) {
            word.erase(std::min(word.find('\t'), word.size()));
        }
        return words;
    }
};

TEST_F(ShellCompletion, Bash) {
    if (!IsInstalled("bash")) {
        GTEST_SKIP() << "bash is missing";
    }
    EXPECT_THAT(Bash("znpolicy ''"), IsSupersetOf({"policy", "session", "package"}));
    EXPECT_THAT(Bash("znpolicy policy pu"), ElementsAre("publish"));
    EXPECT_THAT(Bash("znpolicy policy list --js"), ElementsAre("--json"));
    EXPECT_THAT(Bash("znpolicy --color ''"), ElementsAre("auto", "always", "never"));
    EXPECT_THAT(Bash("znpolicy --color = al"), ElementsAre("always"));
    EXPECT_THAT(Bash("znpolicy session ''"), ElementsAre("1001"));
    EXPECT_THAT(Bash("znpolicy policy items PolicyN"), ElementsAre("PolicyName"));
    EXPECT_THAT(Bash("znpolicy policy show 1001 PolicyN"), ElementsAre("PolicyName"));
}

TEST_F(ShellCompletion, BashOnTerminal) {
    if (!IsInstalled("bash") || !IsInstalled("script")) {
        GTEST_SKIP() << "bash, or script(1), which makes terminals, is missing";
    }
    EXPECT_THAT(BashArguments("znpolicy poli\tpu\t"), ElementsAre("policy", "publish"));
    EXPECT_THAT(BashArguments("znpolicy --color=al\t"), ElementsAre("--color=always"));
    EXPECT_THAT(BashArguments("znpolicy policy show --store ~/other -5\t"),
                ElementsAre("policy", "show", "--store", directory_ / "other", "-56"));
    EXPECT_THAT(BashArguments("znpolicy --store \"other\" session -\t5\t"),
                ElementsAre("--store", "other", "session", "-56"));
    EXPECT_THAT(BashArguments("znpolicy policy publish 5 some\t"),
                ElementsAre("policy", "publish", "5", "some file.xml"));
    EXPECT_THAT(BashArguments("znpolicy --store dir\t"), ElementsAre("--store", "directory/"));
}

TEST_F(ShellCompletion, Zsh) {
    if (!IsInstalled("zsh")) {
        GTEST_SKIP() << "zsh is missing";
    }
    EXPECT_THAT(Zsh("znpolicy poli\\tpu\\t"), ElementsAre("znpolicy policy publish "));
    EXPECT_THAT(Zsh("znpolicy policy list --js\\t"), ElementsAre("znpolicy policy list --json "));
    EXPECT_THAT(Zsh("znpolicy --color al\\t"), ElementsAre("znpolicy --color always "));
    EXPECT_THAT(Zsh("znpolicy --color=al\\t"), ElementsAre("znpolicy --color=always "));
    EXPECT_THAT(Zsh("znpolicy session \\t"), ElementsAre("znpolicy session 1001 "));
    EXPECT_THAT(Zsh("znpolicy --store ~/other policy show -5\\t"),
                ElementsAre("znpolicy --store ~/other policy show -56 "));
    EXPECT_THAT(Zsh("znpolicy policy items PolicyN\\t"),
                ElementsAre("znpolicy policy items PolicyName "));
    EXPECT_THAT(Zsh("znpolicy policy publish 5 some\\t"),
                ElementsAre("znpolicy policy publish 5 some\\ file.xml "));
    EXPECT_THAT(Zsh("znpolicy package install --update=some\\t"),
                ElementsAre("znpolicy package install --update=some\\ file.xml "));
    EXPECT_THAT(Zsh("znpolicy --store dir\\t"), ElementsAre("znpolicy --store directory/"));
}

TEST_F(ShellCompletion, Fish) {
    if (!IsInstalled("fish")) {
        GTEST_SKIP() << "fish is missing";
    }
    EXPECT_THAT(Fish("znpolicy "), IsSupersetOf({"policy", "session", "package"}));
    EXPECT_THAT(Fish("znpolicy policy pu"), ElementsAre("publish"));
    EXPECT_THAT(Fish("znpolicy policy list --js"), ElementsAre("--json"));
    EXPECT_THAT(Fish("znpolicy --color "), UnorderedElementsAre("auto", "always", "never"));
    EXPECT_THAT(Fish("znpolicy --color=al"), ElementsAre("--color=always"));
    EXPECT_THAT(Fish("znpolicy session "), ElementsAre("1001"));
    EXPECT_THAT(Fish("znpolicy --store ~/other policy show -5"), ElementsAre("-56"));
    EXPECT_THAT(Fish("znpolicy policy items PolicyN"), ElementsAre("PolicyName"));
    EXPECT_THAT(Fish("znpolicy policy publish 5 some"), ElementsAre("some file.xml"));
    EXPECT_THAT(Fish("znpolicy package install --update=some"),
                ElementsAre("--update=some file.xml"));
    EXPECT_THAT(Fish("znpolicy --store dir"), ElementsAre("directory/"));
}

}  // namespace
