// The parsed contents of one INI file.
#pragma once

#define SI_NO_CONVERSION   // names and values are bytes; nothing is converted
#define SI_IMPLEMENTATION  // SimpleIni is used header-only
#include <SimpleIni.h>

#include <cstddef>
#include <memory>
#include <set>
#include <string>

// A parsed INI text. Immutable, so any number of threads may read it at once.
class IniDocument {
   public:
    // Parses `text`. Returns null when it contains a NUL byte.
    static std::shared_ptr<const IniDocument> Parse(std::string text);

    // The text that was parsed.
    const std::string& Text() const {
        return text_;
    }

    // How much memory the document takes in bytes, roughly and rather more than less. Short keys
    // take many times the size of their text.
    std::size_t MemorySize() const;

    // Returns the value of `key` in `section`, or null. It lives as long as the document.
    const char* Value(const char* section, const char* key) const;

    // Returns the names of all keys in `section`.
    std::set<std::string> Keys(const char* section) const;

    bool HasSection(const char* section) const;

   private:
    std::string text_;
    CSimpleIniCaseA ini_;
};
