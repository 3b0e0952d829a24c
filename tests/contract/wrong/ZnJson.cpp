// Wrong: every text is valid, and no value has members.
#include "ZnJson.h"

namespace ZnJson {

struct Value::Impl {};

Value::Value() = default;

Value::Value(const std::string& /*text*/) {}

Value::Value(const Value& /*other*/) {}

Value::Value(Value&& other) noexcept = default;

Value& Value::operator=(const Value& other) {
    if (this != &other) {
        impl_.reset();
    }
    return *this;
}

Value& Value::operator=(Value&& other) noexcept = default;

Value::~Value() = default;

bool Value::Parse(const std::string& /*text*/) {
    return true;
}

bool Value::IsEmpty() const {
    return false;
}

Value& Value::operator[](const std::string& /*key*/) {
    return *this;
}

Value& Value::operator[](unsigned int /*index*/) {
    return *this;
}

int Value::GetArraySize() const {
    return 0;
}

bool Value::GetJsonValue(const std::string& /*key*/, int& /*value*/) const {
    return false;
}

bool Value::Get(const std::string& /*key*/, std::string& /*value*/) const {
    return false;
}

}  // namespace ZnJson
