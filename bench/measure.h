// What the benchmarks share: a name for each, and the clock around the operation alone.
//
// A benchmark is called <figure>/<contender>/<case>; scripts/bench-report.py reads the names.
#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <time.h>

#include <string>
#include <utility>

/// Processor time of this thread, in user and system mode, in seconds: files are in memory and nothing waits, so that
/// this is the time that passes on a machine with nothing else to do, and it is right on a busy one too.
inline double Now() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Where an operation finds memory. kFresh: what earlier ones freed has gone back to the system, and a new page costs
/// what it costs a host that opens its first document; otherwise it would be chance whose leavings one gets. kKept:
/// malloc keeps all that is freed, as in a host that has told it to, and from the second operation on no page is new;
/// in a process of its own, for this is for good. kWarm: as it comes, for what is small.
enum class Memory { kFresh, kKept, kWarm };

inline void KeepMemory() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);  // never
}

/// Runs `prepare`, `operation` on what it gave, and the destructor of that, again and again; only `operation` is timed.
/// It gives false when it failed, and then there is no figure.
template <class Prepare, class Operation>
void Measure(benchmark::State& state, Prepare&& prepare, Operation&& operation, Memory memory = Memory::kFresh) {
    if (memory == Memory::kKept) KeepMemory();
    for ([[maybe_unused]] auto _ : state) {
        auto subject = prepare();
        if (memory == Memory::kFresh) malloc_trim(0);
        const double start = Now();
        const bool isDone = operation(*subject);
        const double end = Now();
        if (!isDone) {
            state.SkipWithError("the operation failed");
            break;
        }
        state.SetIterationTime(end - start);
    }
}

/// Registers a benchmark that times itself, as Measure does.
template <class Function>
benchmark::internal::Benchmark* Register(const std::string& figure, const std::string& contender,
                                         const std::string& label, Function&& function) {
    const std::string name = figure + '/' + contender + '/' + label;
    return benchmark::RegisterBenchmark(name.c_str(), std::forward<Function>(function))->UseManualTime();
}

void RegisterLoad();
void RegisterRelease();
void RegisterAttributes();
void RegisterSave();
void RegisterConvert();
void RegisterCopies();
void RegisterEdits();
void RegisterScript();
