// parvel_bench: side by side figures. `make bench` runs it, one figure and case at a time, with interleaved
// repetitions.
#include <cstdio>
#include <exception>

#include "measure.h"

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 4;
    try {
        RegisterLoad();
        RegisterRelease();
        RegisterAttributes();
        RegisterSave();
        RegisterConvert();
        RegisterCopies();
        RegisterEdits();
        RegisterScript();
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "parvel_bench: %s\n", error.what());
        return 5;
    }
    benchmark::Shutdown();
}
