// The memory of a synchronisation does not depend on the number of documents. 50 documents a round:
// scripts/torture with 2000 rounds has 100,000.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "PolicySync.h"
#include "TemporaryDirectory.h"
#include "Torture.h"

namespace {

// In bytes.
long PeakMemory() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
#ifdef __APPLE__
    return usage.ru_maxrss;
#else
    return usage.ru_maxrss * 1024;
#endif
}

std::string Document(uint64_t id) {
    std::string document = "<Policy>";
    for (int i = 0; i < 40; ++i) {
        document += "<ItemWithSomeName" + std::to_string(i) + ">" + std::to_string(id + 1000) +
                    "</ItemWithSomeName" + std::to_string(i) + ">\n";
    }
    return document + "</Policy>";
}

}  // namespace

TEST(PolicySyncMemory, StaysBelow64MiB) {
    const TemporaryDirectory directory;
    const uint64_t count = 50 * Rounds();
    for (uint64_t id = 0; id < count; ++id) {
        WriteFile(directory / "documents/" + std::to_string(id) + ".xml", Document(id));
    }
    const ProcessResult result = RunInChild([&] {
        SyncOptions options;
        options.directory = directory / "documents";
        options.jobs = 4;
        const PolicyStore store(directory / "store");
        const bool published = SyncPolicies(store, options).published.size() == count;
        const bool unchanged = SyncPolicies(store, options).unchanged == count;
        std::cout << count << " documents, peak memory " << PeakMemory() / 1024 << " KiB";
        std::exit(published && unchanged && PeakMemory() < 64L << 20 ? 0 : 1);
    });
    std::cout << result.out << '\n';
    EXPECT_TRUE(result.Succeeded()) << result;
}
