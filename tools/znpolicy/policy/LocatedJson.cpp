#include "LocatedJson.h"

#include <simdjson.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "Utf8.h"
#include "ZnJson.h"

namespace {

namespace ondemand = simdjson::ondemand;

constexpr int kLevels = 4;

// Limits memory: a value takes two bytes in the text and more than a hundred here.
constexpr std::size_t kMaxValues = 1'000'000;

// Copies the upper levels of a valid text.
class Locator {
   public:
    explicit Locator(std::string_view text)
        : markSize_(ByteOrderMarkSize(text)), json_(text.substr(markSize_)) {}

    LocatedJson Locate() {
        ondemand::parser parser;
        ondemand::document document = parser.iterate(json_);
        return Copy(document, 1);
    }

   private:
    // `Source` is a document or a value.
    template <typename Source>
    LocatedJson Copy(Source& source, int level) {
        if (++values_ > kMaxValues) {
            throw std::length_error("more than " + std::to_string(kMaxValues) +
                                    " values: not checked");
        }
        LocatedJson copy;
        copy.offset = OffsetOf(std::string_view(source.raw_json_token()).data());
        switch (source.type().value()) {
            case ondemand::json_type::object:
                copy.kind = LocatedJson::Kind::kObject;
                CopyMembers(source.get_object(), level, copy.children);
                break;
            case ondemand::json_type::array:
                copy.kind = LocatedJson::Kind::kArray;
                CopyElements(source.get_array(), level, copy.children);
                break;
            case ondemand::json_type::string:
                copy.kind = LocatedJson::Kind::kString;
                copy.text = std::string_view(source.get_string());
                break;
            case ondemand::json_type::number:
                if (source.get_int64().get(copy.number) == simdjson::SUCCESS) {
                    copy.kind = LocatedJson::Kind::kInteger;
                }
                break;
            default:
                break;
        }
        return copy;
    }

    void CopyMembers(ondemand::object object, int level, std::vector<LocatedJson::Child>& members) {
        if (level == kLevels) {
            return;
        }
        for (ondemand::field field : object) {
            LocatedJson::Child member;
            member.nameOffset = OffsetOf(field.key().raw()) - 1;  // of the quote
            member.name = std::string_view(field.unescaped_key());
            member.value = Copy(field.value(), level + 1);
            members.push_back(std::move(member));
        }
    }

    void CopyElements(ondemand::array array, int level, std::vector<LocatedJson::Child>& elements) {
        if (level == kLevels) {
            return;
        }
        for (ondemand::value element : array) {
            elements.push_back({"", 0, Copy(element, level + 1)});
        }
    }

    std::size_t OffsetOf(const char* token) const {
        return markSize_ + static_cast<std::size_t>(token - json_.data());
    }

    std::size_t markSize_;
    simdjson::padded_string json_;
    std::size_t values_ = 0;
};

// Says where a text that libZnJson refuses is wrong, which simdjson does not.
JsonProblem FindProblem(const std::string& text) {
    using nlohmann::json;
    if (const std::size_t nul = text.find('\0'); nul != std::string::npos) {
        return {nul, "not JSON: a NUL character"};  // nlohmann takes it for the end of the text
    }
    try {
        const json discarded =
            json::parse(text, [](int, json::parse_event_t, const json&) { return false; });
    } catch (const json::parse_error& error) {
        const std::string message = error.what();
        const std::size_t reason = std::min(message.find("syntax error"), message.size());
        // It counts the byte that it failed at.
        return {std::min(error.byte - std::min<std::size_t>(error.byte, 1), text.size()),
                "not JSON: " + message.substr(reason)};
    } catch (const json::exception&) {
        // a number that is too large
    }
    return {0, "not JSON: nested too deeply, or a number that is too large"};
}

}  // namespace

const LocatedJson* LocatedJson::Member(std::string_view name) const {
    if (kind != Kind::kObject) {
        return nullptr;
    }
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const Child& child) { return child.name == name; });
    return found == children.end() ? nullptr : &found->value;
}

bool ParseLocatedJson(const std::string& text, LocatedJson& root, JsonProblem& problem) {
    if (ZnJson::Value(text).IsEmpty()) {
        problem = FindProblem(text);
        return false;
    }
    try {
        root = Locator(text).Locate();
        return true;
    } catch (const std::length_error& error) {
        problem = {0, error.what()};
    } catch (const simdjson::simdjson_error& error) {  // libZnJson is more lenient
        problem = {0, std::string("not JSON: ") + error.what()};
    }
    return false;
}
