// The contents of one INI file, parsed.
#pragma once

#define SI_NO_CONVERSION   // names and values are bytes; nothing is converted
#define SI_IMPLEMENTATION  // the header brings its code along; there is no library to link
#include <SimpleIni.h>

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

// A parsed INI text. It never changes, so any number of threads may read it at once.
class IniDocument {
   public:
    using Section = std::unordered_map<std::string_view, const char*>;  // values by key

    // Parses `text`. Returns null when it is no text, because there is a NUL byte in it.
    static std::shared_ptr<const IniDocument> Parse(std::string text);

    // What was parsed.
    const std::string& Text() const {
        return text_;
    }

    // The section of this name, or null. It lives as long as the document.
    const Section* Find(std::string_view section) const;

   private:
    std::string text_;
    CSimpleIniCaseA ini_;  // owns all names and values
    // Finding a key costs the same in a section of any size, which the parser's own trees of
    // pointers do not achieve.
    std::unordered_map<std::string_view, Section> sections_;
};
