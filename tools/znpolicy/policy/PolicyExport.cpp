#include "PolicyExport.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "EscapeText.h"
#include "PolicyDocument.h"
#include "Utf8.h"

namespace {

void AppendCharacterReference(std::string& xml, char32_t code) {
    std::array<char, 16> reference = {};
    (void)std::snprintf(reference.data(), reference.size(), "&#x%X;", static_cast<unsigned>(code));
    xml += reference.data();
}

void AppendCharacter(std::string& xml, std::string_view bytes, char32_t code) {
    switch (code) {
        case '&':
            xml += "&amp;";
            break;
        case '<':
            xml += "&lt;";
            break;
        case '>':  // required in "]]>"
            xml += "&gt;";
            break;
        case '\t':
        case '\n':
            xml += bytes;
            break;
        default:
            if (Escaped(bytes) == bytes) {
                xml += bytes;
            } else {
                AppendCharacterReference(xml, code);
            }
    }
}

void AppendText(std::string& xml, std::string_view text) {
    while (!text.empty()) {
        const Utf8Character character = FirstUtf8Character(text);
        if (character.bytes == 0) {
            throw std::runtime_error("a value is not UTF-8");
        }
        AppendCharacter(xml, text.substr(0, character.bytes), character.code);
        text.remove_prefix(character.bytes);
    }
}

std::vector<std::string_view> SplitKey(std::string_view key) {
    std::vector<std::string_view> names;
    for (std::size_t end = key.find('/'); end != std::string_view::npos; end = key.find('/')) {
        names.push_back(key.substr(0, end));
        key.remove_prefix(end + 1);
    }
    names.push_back(key);
    return names;
}

// Writes items one after the other. Neighbours share the elements of their groups; a group may
// appear several times, and so may a name that is both an item's and a group's.
class DocumentWriter {
   public:
    explicit DocumentWriter(bool hasLayout) : hasLayout_(hasLayout) {}

    std::string Write(const std::vector<PolicyStore::Item>& items) {
        xml_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        OpenGroup("Policy");
        for (const PolicyStore::Item& item : items) {
            std::vector<std::string_view> groups = SplitKey(item.key);
            groups.insert(groups.begin(), "Policy");
            const std::string_view name = groups.back();
            groups.pop_back();
            EnterGroup(groups);
            WriteItem(name, item.value);
        }
        EnterGroup({});
        return std::move(xml_);
    }

   private:
    // Closes and opens groups until those from the root to the innermost are `groups`.
    void EnterGroup(const std::vector<std::string_view>& groups) {
        const auto common =
            std::mismatch(open_.begin(), open_.end(), groups.begin(), groups.end()).second -
            groups.begin();
        while (static_cast<std::ptrdiff_t>(open_.size()) > common) {
            CloseGroup();
        }
        std::for_each(groups.begin() + common, groups.end(),
                      [this](std::string_view name) { OpenGroup(name); });
    }

    void OpenGroup(std::string_view name) {
        StartLine();
        xml_.append("<").append(name).append(">");
        EndLine();
        open_.push_back(name);
    }

    void CloseGroup() {
        const std::string_view name = open_.back();
        open_.pop_back();
        StartLine();
        xml_.append("</").append(name).append(">");
        EndLine();
    }

    void WriteItem(std::string_view name, std::string_view value) {
        StartLine();
        xml_.append("<").append(name);
        if (value.empty()) {
            xml_ += "/>";
        } else {
            xml_ += ">";
            AppendText(xml_, value);
            xml_.append("</").append(name).append(">");
        }
        EndLine();
    }

    void StartLine() {
        xml_.append(hasLayout_ ? 4 * open_.size() : 0, ' ');
    }

    void EndLine() {
        xml_.append(hasLayout_ ? "\n" : "");
    }

    const bool hasLayout_;
    std::string xml_;
    std::vector<std::string_view> open_;  // the names from the root to the innermost group
};

bool IsSameItem(const PolicyStore::Item& left, const PolicyStore::Item& right) {
    return left.key == right.key && left.value == right.value;
}

}  // namespace

std::string ExportPolicy(const std::vector<PolicyStore::Item>& items) {
    std::string xml = DocumentWriter(true).Write(items);
    if (xml.size() > PolicyStore::kMaxDocumentSize) {
        xml = DocumentWriter(false).Write(items);
    }
    // Items of a damaged file may have any name and value.
    std::vector<PolicyStore::Item> published;
    try {
        published = ParsePolicyDocument(xml, "");
    } catch (const DocumentRefusal& refusal) {
        throw std::runtime_error(refusal.Reason());
    }
    if (!std::equal(items.begin(), items.end(), published.begin(), published.end(), IsSameItem)) {
        throw std::runtime_error("an item has an invalid name");
    }
    return xml;
}
