#include "ZnJson.h"

#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace ZnJson {

namespace {

namespace dom = simdjson::dom;

// simdjson counts the elements of an array or object up to this number and no further.
constexpr size_t kCountIsAtLeast = 0xFFFFFF;

// Looking through fewer members than this one by one is quicker than keeping an index of them.
constexpr size_t kWideObject = 64;

// RFC 8259 lets a parser ignore a byte order mark, which some editors put before a text.
std::string_view WithoutByteOrderMark(std::string_view text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
    }
    return text;
}

// An element of an array or a member of an object. Its value is made when it is first asked for.
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

// Sorted by name; of members with one name, the first of the text stands first.
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

}  // namespace

// A place in a parsed document. The document is never changed, so all values that come from one
// text, and their copies, share it.
struct Value::Impl {
    Impl(std::shared_ptr<const dom::document> itsDocument, dom::element itsElement)
        : document(std::move(itsDocument)), element(itsElement) {}

    // The elements in their order, or the members by name. simdjson finds one only by passing all
    // those before it, so they are listed once, when the first is asked for.
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

    Value& ValueOf(Child* child) {
        if (child == nullptr) {
            nothing.impl_.reset();
            return nothing;
        }
        if (!child->value.impl_) {
            child->value.impl_ = std::make_unique<Impl>(document, child->element);
        }
        return child->value;
    }

    // Finds the member `name` without making a value of it.
    bool FindMember(std::string_view name, dom::element& member) {
        dom::object object;
        if (element.get(object) != simdjson::SUCCESS) {
            return false;
        }
        if (object.size() < kWideObject) {
            return object.at_key(name).get(member) == simdjson::SUCCESS;
        }
        const Child* child = ChildNamed(name);
        if (child == nullptr) {
            return false;
        }
        member = child->element;
        return true;
    }

    const std::shared_ptr<const dom::document> document;
    const dom::element element;
    std::vector<Child> children;
    bool listed = false;
    size_t largeSize = 0;  // of an array with more elements than simdjson counts, once counted
    Value nothing;         // what a missing member or position is
};

Value::Value() = default;
Value::Value(Value&& other) noexcept = default;
Value& Value::operator=(Value&& other) noexcept = default;
Value::~Value() = default;

Value::Value(const std::string& text) {
    Parse(text);
}

Value::Value(const Value& other) {
    if (other.impl_) {
        impl_ = std::make_unique<Impl>(other.impl_->document, other.impl_->element);
    }
}

Value& Value::operator=(const Value& other) {
    Value copy(other);  // first, as `other` may be a part of this value
    impl_.swap(copy.impl_);
    return *this;
}

bool Value::Parse(const std::string& text) {
    impl_.reset();
    const std::string_view json = WithoutByteOrderMark(text);
    const auto document = std::make_shared<dom::document>();
    dom::parser parser;
    dom::element root;
    if (parser.parse_into_document(*document, json.data(), json.size()).get(root) !=
        simdjson::SUCCESS) {
        return false;
    }
    impl_ = std::make_unique<Impl>(document, root);
    return true;
}

bool Value::IsEmpty() const {
    return !impl_;
}

// What holds nothing is also what every member and element of it is.
Value& Value::operator[](const std::string& key) {
    return impl_ ? impl_->ValueOf(impl_->ChildNamed(key)) : *this;
}

Value& Value::operator[](unsigned int index) {
    return impl_ ? impl_->ValueOf(impl_->ChildAt(index)) : *this;
}

int Value::GetArraySize() const {
    dom::array array;
    if (!impl_ || impl_->element.get(array) != simdjson::SUCCESS) {
        return 0;
    }
    // It fits: a text has less than 4 GiB, and an element takes two bytes or more.
    return static_cast<int>(impl_->Size(array));
}

bool Value::GetJsonValue(const std::string& key, int& value) const {
    dom::element member;
    int64_t number = 0;
    if (!impl_ || !impl_->FindMember(key, member) || member.get(number) != simdjson::SUCCESS ||
        number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
        return false;
    }
    value = static_cast<int>(number);
    return true;
}

bool Value::Get(const std::string& key, std::string& value) const {
    dom::element member;
    std::string_view text;
    if (!impl_ || !impl_->FindMember(key, member) || member.get(text) != simdjson::SUCCESS) {
        value.clear();
        return false;
    }
    value.assign(text);
    return true;
}

}  // namespace ZnJson
