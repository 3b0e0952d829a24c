// Making a policy store equal to a directory of documents.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "PolicyStore.h"

struct SyncOptions {
    std::string directory;  // has the documents, called <id>.xml
    bool removeOthers = false;
    bool dryRun = false;
    unsigned jobs = 1;  // threads, at least 1; the limit of open files may allow fewer
};

struct SyncResult {
    std::vector<int> published;  // ascending
    std::vector<int> removed;    // ascending
    std::size_t unchanged = 0;
    // "FILE:LINE:COLUMN: REASON" of documents, or "ACTION: ...": of misnamed files, then by id.
    std::vector<std::string> problems;
    std::vector<std::string> ignored;  // files that are called .xml, but not <id>.xml
};

// Publishes the documents whose policies differ from those of the store and, with `removeOthers`,
// removes policies that have no document. Documents that cannot be published are reported and keep
// their policies; nothing is removed while a file's name is almost one of a document ("007.xml").
// With `dryRun`, changes nothing and returns what would change.
//
// Throws std::runtime_error when the directory cannot be read, when all policies would be removed
// because it has no documents, and when the store cannot be written. Throws Interrupted when a
// signal noted by the current InterruptScope stopped it. What was published before stays.
SyncResult SyncPolicies(const PolicyStore& store, const SyncOptions& options);
