// A file system in memory, in place of libZnFileSys, access() and rename(): a fuzzed manifest names
// any path of the machine, and none of them may be touched. Paths are plain texts: no links, no
// "..".
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

struct MemoryFiles {
    // Contents by path.
    std::map<std::string, std::string> files;

    // Directories that were asked for.
    std::set<std::string> directories;

    // While set, access() and rename() work on this file system; libFuzzer, which shares them, has
    // the machine's otherwise.
    bool inForce = false;

    // What was removed and copied, in order: "remove" and the path; "copy" and the destination, or
    // "copy over" when there was a file.
    struct Change {
        std::string what;
        std::string path;
    };
    std::vector<Change> changes;

    static MemoryFiles& Get();
};
