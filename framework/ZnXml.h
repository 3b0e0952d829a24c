// Policy store of the framework (libZnXml): the policy of one terminal or session, item by item.
#pragma once

#include <memory>
#include <string>

#include "ZnExport.h"

// An accessor of one published policy. Use: construct, load once, read any number of items,
// destroy. An accessor belongs to one thread at a time; different accessors are independent of each
// other.
class ZN_API ZnXml {
   public:
    // An accessor bound to no policy. Every read fails until LoadPolicyShareMemory has succeeded.
    ZnXml();

    // Releases the policy. What was published stays.
    ~ZnXml();

    ZnXml(const ZnXml&) = delete;
    ZnXml& operator=(const ZnXml&) = delete;

    // Binds the accessor to the policy of the terminal or session `id`, as it is now: a policy
    // published later is not seen by this accessor.
    // Returns true when that policy is available. Returns false when there is none or it cannot be
    // used; the accessor is then bound to nothing. Logs nothing.
    bool LoadPolicyShareMemory(int id);

    // Reads the item `key` (a plain name, or names joined with "/") as text, byte for byte.
    // Returns true when the item exists. On false callers do not rely on `value`.
    bool GetXmlContent(const char* key, std::string& value);

    // Reads the item `key` as a 32-bit signed integer: decimal, with an optional sign and optional
    // surrounding blanks.
    // Returns true when the item exists and is such a number. On false callers do not rely on
    // `value`; one that uses it after a failure sets it before the call.
    bool GetXmlContent(const char* key, int& value);

   private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};
