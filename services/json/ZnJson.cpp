#include "ZnJson.h"

#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace ZnJson {

namespace {

namespace dom = simdjson::dom;

// simdjson counts the elements of an array or object only up to this number.
constexpr size_t kCountIsAtLeast = 0xFFFFFF;

constexpr size_t kMaxDepth = 1023;

// Makes simdjson choose its implementation when the library is loaded. On first use, it would take
// a lock, which a forked child could find held, and end the process if memory runs out.
[[maybe_unused]] const std::string implementation = simdjson::get_active_implementation()->name();

// RFC 8259 lets a parser ignore a byte order mark, which some editors add.
std::string_view WithoutByteOrderMark(std::string_view text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
    }
    return text;
}

// An element of an array or a member of an object. Its value is created on first use.
struct Child {
    std::string_view name;  // empty in an array
    dom::element element;
    Value value;
};

std::vector<Child> ChildrenOf(dom::array array) {
    std::vector<Child> children;
    children.reserve(array.size());
    for (const dom::element element : array) {
        children.push_back({{}, element, {}});
    }
    return children;
}

// Sorted by name, so that repeated access to members of a hostile, very wide object stays fast.
// Members of the same name stay in the order of the text.
std::vector<Child> ChildrenOf(dom::object object) {
    std::vector<Child> children;
    children.reserve(object.size());
    for (const dom::key_value_pair member : object) {
        children.push_back({member.key, member.value, {}});
    }
    std::stable_sort(children.begin(), children.end(),
                     [](const Child& a, const Child& b) { return a.name < b.name; });
    return children;
}

