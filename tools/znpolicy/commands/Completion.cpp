#include "Completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "CommandTree.h"
#include "ItemReference.h"
#include "PolicyStore.h"

namespace {

// Whether a word is an option, not a negative id.
bool IsOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' &&
           std::isdigit(static_cast<unsigned char>(word[1])) == 0;
}

bool TakesValue(const CLI::Option& option) {
    return option.get_expected_max() > 0;
}

bool IsRepeatable(const CLI::Option& argument) {
    return argument.get_expected_max() >= CLI::detail::expected_max_vector_size;
}

// Shells pass words as typed. Returns the path that a shell makes of one: without the quotes around
// it, or with the home directory in place of "~".
std::string Expanded(const std::string& word) {
    const size_t size = word.size();
    if (size > 1 && word[0] == word[size - 1] && (word[0] == '"' || word[0] == '\'')) {
        return word.substr(1, size - 2);
    }
    const char* const home = std::getenv("HOME");
    return word.rfind("~/", 0) == 0 && home != nullptr ? home + word.substr(1) : word;
}

// Follows the words of a command line, as far as they go.
class Words {
   public:
    explicit Words(const CLI::App& app) : command_(&app) {}

    void Accept(const std::string& word) {
        if (word == "=") {
            return;
        }
        if (pending_ != nullptr) {
            AcceptValue(*pending_, word);
            pending_ = nullptr;
        } else if (IsOption(word)) {
            AcceptOption(word);
        } else if (const CLI::App* child = FindCommand(*command_, word)) {
            command_ = child;
        } else {
            ++arguments_;
        }
    }

    Completion CompleteLast(const std::string& word) {
        const size_t equals = word.find('=');
        if (pending_ != nullptr) {
            AddValues(*pending_, "", word == "=" ? "" : word);
        } else if (IsOption(word) && equals != std::string::npos) {
            if (const CLI::Option* option = FindOption(word.substr(0, equals))) {
                AddValues(*option, word.substr(0, equals + 1), word);
            }
        } else if (word.substr(0, 1) == "-") {
            AddOptions(word);
            const CLI::Option* argument = NextArgument();
            if (argument != nullptr && ValueName(*argument) == "ID") {
                AddIds("", word);  // negative ones
            }
        } else if (!CommandsOf(*command_).empty()) {
            AddCommands(word);
        } else if (const CLI::Option* argument = NextArgument()) {
            AddValues(*argument, "", word);
            // An item may follow the ids of "policy show".
            const CLI::Option* item = command_->get_option_no_throw("--item");
            if (arguments_ > 0 && item != nullptr) {
                AddValues(*item, "", word);
            }
        }
        return completion_;
    }

   private:
    void AcceptOption(const std::string& word) {
        const size_t equals = word.find('=');
        const CLI::Option* option = FindOption(word.substr(0, equals));
        if (option == nullptr || !TakesValue(*option)) {
            return;
        }
        if (equals == std::string::npos) {
            pending_ = option;
        } else {
            AcceptValue(*option, word.substr(equals + 1));
        }
    }

    void AcceptValue(const CLI::Option& option, const std::string& value) {
        if (option.check_lname("store")) {
            store_ = Expanded(value);
        }
    }

    const CLI::Option* FindOption(const std::string& name) const {
        for (const CLI::App* app = command_; app != nullptr; app = app->get_parent()) {
            for (const CLI::Option* option : OptionsOf(*app)) {
                if (option->check_name(name)) {
                    return option;
                }
            }
        }
        return nullptr;
    }

    const CLI::Option* NextArgument() const {
        const std::vector<const CLI::Option*> arguments = ArgumentsOf(*command_);
        if (arguments_ < arguments.size()) {
            return arguments[arguments_];
        }
        return arguments.empty() || !IsRepeatable(*arguments.back()) ? nullptr : arguments.back();
    }

    // Adds a candidate if it begins with what is there already.
    void Add(const std::string& text, const std::string& description, const std::string& word) {
        if (text.compare(0, word.size(), word) == 0) {
            completion_.candidates.push_back({text, description});
        }
    }

