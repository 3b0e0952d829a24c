#include "ZnIni.h"

#include <pthread.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

#include "IniCache.h"

namespace {

constexpr int kFound = 0;
constexpr int kMissing = -1;

// Copies `text` into `buffer`, cut to fit and terminated. The two may overlap.
void CopyCut(std::string_view text, char* buffer, int bufferSize) {
    const size_t length = std::min(text.size(), static_cast<size_t>(bufferSize) - 1);
    memmove(buffer, text.data(), length);
    buffer[length] = '\0';
}

std::optional<FileContents> ReadNow(const char* path) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return ReadContents(path, now);
}

// Never destroyed, because other libraries may still read settings while the process ends.
IniCache& cache = *new IniCache({StampOf, ReadNow});

// Keeps the cache usable in a child process forked while another thread is inside it.
[[maybe_unused]] const int forkHandlers =
    pthread_atfork([] { cache.Lock(); }, [] { cache.Unlock(); }, [] { cache.Unlock(); });

// Returns the document in `file`; null when it cannot be read or memory runs out.
std::shared_ptr<const IniDocument> Open(const char* file) try {
    return file != nullptr ? cache.Open(file) : nullptr;
} catch (const std::exception&) {
    return nullptr;
}

// Returns the value of `key` in `[section]`, or null. It lives as long as the document.
const char* FindValue(const IniDocument* document, const char* section, const char* key) {
    const bool isComplete = document != nullptr && section != nullptr && key != nullptr;
    return isComplete ? document->Value(section, key) : nullptr;
}

// Parses `text` as a decimal number with an optional sign.
std::optional<int> ParseInt(std::string_view text) {
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    const char* const begin = text.data() + (plus ? 1 : 0);
    const char* const end = text.data() + text.size();
    int number = 0;
    const auto result = std::from_chars(begin, end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return number;
}

}  // namespace

int IniGetString(const char* section, const char* key, const char* defaultValue, char* buffer,
                 int bufferSize, const char* file) {
    if (buffer == nullptr || bufferSize < 1) {
        return kMissing;
    }
    const auto document = Open(file);
    const char* const value = FindValue(document.get(), section, key);
    if (value == nullptr) {
        CopyCut(defaultValue != nullptr ? defaultValue : "", buffer, bufferSize);
        return kMissing;
    }
    CopyCut(value, buffer, bufferSize);
    return kFound;
}

int IniGetInt(const char* section, const char* key, int defaultValue, const char* file) {
    const auto document = Open(file);
    const char* const value = FindValue(document.get(), section, key);
    return value != nullptr ? ParseInt(value).value_or(defaultValue) : defaultValue;
}

int IniGetStringItems(const char* section, std::set<std::string>& keys, const char* file) try {
    const auto document = Open(file);
    if (!document || section == nullptr || !document->HasSection(section)) {
        keys.clear();
        return kMissing;
    }
    keys = document->Keys(section);  // built first, because `section` may point into `keys`
    return kFound;
} catch (const std::exception&) {
    keys.clear();
    return kMissing;
}
