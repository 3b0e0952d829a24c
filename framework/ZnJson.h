// JSON of the framework (libZnJson).
#pragma once

#include <memory>
#include <string>

#include "ZnExport.h"

namespace ZnJson {

// A JSON value. Copies are independent of what they were copied from. Nothing throws on bad input
// and nothing is logged. A value, with all that was reached from it, may be read by one thread at a
// time; different values, copies included, by different threads.
class ZN_API Value {
   public:
    // A value that holds nothing.
    Value();

    // The value parsed from `text`; holds nothing when `text` is not one whole JSON text.
    explicit Value(const std::string& text);

    Value(const Value& other);
    Value(Value&& other) noexcept;
    Value& operator=(const Value& other);
    Value& operator=(Value&& other) noexcept;
    ~Value();

    // Parses `text` (RFC 8259, UTF-8) and replaces what the value held. Returns whether it could be
    // parsed; callers may as well ask IsEmpty. On failure the value holds nothing. Failures are
    // empty text, trailing characters, nesting deeper than 1,023 levels, numbers that neither
    // 64-bit integers nor doubles can hold, surrogates that stand alone, and 4 GiB of text or more.
    // A byte order mark before the text is ignored.
    bool Parse(const std::string& text);

    // True when the value holds nothing: never set, not parsed, or an index that led nowhere. `{}`,
    // `[]` and `null` are values, not nothing.
    bool IsEmpty() const;

    // The member `key` of an object (the first one, if the name stands twice) or the element
    // `index` of an array, from 0. When there is none, or the value is of another kind, the result
    // holds nothing. The reference stays valid until the value it came from is changed or
    // destroyed. It is for reading: whether that value shows what is assigned to it is not settled.
    // However large the array, going through it takes time in proportion to it.
    Value& operator[](const std::string& key);
    Value& operator[](unsigned int index);

    // The number of elements of an array; 0 for every other kind and for nothing.
    int GetArraySize() const;

    // Reads the integer member `key` into `value`. Returns true when the member exists and is a
    // number written as an integer within 32 bits, signed. On false `value` is unchanged.
    bool GetJsonValue(const std::string& key, int& value) const;

    // Reads the string member `key` into `value`, escapes resolved, as UTF-8. Returns true when the
    // member exists and is a string. On false `value` is cleared.
    bool Get(const std::string& key, std::string& value) const;

   private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace ZnJson
