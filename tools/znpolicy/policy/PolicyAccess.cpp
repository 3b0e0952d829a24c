#include "PolicyAccess.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

PolicyStore OpenPolicyStore() {
    PolicyStore store;
    if (access(store.Directory().c_str(), F_OK) == 0) {
        return store;
    }
    const bool isMissing = errno == ENOENT || errno == ENOTDIR;
    throw std::runtime_error(store.Directory() + ": " +
                             (isMissing ? "there is no policy store here; publish a policy first, "
                                          "or name another directory with --store"
                                        : std::strerror(errno)));
}

void LoadPolicy(ZnXml& xml, int id) {
    if (!xml.LoadPolicyShareMemory(id)) {
        (void)OpenPolicyStore().Read(id);  // throws unless the policy can be read by now
        throw std::runtime_error("policy " + std::to_string(id) + " cannot be loaded");
    }
}
