#include "PolicySummary.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

bool IsUnreadable(const PolicyStore& store, int id) {
    return access(store.PolicyPath(id).c_str(), R_OK) != 0 && errno == EACCES;
}

std::optional<PolicySummary> SummarizePolicy(const PolicyStore& store, int id) {
    const std::string path = store.PolicyPath(id);
    PolicySummary summary;
    struct stat status = {};
    if (lstat(path.c_str(), &status) == 0) {
        summary.published = status.st_mtime;
    } else if (errno == ENOENT) {
        return std::nullopt;
    }
    try {
        std::vector<PolicyStore::Item> items = store.Read(id);
        summary.itemCount = items.size();
        const auto name =
            std::find_if(items.begin(), items.end(),
                         [](const PolicyStore::Item& item) { return item.key == "PolicyName"; });
        if (name != items.end()) {
            summary.policyName = std::move(name->value);
        }
    } catch (const PolicyStore::Error&) {
        summary.state = IsUnreadable(store, id) ? "unreadable" : "damaged";
    }
    return summary;
}
