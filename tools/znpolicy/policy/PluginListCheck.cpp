#include "PluginListCheck.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "Quoted.h"
#include "VcListFormat.h"

namespace {

constexpr std::size_t kMaxProblems = 1000;
constexpr std::string_view kFieldSeparators = "@{}";

// Returns the non-empty pieces of `text` between any of the separators, as views of it.
std::vector<std::string_view> Pieces(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> pieces;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find_first_of(separators, start), text.size());
        if (end > start) {
            pieces.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return pieces;
}

// Returns how the value of a hexadecimal field differs from its text, or "".
std::string HexadecimalProblem(std::string_view field) {
    const std::string text(field);
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text.c_str(), &end, 16);
    if (end == text.c_str()) {
        return "has no hexadecimal digit: it counts as 0";
    }
    if (*end != '\0') {
        return "has other characters after its hexadecimal digits: they are ignored";
    }
    if (errno == ERANGE || number > std::int64_t{UINT32_MAX} || number < std::int64_t{INT32_MIN}) {
        return "does not fit 32 bits: the upper bits are lost";
    }
    return "";
}

class PluginListChecker {
   public:
    explicit PluginListChecker(std::string_view list) : list_(list) {}

    PluginListReport Check() {
        if (list_.size() < 2) {
            Report(list_, true, "the list is shorter than 2 characters");
        } else if (list_.front() == ',') {
            Report(list_, false, "the list begins with a comma, so it is empty");
        } else {
            const std::vector<std::string_view> items = Pieces(list_, ",");
            for (std::size_t i = 0; i < items.size(); ++i) {
                CheckItem(items[i],
                          "item " + std::to_string(i + 1) + " (" + Quoted(items[i]) + ")");
            }
            report_.plugins = report_.Failure() == nullptr ? items.size() : 0;
        }
        return std::move(report_);
    }

   private:
    void CheckItem(std::string_view item, const std::string& where) {
        if (kFieldSeparators.find(item.front()) != std::string_view::npos) {
            Report(item, true, where + " begins with a separator, so it has no fields");
            return;
        }
        const std::vector<std::string_view> fields = Pieces(item, kFieldSeparators);
        if (fields.size() < kVcFieldCount) {
            Report(item, true,
                   where + " has " + std::to_string(fields.size()) +
                       (fields.size() == 1 ? " field; " : " fields; ") +
                       std::to_string(kVcFieldCount) + " are needed");
            return;
        }
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const std::string field =
                where + ", field " + std::to_string(i + 1) + " (" + Quoted(fields[i]) + ")";
            if (fields[i].size() > kVcFieldMax) {
                Report(fields[i], true,
                       field + " has " + std::to_string(fields[i].size()) +
                           " characters; at most " + std::to_string(kVcFieldMax) + " are allowed");
            } else if (i == 2 || i == 3) {
                const std::string problem = HexadecimalProblem(fields[i]);
                if (!problem.empty()) {
                    Report(fields[i], false, field + " " + problem);
                }
            }
        }
    }

    // Reports a problem of `part` of the list.
    void Report(std::string_view part, bool fails, std::string message) {
        std::vector<PluginListProblem>& problems = report_.problems;
        const auto offset = static_cast<std::size_t>(part.data() - list_.data());
        const bool isFirstFailure = fails && !failed_;
        failed_ = failed_ || fails;
        if (problems.size() == kMaxProblems) {
            problems.push_back({offset, false, "more problems follow that are not reported"});
        }
        if (problems.size() < kMaxProblems || isFirstFailure) {
            problems.push_back({offset, fails, std::move(message)});
        }
    }

    std::string_view list_;
    PluginListReport report_;
    bool failed_ = false;
};

}  // namespace

const PluginListProblem* PluginListReport::Failure() const {
    const auto found = std::find_if(problems.begin(), problems.end(),
                                    [](const PluginListProblem& problem) { return problem.fails; });
    return found == problems.end() ? nullptr : &*found;
}

PluginListReport CheckPluginList(std::string_view list) {
    return PluginListChecker(list).Check();
}
