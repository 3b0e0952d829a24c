#include "PolicyAccess.h"

#include <unistd.h>

#include <stdexcept>
#include <string>

PolicyStore OpenPolicyStore() {
    PolicyStore store;
    if (access(store.Directory().c_str(), F_OK) != 0) {
        throw std::runtime_error(store.Directory() +
                                 ": there is no policy store here; publish a policy first, or "
                                 "name another directory with --store");
    }
    return store;
}

void LoadPolicy(ZnXml& xml, int id) {
    if (!xml.LoadPolicyShareMemory(id)) {
        (void)OpenPolicyStore().Read(id);  // throws unless the policy can be read by now
        throw std::runtime_error("policy " + std::to_string(id) + " cannot be loaded");
    }
}
