// The rules by which an installation selects package zips, shared with the program's installation
// plan.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ZnPackageInfo.h"
#include "ZnSide.h"

// Returns the text of a record's field, at most `limit` characters. A field of a record that came
// in a message may lack its NUL.
template <std::size_t N>
std::string_view FieldText(const char (&field)[N], std::size_t limit = N) {
    return {field, strnlen(field, limit)};
}

// Returns the substring that marks a path as a zip of `side`, or null for an invalid side.
inline const char* SideMark(ZnSide side) {
    switch (side) {
        case SERVER_SIDE:
            return "_Server";
        case CLIENT_SIDE:
            return "_Client";
    }
    return nullptr;
}

// Whether `path` is a zip of `side`: it contains the side's mark and ".zip", anywhere.
inline bool IsZipOfSide(const std::string& path, ZnSide side) {
    const char* const mark = SideMark(side);
    return mark != nullptr && path.find(mark) != std::string::npos &&
           path.find(".zip") != std::string::npos;
}

// Whether `path` is a release bundle: a zip of package zips, unpacked but not installed itself.
inline bool IsReleaseBundle(const std::string& path) {
    return path.find("_Release.zip") != std::string::npos;
}

// An index of records by the digest of their zip, so that a selection costs little beside hashing
// the zips (the bound of the benchmark list). The records must outlive it.
class RecordsByDigest {
   public:
    explicit RecordsByDigest(const std::vector<ZnPackageInfo>& records) {
        for (const ZnPackageInfo& record : records) {
            index_[FieldText(record.sha256Hash, kDigestLength)].push_back(&record);
        }
    }

    // Returns the records, in their order, whose digest equals `digest` in its first 64 characters.
    const std::vector<const ZnPackageInfo*>& Find(const std::string& digest) const {
        static const std::vector<const ZnPackageInfo*> kNone;
        const auto found = index_.find({digest.c_str(), strnlen(digest.c_str(), kDigestLength)});
        return found != index_.end() ? found->second : kNone;
    }

   private:
    static constexpr std::size_t kDigestLength = 64;

    std::unordered_map<std::string_view, std::vector<const ZnPackageInfo*>> index_;
};
