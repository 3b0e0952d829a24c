// A product's process that reads a policy through libZnPolicy: PolicyReader ID prints the policy's
// data transport flag, then the files that the process has mapped.
#include <fstream>
#include <iostream>
#include <string>

#include "ZnIdtVek.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    std::cout << ZnIdtVek::ReadIdtPolicy(std::stoi(argv[1])) << "\n"
              << std::ifstream("/proc/self/maps").rdbuf();
    return 0;
}
