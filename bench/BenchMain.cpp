// The main function of every benchmark program.
#include <benchmark/benchmark.h>

#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

// Keeps freed memory in the process. Otherwise only the first rounds of a benchmark with large
// results would include page faults.
static void KeepFreedMemory() {
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
#endif
}

int main(int argc, char** argv) {
    // Log records are not part of the measured work.
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
