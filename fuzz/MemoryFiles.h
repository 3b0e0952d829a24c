// A file system in memory that replaces libZnFileSys, access() and rename(), because a fuzzed
// manifest may name any path of the machine. Paths are compared as text, without links or "..".
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

struct MemoryFiles {
    // Contents by path.
    std::map<std::string, std::string> files;

    // Created directories.
    std::set<std::string> directories;

    // Whether access() and rename() work on this file system. libFuzzer uses them as well.
    bool inForce = false;

    // Changes in order: "remove" with the path; "copy", or "copy over" for an existing file, with
    // the destination.
    struct Change {
        std::string what;
        std::string path;
    };
    std::vector<Change> changes;

    static MemoryFiles& Get();
};
