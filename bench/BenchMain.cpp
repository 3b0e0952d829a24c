// The main function of every benchmark program.
#include <benchmark/benchmark.h>

#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

// Memory that was given back stays with the process: otherwise the first rounds of a benchmark with
// large results would measure how the system hands out pages, and the others would not.
static void KeepFreedMemory() {
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
#endif
}

int main(int argc, char** argv) {
    // What is measured is the work itself, not how fast records go to a terminal.
    setenv("ZN_LOG_LEVEL", "off", 1);
    KeepFreedMemory();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
