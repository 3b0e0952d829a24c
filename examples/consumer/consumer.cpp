// consumer ID: prints the data transport flag of a session, as the library reads it, and how many
// items the session's policy has.
#include <PolicyStore.h>
#include <ZnIdtVek.h>
#include <ZnPolicyVersion.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    static_assert(kZnPolicyVersion >= 10100, "needs libZnPolicy 1.1");
    if (argc != 2) {
        std::fprintf(stderr, "usage: consumer ID\n");
        return 2;
    }
    const int id = std::atoi(argv[1]);
    const int flag = ZnIdtVek::ReadIdtPolicy(id);  // logs an error, and is 0, without a policy
    try {
        std::printf("data transport flag %d, %zu items\n", flag, PolicyStore().Read(id).size());
    } catch (const PolicyStore::Error& error) {
        std::fprintf(stderr, "consumer: %s\n", error.what());
        return 1;
    }
}
