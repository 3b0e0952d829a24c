// Shows what the services make of their environment; the tests run it in places and with
// privileges of their choice. It prints whether the process has raised privileges, then the process
// directory and the policy store, and logs one record. With an argument, it first changes its
// working directory.
#include <unistd.h>

#include <cstdio>

#include "PolicyStore.h"
#include "ZnLogger.h"
#include "ZnSysInfo.h"

int main(int argc, char** argv) {
    if (argc > 1 && chdir(argv[1]) != 0) {
        return 1;
    }
    const bool raised = getuid() != geteuid() || getgid() != getegid();
    puts(raised ? "raised" : "plain");
    puts(ZnSysInfo::GetCurrentProcessDirectory().c_str());
    puts(PolicyStore::DefaultDirectory().c_str());
    ZnLogger::GetInstance()->Log("EnvironmentProbe.cpp", 1, "main", " ", "", LogLevelInfo, "probe");
    return 0;
}
