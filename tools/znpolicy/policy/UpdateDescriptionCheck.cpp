#include "UpdateDescriptionCheck.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <map>
#include <string_view>
#include <system_error>
#include <utility>

#include "Base64.h"
#include "LocatedJson.h"
#include "NearestName.h"
#include "Quoted.h"
#include "TextPosition.h"
#include "UpdateSource.h"
#include "ZnPackageInfo.h"

namespace {

constexpr const char* kBase64DigitsAndLineEnds =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/\r\n";

constexpr std::size_t kMaxProblems = 1000;

constexpr const char* kPackageInfo = "packageInfo";

// A member of a package, and the longest value that fits its field, in bytes.
struct Member {
    std::string_view name;
    std::size_t longest;
};

constexpr Member kMembers[] = {
    {"application", sizeof(ZnPackageInfo::application) - 1},
    {"description", sizeof(ZnPackageInfo::description) - 1},
    {"downloadUrl", sizeof(ZnPackageInfo::downloadUrl) - 1},
    {"downloadZipSha256Hash", sizeof(ZnPackageInfo::downloadZipSha256Hash) - 1},
    {"releaseDate", sizeof(ZnPackageInfo::releaseDate) - 1},
    {"microserviceName", sizeof(ZnPackageInfo::microserviceName) - 1},
    {"version", sizeof(ZnPackageInfo::version) - 1},
    {"platform", sizeof(ZnPackageInfo::platform) - 1},
    {"packageName", sizeof(ZnPackageInfo::packageName) - 1},
    {"sha256Hash", sizeof(ZnPackageInfo::sha256Hash) - 1},
    {"size", SIZE_MAX},
};

const std::vector<std::string>& MemberNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        std::transform(std::begin(kMembers), std::end(kMembers), std::back_inserter(all),
                       [](const Member& member) { return std::string(member.name); });
        return all;
    }();
    return names;
}

