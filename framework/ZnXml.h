// Reading policies (libZnXml).
#pragma once

#include <memory>
#include <string>

#include "ZnExport.h"

// An accessor of one published policy: construct it, load a policy once, read any number of items,
// destroy it. Different accessors may be used by different threads at the same time; a single one
// is not safe for concurrent use. Nothing throws, lack of memory included, and nothing is logged.
class ZN_API ZnXml {
   public:
    // Every read fails until LoadPolicyShareMemory() has succeeded.
    ZnXml();

    // Releases the loaded policy, which stays published.
    ~ZnXml();

    // An accessor is not copied: make another one.
    ZnXml(const ZnXml&) = delete;
    ZnXml& operator=(const ZnXml&) = delete;

    // Loads the policy of the terminal or session `id` as it is now, replacing the one loaded
    // before. Policies that are published later do not change what is loaded.
    // Returns false when there is no such policy or it cannot be used; nothing is loaded then.
    bool LoadPolicyShareMemory(int id);

    // Reads the item `key`, a name or names joined with "/", as text, byte for byte.
    // Returns false when nothing is loaded, `key` is null, or there is no such item. Callers must
    // not rely on `value` then; the default libZnXml leaves it unchanged.
    bool GetXmlContent(const char* key, std::string& value);

    // Reads the item `key` as a 32-bit signed integer: decimal digits with an optional sign,
    // surrounded by optional blanks (space, tab, CR, LF).
    // Returns false as above, or when the item is not such a number. Callers that use `value` after
    // a failure set it before the call.
    bool GetXmlContent(const char* key, int& value);

   private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};
