#include "ZnXml.h"

#include <charconv>
#include <climits>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "PolicyFile.h"

struct ZnXml::Impl {
    PolicyFile policy;
};

namespace {

using Path = char[PATH_MAX];

// Builds the path of the policy file of `id` without allocating. Returns false when it is too long.
bool MakePolicyPath(Path& path, int id) {
    constexpr std::size_t longestId = std::string_view("-2147483648").size();
    const std::string_view directory = PolicyStoreDirectory();
    if (directory.size() + 1 + longestId + kPolicyFileSuffix.size() >= sizeof path) {
        return false;
    }
    char* end = path + directory.copy(path, directory.size());
    *end++ = '/';
    end = std::to_chars(end, end + longestId, id).ptr;
    end += kPolicyFileSuffix.copy(end, kPolicyFileSuffix.size());
    *end = '\0';
    return true;
}

// Converts a decimal number with an optional sign and optional blanks around it.
std::optional<int> ToInteger(std::string_view text) {
    constexpr const char* blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    text = text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
    if (text[0] == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text[0] == '-') {
            return std::nullopt;
        }
    }
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

}  // namespace

ZnXml::ZnXml() = default;

ZnXml::~ZnXml() = default;

bool ZnXml::LoadPolicyShareMemory(int id) try {
    impl_.reset();
    Path path;
    if (!MakePolicyPath(path, id)) {
        return false;
    }
    std::optional<PolicyFile> policy = PolicyFile::Open(path);
    if (!policy) {
        return false;
    }
    impl_ = std::make_unique<Impl>(Impl{std::move(*policy)});
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool ZnXml::GetXmlContent(const char* key, std::string& value) try {
    return impl_ && key != nullptr && impl_->policy.Find(key, value);
} catch (const std::bad_alloc&) {
    return false;
}

bool ZnXml::GetXmlContent(const char* key, int& value) {
    std::string text;
    const auto number = GetXmlContent(key, text) ? ToInteger(text) : std::nullopt;
    if (number) {
        value = *number;
    }
    return number.has_value();
}