bool IsDigest(const std::string& text) {
    return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool IsSize(const std::string& text) {
    int size = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
    return error == std::errc() && end == text.data() + text.size() && text.front() != '-';
}

// Whether someone meant to write JSON: Base64 never begins like that.
bool LooksLikeJson(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first != std::string::npos && (text[first] == '{' || text[first] == '[');
}

// Returns the offset of the first character that keeps the text from being Base64, or npos.
std::size_t FirstForeignCharacter(const std::string& text) {
    const std::size_t end = text.find_first_not_of(kBase64DigitsAndLineEnds);
    return end == std::string::npos || text[end] != '=' ? end
                                                        : text.find_first_not_of("=\r\n", end);
}

class DescriptionChecker {
   public:
    explicit DescriptionChecker(const std::string& text) : text_(text) {}

    std::vector<UpdateDescriptionProblem> Check() {
        if (text_.size() < 2) {
            Report(0, "shorter than 2 characters: it counts as missing");
        } else if (const char* const word = MissingDescriptionWord(text_); word == nullptr) {
            CheckJson(text_);
        } else if (LooksLikeJson(text_)) {
            ReportMissingWord(0, word);
        } else {
            CheckBase64();
        }
        return std::move(problems_);
    }

   private:
    void Report(std::size_t offset, std::string message, std::string suggestion = "") {
        if (!IsFull()) {
            problems_.push_back({offset, std::move(message), std::move(suggestion)});
        } else if (problems_.size() == kMaxProblems) {
            problems_.push_back({offset, "more problems follow that are not reported", ""});
        }
    }

    void ReportMissingWord(std::size_t offset, const char* word) {
        Report(offset, std::string("a description without \"") + word +
                           "\", which the library does not accept");
    }

    // Whether further problems are only mentioned.
    bool IsFull() const {
        return problems_.size() >= kMaxProblems;
    }

    void CheckBase64() {
        const std::size_t foreign = FirstForeignCharacter(text_);
        if (foreign != std::string::npos) {
            Report(foreign,
                   "neither a description in JSON nor Base64: " + Quoted(text_.substr(foreign, 1)) +
                       " at offset " + std::to_string(foreign));
            return;
        }
        std::string decoded = DecodeBase64(text_);
        if (decoded.empty()) {
            Report(text_.size(), "Base64 that is cut off or wrongly padded, at offset " +
                                     std::to_string(text_.size()));
            return;
        }
        decoded.resize(std::strlen(decoded.c_str()));  // it ends at its first NUL
        if (const char* const word = MissingDescriptionWord(decoded)) {
            ReportMissingWord(0, word);
            return;
        }
        CheckJson(decoded);
        MoveOffsetsToMessages(decoded);
    }

    void CheckJson(const std::string& json) {
        LocatedJson root;
        JsonProblem problem;
        if (ParseLocatedJson(json, root, problem)) {
            CheckRoot(root);
        } else {
            Report(problem.offset, problem.reason);
        }
        std::stable_sort(problems_.begin(), problems_.end(),
                         [](const auto& a, const auto& b) { return a.offset < b.offset; });
    }

    // Offsets in the decoded text say nothing about the Base64, so the messages name the places.
    void MoveOffsetsToMessages(const std::string& decoded) {
        TextPositions positions(decoded);
        for (UpdateDescriptionProblem& problem : problems_) {
            const TextPosition position = positions.At(problem.offset);
            problem.message += " (line " + std::to_string(position.line) + ", column " +
                               std::to_string(position.column) + " of the decoded text)";
            problem.offset = 0;
        }
    }

    void CheckRoot(const LocatedJson& root) {
        if (root.kind != LocatedJson::Kind::kObject) {
            Report(root.offset, "not a JSON object");
            return;
        }
        for (const LocatedJson::Child& member : root.children) {
            if (member.name != kPackageInfo) {
                ReportUnknownMember(member, "", {kPackageInfo});
            }
        }
        const LocatedJson* const packages = root.Member(kPackageInfo);
        if (packages == nullptr) {
            Report(root.offset, "no member \"packageInfo\"");
        } else if (packages->kind != LocatedJson::Kind::kArray) {
            Report(packages->offset, "\"packageInfo\" is not an array");
        } else if (packages->children.empty()) {
            Report(packages->offset, "\"packageInfo\" is an empty array");
        } else {
            CheckPackages(*packages);
        }
    }

    void CheckPackages(const LocatedJson& packages) {
        std::map<std::string, std::size_t> digests;
        for (std::size_t i = 0; i < packages.children.size(); ++i) {
            const LocatedJson& element = packages.children[i].value;
            const std::string where = "package " + std::to_string(i + 1);
            if (element.kind != LocatedJson::Kind::kObject) {
                Report(element.offset, where + " is not an object");
                continue;
            }
            for (const LocatedJson::Child& member : element.children) {
                CheckMember(member, where);
            }
            CheckPlatform(element, where);
            CheckDigest(element, where);
            const LocatedJson* const digest = element.Member("sha256Hash");
            if (digest != nullptr && !digest->text.empty()) {
                const auto [first, isNew] = digests.emplace(digest->text, i + 1);
                if (!isNew) {
                    Report(digest->offset,
                           where + " has the digest of package " + std::to_string(first->second));
                }
            }
        }
    }

    void CheckMember(const LocatedJson::Child& member, const std::string& where) {
        const auto* const known =
            std::find_if(std::begin(kMembers), std::end(kMembers),
                         [&](const Member& candidate) { return candidate.name == member.name; });
        if (known == std::end(kMembers)) {
            ReportUnknownMember(member, where + ": ", MemberNames());
            return;
        }
        const std::string name = where + ": \"" + member.name + "\" ";
        const LocatedJson& value = member.value;
        if (value.kind != LocatedJson::Kind::kString) {
            Report(value.offset, name + "is not a string");
        } else if (value.text.size() > known->longest) {
            Report(value.offset, name + "has " + std::to_string(value.text.size()) +
                                     " bytes; at most " + std::to_string(known->longest) +
                                     " fit, so the field stays empty");
        } else if (value.text.find('\0') != std::string::npos) {
            Report(value.offset, name + "has a NUL character, which ends it");
        } else if (member.name == "size" && !value.text.empty() && !IsSize(value.text)) {
            Report(value.offset, name + "is not a decimal number of bytes");
        } else if (member.name == "downloadZipSha256Hash" && !value.text.empty() &&
                   !IsDigest(value.text)) {
            Report(value.offset, name + "is not 64 lower-case hexadecimal digits");
        }
    }

    void ReportUnknownMember(const LocatedJson::Child& member, const std::string& where,
                             const std::vector<std::string>& known) {
        Report(member.nameOffset, where + "unknown member " + Quoted(member.name),
               IsFull() ? "" : NearestName(member.name, known));
    }

    // A package without a platform model of 2 characters or more is never installed.
    void CheckPlatform(const LocatedJson& element, const std::string& where) {
        const LocatedJson* const platform = element.Member("platform");
        if (platform == nullptr) {
            Report(element.offset, where + " has no \"platform\"");
        } else if (platform->kind == LocatedJson::Kind::kString && platform->text.size() < 2) {
            Report(platform->offset, where + ": \"platform\" is shorter than 2 characters");
        }
    }

    // A package is found by its digest only.
    void CheckDigest(const LocatedJson& element, const std::string& where) {
        const LocatedJson* const digest = element.Member("sha256Hash");
        if (digest == nullptr) {
            Report(element.offset, where + " has no \"sha256Hash\"");
        } else if (digest->kind == LocatedJson::Kind::kString &&
                   digest->text.size() < sizeof(ZnPackageInfo::sha256Hash) &&
                   !IsDigest(digest->text)) {
            Report(digest->offset,
                   where + ": \"sha256Hash\" is not 64 lower-case hexadecimal digits");
        }
    }

    const std::string& text_;
    std::vector<UpdateDescriptionProblem> problems_;
};

}  // namespace

std::vector<UpdateDescriptionProblem> CheckUpdateDescription(const std::string& text) {
    return DescriptionChecker(text).Check();
}
