#include "IniDocument.h"

#include <algorithm>
#include <utility>

std::shared_ptr<const IniDocument> IniDocument::Parse(std::string text) {
    // SimpleIni would stop at a NUL byte and take a damaged file for a shorter one.
    if (text.find('\0') != std::string::npos) {
        return nullptr;
    }
    auto document = std::make_shared<IniDocument>();
    document->text_ = std::move(text);
    return document->ini_.LoadData(document->text_) < 0 ? nullptr : document;
}

std::size_t IniDocument::MemorySize() const {
    constexpr std::size_t kEntrySize = 128;  // a node of a map, with what malloc() adds
    const auto entries =
        std::count(text_.begin(), text_.end(), '=') + std::count(text_.begin(), text_.end(), '[');
    // SimpleIni keeps a copy of the text.
    return 2 * text_.size() + kEntrySize * static_cast<std::size_t>(entries);
}

const char* IniDocument::Value(const char* section, const char* key) const {
    return ini_.GetValue(section, key, nullptr);
}

std::set<std::string> IniDocument::Keys(const char* section) const {
    CSimpleIniCaseA::TNamesDepend names;
    ini_.GetAllKeys(section, names);
    std::set<std::string> keys;
    for (const auto& name : names) {
        keys.emplace(name.pItem);
    }
    return keys;
}

bool IniDocument::HasSection(const char* section) const {
    return ini_.GetSection(section) != nullptr;
}
