// Which package zips an installation selects: the rules that the installer and everything that
// predicts it share.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ZnPackageInfo.h"
#include "ZnSide.h"

// The text of a record's field, at most `limit` characters. A record that came in a message may
// lack the terminator.
template <std::size_t N>
std::string_view FieldText(const char (&field)[N], std::size_t limit = N) {
    return {field, strnlen(field, limit)};
}

// The part of a path that marks a zip of this side; null for a value that is no side.
inline const char* SideMark(ZnSide side) {
    switch (side) {
        case SERVER_SIDE:
            return "_Server";
        case CLIENT_SIDE:
            return "_Client";
    }
    return nullptr;
}

// Whether `path` is a package zip of `side`. Both marks may occur anywhere in the path.
inline bool IsZipOfSide(const std::string& path, ZnSide side) {
    const char* const mark = SideMark(side);
    return mark != nullptr && path.find(mark) != std::string::npos &&
           path.find(".zip") != std::string::npos;
}

// Whether `path` is a release bundle: a zip that brings in package zips and is not installed
// itself.
inline bool IsReleaseBundle(const std::string& path) {
    return path.find("_Release.zip") != std::string::npos;
}

// The records of an installation by the digest of their zip. It refers to the records, which must
// outlive it.
class RecordsByDigest {
   public:
    explicit RecordsByDigest(const std::vector<ZnPackageInfo>& records) {
        for (const ZnPackageInfo& record : records) {
            index_[FieldText(record.sha256Hash, kDigestLength)].push_back(&record);
        }
    }

    // The records, in their order, whose digest equals `digest` in its first 64 characters.
    const std::vector<const ZnPackageInfo*>& Find(const std::string& digest) const {
        static const std::vector<const ZnPackageInfo*> kNone;
        const auto found = index_.find({digest.c_str(), strnlen(digest.c_str(), kDigestLength)});
        return found != index_.end() ? found->second : kNone;
    }

   private:
    static constexpr std::size_t kDigestLength = 64;

    std::unordered_map<std::string_view, std::vector<const ZnPackageInfo*>> index_;
};
