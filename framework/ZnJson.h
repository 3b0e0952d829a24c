// JSON of the framework (libZnJson).
#pragma once

#include <memory>
#include <string>

#include "ZnExport.h"

namespace ZnJson {

// A JSON value. A copy is independent of the original. Nothing throws or logs; when memory runs
// out, the result is empty. A value, with everything reached from it, may be read by one thread at
// a time; different values, copies included, by different threads.
class ZN_API Value {
   public:
    // An empty value.
    Value();

    // The value parsed from `text`; empty when `text` is not a JSON text.
    explicit Value(const std::string& text);

    // An independent copy of `other`.
    Value(const Value& other);

    // Takes the value of `other`, which is empty afterwards.
    Value(Value&& other) noexcept;

    // Replaces the value with an independent copy of `other`.
    Value& operator=(const Value& other);

    // Replaces the value with that of `other`, which is empty afterwards.
    Value& operator=(Value&& other) noexcept;

    // Releases the value, and with it everything that was reached from it by index.
    ~Value();

    // Parses `text` (RFC 8259, UTF-8) and replaces the value. Returns false when it is not valid;
    // the value is then empty. Not valid are, among others, empty text, trailing characters,
    // nesting deeper than 1,023 levels, numbers that fit neither 64-bit integers nor doubles, lone
    // surrogates, and 4 GiB of text or more. A byte order mark before the text is ignored.
    bool Parse(const std::string& text);

    // True when the value is empty: never set, not parsed, or the result of an index without a
    // value. `{}`, `[]` and `null` are values, not empty.
    bool IsEmpty() const;

    // The member `key` of an object (the first one, if the name is repeated). Empty when there is
    // none, or the value is of another kind. The reference stays valid until the value that it came
    // from is changed or destroyed. It is for reading: whether that value shows what is assigned to
    // it is unspecified. Iterating over an array takes time linear in its size.
    Value& operator[](const std::string& key);

    // The element `index` of an array, from 0; the same holds for it.
    Value& operator[](unsigned int index);

    // The number of elements of an array; 0 for every other kind.
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
