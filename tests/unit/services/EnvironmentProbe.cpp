// Shows what the services make of their environment; the tests run it in places and with
// privileges of their choice. It prints whether the process has raised privileges, then the process
// directory, and logs one record.
#include <unistd.h>

#include <cstdio>

#include "ZnLogger.h"
#include "ZnSysInfo.h"

int main() {
    const bool raised = getuid() != geteuid() || getgid() != getegid();
    puts(raised ? "raised" : "plain");
    puts(ZnSysInfo::GetCurrentProcessDirectory().c_str());
    ZnLogger::GetInstance()->Log("EnvironmentProbe.cpp", 1, "main", " ", "", LogLevelInfo, "probe");
    return 0;
}
