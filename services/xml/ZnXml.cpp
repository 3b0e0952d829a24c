#include "ZnXml.h"

#include <charconv>
#include <climits>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "PolicyFile.h"
#include "PolicyNumber.h"

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
    const auto number = GetXmlContent(key, text) ? PolicyNumber(text) : std::nullopt;
    if (number) {
        value = *number;
    }
    return number.has_value();
}
