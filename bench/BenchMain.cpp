// The main function of every benchmark program.
#include <benchmark/benchmark.h>

#include <cstdlib>

int main(int argc, char** argv) {
    // What is measured is the work itself, not how fast records go to a terminal.
    setenv("ZN_LOG_LEVEL", "off", 1);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
