#include "PolicyDocument.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <optional>
#include <pugixml.hpp>
#include <unordered_set>
#include <utility>

#include "Utf8.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr const char* kBlanks = " \t\r\n";

// Everything of the document becomes a node, so that nothing is passed over in silence; text stays
// as written, references included, so that its nodes tell where in the document they stand.
constexpr unsigned kParseOptions = pugi::parse_fragment | pugi::parse_ws_pcdata |
                                   pugi::parse_cdata | pugi::parse_comments | pugi::parse_pi |
                                   pugi::parse_declaration | pugi::parse_doctype;

// Whether XML allows the character in a document.
bool IsXmlCharacter(char32_t code) {
    if (code < 0x20) {
        return code == '\t' || code == '\n' || code == '\r';
    }
    return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF) && code != 0xFFFE && code != 0xFFFF;
}

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(kBlanks) == std::string_view::npos;
}

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// The character that "&NAME;" or "&#NUMBER;" stands for; `name` is what is between "&" and ";".
std::optional<char32_t> ReferencedCharacter(std::string_view name) {
    static constexpr std::pair<std::string_view, char32_t> kEntities[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& [entity, character] : kEntities) {
        if (name == entity) {
            return character;
        }
    }
    const bool hexadecimal = StartsWith(name, "#x");
    if (!hexadecimal && !StartsWith(name, "#")) {
        return std::nullopt;
    }
    name.remove_prefix(hexadecimal ? 2 : 1);
    unsigned code = 0;
    const auto [end, error] =
        std::from_chars(name.data(), name.data() + name.size(), code, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != name.data() + name.size() || !IsXmlCharacter(code)) {
        return std::nullopt;
    }
    return code;
}

// Appends the character `code`, which is not a surrogate and at most U+10FFFF.
void AppendUtf8Character(std::string& text, char32_t code) {
    if (code < 0x80) {
        text += static_cast<char>(code);
        return;
    }
    const int continuations = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    const char32_t leadMark = continuations == 1 ? 0xC0 : continuations == 2 ? 0xE0 : 0xF0;
    text += static_cast<char>(leadMark | (code >> (6 * continuations)));
    for (int i = continuations - 1; i >= 0; --i) {
        text += static_cast<char>(0x80 | ((code >> (6 * i)) & 0x3F));
    }
}

class DocumentReader {
   public:
    DocumentReader(std::string_view xml, const std::string& name) : xml_(xml), name_(name) {}

    std::vector<PolicyStore::Item> Read() {
        if (xml_.size() > PolicyStore::kMaxDocumentSize) {
            Refuse(PolicyStore::kMaxDocumentSize, "the document is larger than 16 MiB");
        }
        CheckCharacters();
        // The line ends keep a "<" from being among the last two characters, where the parser would
        // let it pass.
        std::string buffer = std::string(xml_) + "\n\n";
        pugi::xml_document document;
        const pugi::xml_parse_result result = document.load_buffer_inplace(
            buffer.data(), buffer.size(), kParseOptions, pugi::encoding_utf8);
        if (!result) {
            Refuse(static_cast<std::size_t>(result.offset), result.description());
        }
        ReadDocument(document);
        return std::move(items_);
    }

   private:
    // Throws the error `reason` for the place `offset` bytes into the document. Columns count
    // characters, not bytes.
    [[noreturn]] void Refuse(std::size_t offset, const std::string& reason) const {
        const std::string_view before = xml_.substr(0, std::min(offset, xml_.size()));
        const auto line = 1 + std::count(before.begin(), before.end(), '\n');
        const std::string_view lineStart = before.substr(before.rfind('\n') + 1);
        const auto column = 1 + std::count_if(lineStart.begin(), lineStart.end(), [](char byte) {
                                return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
                            });
        throw PolicyStore::Error(name_ + ":" + std::to_string(line) + ":" + std::to_string(column) +
                                 ": " + reason);
    }

    // Throws the error `reason` for the place where `node` begins.
    [[noreturn]] void Refuse(const pugi::xml_node& node, const std::string& reason) const {
        const std::size_t offset = Offset(node);
        Refuse(node.type() == pugi::node_element ? offset - 1 : offset, reason);
    }

    // Where the node's name or text stands in the document.
    static std::size_t Offset(const pugi::xml_node& node) {
        return static_cast<std::size_t>(node.offset_debug());
    }

    void CheckCharacters() const {
        for (std::size_t offset = 0; offset < xml_.size();) {
            const Utf8Character character = FirstUtf8Character(xml_.substr(offset));
            if (character.bytes == 0) {
                Refuse(offset, "not valid UTF-8");
            }
            if (!IsXmlCharacter(character.code)) {
                Refuse(offset, "a character that XML does not allow");
            }
            offset += character.bytes;
        }
    }

    void ReadDocument(const pugi::xml_document& document) {
        pugi::xml_node root;
        for (const pugi::xml_node node : document.children()) {
            switch (node.type()) {
                case pugi::node_element:
                    if (!root.empty()) {
                        Refuse(node, "a second root element");
                    }
                    root = node;
                    ReadRoot(root);
                    break;
                case pugi::node_declaration:
                    CheckDeclaration(node);
                    break;
                case pugi::node_pcdata:
                    CheckBlank(node, node.value());
                    break;
                case pugi::node_cdata:
                    Refuse(node, "text outside the root element");
                default:
                    CheckIgnored(node);
            }
        }
        if (root.empty()) {
            Refuse(xml_.size(), "no root element");
        }
    }

