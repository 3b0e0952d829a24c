// A program of another project: prints an item of a published policy and the number of its items.
#include <cstdio>

#include "PolicyStore.h"
#include "ZnIdtVek.h"

int main() {
    std::printf("%d %zu\n", ZnIdtVek::ReadIdtPolicy(1001), PolicyStore().Read(1001).size());
}
