#include "IniDocument.h"

#include <utility>

std::shared_ptr<const IniDocument> IniDocument::Parse(std::string text) {
    // The parser would stop at a NUL byte, and a damaged file would pass for a shorter one.
    if (text.find('\0') != std::string::npos) {
        return nullptr;
    }
    const auto document = std::make_shared<IniDocument>();
    document->text_ = std::move(text);
    if (document->ini_.LoadData(document->text_) < 0) {
        return nullptr;
    }
    CSimpleIniCaseA::TNamesDepend names;
    document->ini_.GetAllSections(names);
    for (const auto& name : names) {
        const auto& entries = *document->ini_.GetSection(name.pItem);
        Section& section = document->sections_[name.pItem];
        section.reserve(entries.size());
        for (const auto& [key, value] : entries) {
            section.emplace(key.pItem, value);
        }
    }
    return document;
}

const IniDocument::Section* IniDocument::Find(std::string_view section) const {
    const auto found = sections_.find(section);
    return found != sections_.end() ? &found->second : nullptr;
}