    void ReadRoot(const pugi::xml_node& root) {
        if (std::strcmp(root.name(), "Policy") != 0) {
            Refuse(root, "the root element is not \"Policy\"");
        }
        ReadGroup(root, "");
    }

    // An element with child elements, or the root.
    void ReadGroup(const pugi::xml_node& group, const std::string& keyPrefix) {
        CheckAttributes(group);
        for (const pugi::xml_node node : group.children()) {
            switch (node.type()) {
                case pugi::node_element:
                    ReadElement(node, keyPrefix + node.name());
                    break;
                case pugi::node_pcdata:
                    CheckBlank(node, Resolve(node));
                    break;
                case pugi::node_cdata:
                    CheckBlank(node, node.value());
                    break;
                default:
                    CheckIgnored(node);
            }
        }
    }

    // The longest key also bounds how deep elements nest.
    void ReadElement(const pugi::xml_node& element, const std::string& key) {
        if (key.size() > PolicyStore::kMaxKeyLength) {
            Refuse(element, "the item's name is longer than 255 bytes");
        }
        const pugi::xml_node firstChild = element.find_child(
            [](const pugi::xml_node& child) { return child.type() == pugi::node_element; });
        if (!firstChild.empty()) {
            ReadGroup(element, key + "/");
        } else {
            ReadItem(element, key);
        }
    }

    void ReadItem(const pugi::xml_node& element, const std::string& key) {
        CheckAttributes(element);
        if (!keys_.insert(key).second) {
            Refuse(element, "a second item \"" + key + "\"");
        }
        std::string value;
        for (const pugi::xml_node node : element.children()) {
            switch (node.type()) {
                case pugi::node_pcdata:
                    value += Resolve(node);
                    break;
                case pugi::node_cdata:
                    value += node.value();
                    break;
                default:
                    CheckIgnored(node);
            }
        }
        items_.push_back({key, std::move(value)});
    }

    // The text of a node with its references replaced by the characters they stand for.
    std::string Resolve(const pugi::xml_node& node) const {
        const std::string_view text = node.value();
        const std::size_t cdataEnd = text.find("]]>");
        if (cdataEnd != std::string_view::npos) {
            Refuse(Offset(node) + cdataEnd, "\"]]>\" in text");
        }
        std::string resolved;
        std::size_t position = 0;
        for (;;) {
            const std::size_t ampersand = text.find('&', position);
            resolved += text.substr(position, ampersand - position);
            if (ampersand == std::string_view::npos) {
                return resolved;
            }
            const std::size_t semicolon = std::min(text.find(';', ampersand), text.size());
            const auto character =
                ReferencedCharacter(text.substr(ampersand + 1, semicolon - ampersand - 1));
            if (!character || semicolon == text.size()) {
                Refuse(Offset(node) + ampersand,
                       R"("&" that begins no known reference (write "&amp;"))");
            }
            AppendUtf8Character(resolved, *character);
            position = semicolon + 1;
        }
    }

    void CheckAttributes(const pugi::xml_node& element) const {
        if (!element.first_attribute().empty()) {
            Refuse(element, std::string("element \"") + element.name() + "\" has an attribute");
        }
    }

    void CheckBlank(const pugi::xml_node& node, std::string_view text) const {
        if (!IsBlank(text)) {
            const std::size_t leading = std::string_view(node.value()).find_first_not_of(kBlanks);
            Refuse(Offset(node) + leading, "text outside of an item");
        }
    }

    // What is allowed and ignored: comments and processing instructions.
    void CheckIgnored(const pugi::xml_node& node) const {
        if (node.type() == pugi::node_doctype) {
            Refuse(node, "a document type is not allowed");
        }
        if (node.type() == pugi::node_declaration) {
            Refuse(node, "an XML declaration that is not at the beginning");
        }
        const std::string_view text = node.value();
        if (node.type() == pugi::node_comment &&
            (text.find("--") != std::string_view::npos || (!text.empty() && text.back() == '-'))) {
            Refuse(node, R"("--" in a comment)");
        }
    }

    void CheckDeclaration(const pugi::xml_node& declaration) const {
        if (Offset(declaration) != std::strlen("<?")) {
            Refuse(declaration, "an XML declaration that is not at the beginning");
        }
        const pugi::xml_attribute encoding = declaration.attribute("encoding");
        if (!encoding.empty() && strcasecmp(encoding.value(), "UTF-8") != 0) {
            Refuse(declaration, "the declared encoding is not UTF-8");
        }
    }

    const std::string_view xml_;
    const std::string& name_;
    std::vector<PolicyStore::Item> items_;
    std::unordered_set<std::string> keys_;
};

}  // namespace

std::vector<PolicyStore::Item> ParsePolicyDocument(std::string_view xml, const std::string& name) {
    if (StartsWith(xml, kByteOrderMark)) {
        xml.remove_prefix(kByteOrderMark.size());
    }
    return DocumentReader(xml, name).Read();
}