// The nesting depth of a valid JSON text.
size_t DepthOf(std::string_view json) {
    size_t depth = 0;
    size_t deepest = 0;
    bool isInString = false;
    for (size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (isInString) {
            isInString = c != '"';
            i += c == '\\' ? 1 : 0;
        } else if (c == '"') {
            isInString = true;
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return deepest;
}

simdjson::error_code ParseWithin(size_t maxDepth, std::string_view json, dom::document& document,
                                 dom::element& root) {
    dom::parser parser;
    const auto error = parser.allocate(json.size(), maxDepth);
    return error != simdjson::SUCCESS
               ? error
               : parser.parse_into_document(document, json.data(), json.size()).get(root);
}

// Parses a text of up to kMaxDepth levels. simdjson does not count an innermost array or object if
// it is empty, so the levels of a text that is just beyond simdjson's limit are counted here.
bool ParseJson(std::string_view json, dom::document& document, dom::element& root) {
    auto error = ParseWithin(kMaxDepth, json, document, root);
    if (error == simdjson::DEPTH_ERROR) {
        error = ParseWithin(kMaxDepth + 1, json, document, root);
        return error == simdjson::SUCCESS && DepthOf(json) <= kMaxDepth;
    }
    return error == simdjson::SUCCESS;
}

}  // namespace

// A place in a parsed document. The document is immutable and shared by all values that come from
// the same text, and their copies.
struct Value::Impl {
    Impl(std::shared_ptr<const dom::document> itsDocument, dom::element itsElement)
        : document(std::move(itsDocument)), element(itsElement) {}

    // The elements in their order, or the members by name. They are listed once, on first use,
    // because simdjson finds one only by passing all those before it.
    std::vector<Child>& Children() {
        if (!listed) {
            dom::array array;
            dom::object object;
            if (element.get(array) == simdjson::SUCCESS) {
                children = ChildrenOf(array);
            } else if (element.get(object) == simdjson::SUCCESS) {
                children = ChildrenOf(object);
            }
            listed = true;
        }
        return children;
    }

    // The number of elements of an array.
    size_t Size(dom::array array) {
        if (array.size() < kCountIsAtLeast) {
            return array.size();
        }
        if (largeSize == 0) {
            for (auto at = array.begin(); at != array.end(); ++at) {
                ++largeSize;
            }
        }
        return largeSize;
    }

    Child* ChildAt(unsigned int index) {
        if (!element.is_array() || index >= Children().size()) {
            return nullptr;
        }
        return &children[index];
    }

    Child* ChildNamed(std::string_view name) {
        if (!element.is_object()) {
            return nullptr;
        }
        const auto child = std::lower_bound(Children().begin(), Children().end(), name,
                                            [](const Child& candidate, std::string_view wanted) {
                                                return candidate.name < wanted;
                                            });
        return child != children.end() && child->name == name ? &*child : nullptr;
    }

    // The result for a missing member or position.
    Value& Nothing() {
        nothing.impl_.reset();  // a caller may have assigned to it
        return nothing;
    }

    Value& ValueOf(Child* child) {
        if (child == nullptr) {
            return Nothing();
        }
        if (!child->value.impl_) {
            child->value.impl_ = std::make_unique<Impl>(document, child->element);
        }
        return child->value;
    }

    // Finds the member `name` without creating a value for it or listing the object, which the
    // bound of convert/ours in bench/UpdateBench.bounds does not allow.
    bool FindMember(std::string_view name, dom::element& member) {
        dom::object object;
        if (element.get(object) != simdjson::SUCCESS) {
            return false;
        }
        return object.at_key(name).get(member) == simdjson::SUCCESS;
    }

    const std::shared_ptr<const dom::document> document;
    const dom::element element;
    std::vector<Child> children;
    bool listed = false;
    size_t largeSize = 0;  // of an array with more elements than simdjson counts; 0: not counted
    Value nothing;
};

Value::Value() = default;
Value::Value(Value&& other) noexcept = default;
Value& Value::operator=(Value&& other) noexcept = default;
Value::~Value() = default;

Value::Value(const std::string& text) {
    Parse(text);
}

Value::Value(const Value& other) {
    try {
        if (other.impl_) {
            impl_ = std::make_unique<Impl>(other.impl_->document, other.impl_->element);
        }
    } catch (const std::exception&) {
        // Out of memory: the copy is empty.
    }
}

Value& Value::operator=(const Value& other) {
    Value copy(other);  // first, because `other` may be a part of this value
    impl_.swap(copy.impl_);
    return *this;
}

bool Value::Parse(const std::string& text) try {
    impl_.reset();
    const auto document = std::make_shared<dom::document>();
    dom::element root;
    if (!ParseJson(WithoutByteOrderMark(text), *document, root)) {
        return false;
    }
    impl_ = std::make_unique<Impl>(document, root);
    return true;
} catch (const std::exception&) {
    return false;
}

bool Value::IsEmpty() const {
    return !impl_;
}

// An empty value is its own member and element.
Value& Value::operator[](const std::string& key) try {
    return impl_ ? impl_->ValueOf(impl_->ChildNamed(key)) : *this;
} catch (const std::exception&) {
    return impl_->Nothing();
}

Value& Value::operator[](unsigned int index) try {
    return impl_ ? impl_->ValueOf(impl_->ChildAt(index)) : *this;
} catch (const std::exception&) {
    return impl_->Nothing();
}

int Value::GetArraySize() const {
    dom::array array;
    if (!impl_ || impl_->element.get(array) != simdjson::SUCCESS) {
        return 0;
    }
    // Fits into an int: a text is smaller than 4 GiB, and an element takes at least two bytes.
    return static_cast<int>(impl_->Size(array));
}

bool Value::GetJsonValue(const std::string& key, int& value) const try {
    dom::element member;
    int64_t number = 0;
    if (!impl_ || !impl_->FindMember(key, member) || member.get(number) != simdjson::SUCCESS ||
        number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
        return false;
    }
    value = static_cast<int>(number);
    return true;
} catch (const std::exception&) {
    return false;
}

bool Value::Get(const std::string& key, std::string& value) const try {
    dom::element member;
    std::string_view text;
    if (!impl_ || !impl_->FindMember(key, member) || member.get(text) != simdjson::SUCCESS) {
        value.clear();
        return false;
    }
    value.assign(text);
    return true;
} catch (const std::exception&) {
    value.clear();
    return false;
}

}  // namespace ZnJson