    void AddCommands(const std::string& word) {
        for (const CLI::App* child : CommandsOf(*command_)) {
            Add(child->get_name(), child->get_description(), word);
        }
    }

    void AddOptions(const std::string& word) {
        for (const CLI::App* app = command_; app != nullptr; app = app->get_parent()) {
            for (const CLI::Option* option : OptionsOf(*app)) {
                // Every command has its own --help, only the program --version.
                if (app == command_ || !option->check_lname("help")) {
                    Add(SpellingsOf(*option).back(), option->get_description(), word);
                }
            }
        }
    }

    void AddIds(const std::string& prefix, const std::string& word) {
        try {
            const PolicyStore store = store_.empty() ? PolicyStore() : PolicyStore(store_);
            for (const int id : store.List()) {
                Add(prefix + std::to_string(id), "", word);
            }
        } catch (const PolicyStore::Error&) {
            // A store that cannot be read has no ids to offer.
        }
    }

    void AddValues(const CLI::Option& option, const std::string& prefix, const std::string& word) {
        const std::string name = ValueName(option);
        for (const std::string& choice : ChoicesOf(option)) {
            Add(prefix + choice, "", word);
        }
        if (name == "ID") {
            AddIds(prefix, word);
        } else if (name == "ITEM") {
            for (const ItemDescription& item : KnownItems()) {
                Add(prefix + item.name, item.meaning, word);
            }
        } else if (name == "FILE" || name == "ZIP" || name == "PACKAGE") {
            completion_.paths = Completion::Paths::kFiles;
        } else if (name == "DIR") {
            completion_.paths = Completion::Paths::kDirectories;
        }
    }

    const CLI::App* command_;
    const CLI::Option* pending_ = nullptr;  // an option that still needs its value
    size_t arguments_ = 0;
    std::string store_;
    Completion completion_;
};

constexpr const char* kBash = R"script(# Completion of znpolicy in bash.
_znpolicy() {
    local line
    COMPREPLY=()
    while IFS= read -r line; do
        case $line in
            :files) compopt -o default ;;
            :directories) compopt -o dirnames ;;
            *) COMPREPLY+=("${line%%$'\t'*}") ;;
        esac
    done < <("$1" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -F _znpolicy znpolicy
)script";

constexpr const char* kZsh = R"script(#compdef znpolicy
# Completion of znpolicy in zsh.
_znpolicy() {
    local line
    local -a lines candidates
    lines=("${(@f)$("${words[1]}" complete -- "${(@)words[2,CURRENT]}" 2>/dev/null)}")
    for line in $lines; do
        case $line in
            :files) compset -P '--*='; _files; return ;;
            :directories) compset -P '--*='; _files -/; return ;;
        esac
        candidates+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}")
    done
    _describe -t values value candidates
}
if [[ ${funcstack[1]} == _znpolicy ]]; then
    _znpolicy "$@"
else
    compdef _znpolicy znpolicy
fi
)script";

constexpr const char* kFish = R"script(# Completion of znpolicy in fish.
function __znpolicy_complete
    set -l token "$(commandline -ct)"
    set -l prefix "$(string match -r -- '^--[^=]*=' $token)"
    set -l path "$(string replace -- "$prefix" '' $token)"
    set -l words (commandline -opc) $token
    for line in ($words[1] complete -- $words[2..-1] 2>/dev/null)
        switch $line
            case :files
                printf '%s\n' "$prefix"(__fish_complete_path $path)
            case :directories
                printf '%s\n' "$prefix"(__fish_complete_directories $path)
            case '*'
                printf '%s\n' $line
        end
    end
end
complete -c znpolicy -f -a '(__znpolicy_complete)'
)script";

}  // namespace

Completion Complete(const CLI::App& app, const std::vector<std::string>& words) {
    Words line(app);
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        line.Accept(words[i]);
    }
    return line.CompleteLast(words.empty() ? "" : words.back());
}

std::string CompletionScript(const std::string& shell) {
    return shell == "bash" ? kBash : shell == "zsh" ? kZsh : kFish;
}
