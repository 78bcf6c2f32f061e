#include <benchmark/benchmark.h>

#include <chrono>
#include <exception>
#include <iostream>
#include <regex>

#include "scratch.h"
#include "system.h"
#include "vellox/filesystem.h"

// Measures the library beside its limits, floors and peers. tools/bench builds it, runs it and makes tables of what it
// says; by hand it takes the options of Google Benchmark and these:
//
//   --quick          smaller folders, files and catalogues
//   --jobs=REGEX     these jobs only
//   --count          runs every way once, between marks for strace and callgrind

namespace Vellox::Benchmarks {
namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

// For a count the sizes do not matter, as long as they are many.
Sizes SizesFor(bool quick, bool count) {
    if (count)
        return {4'000, 300, 200, 200, 4 * mebibyte, 64 * mebibyte, {1'000}, {}};
    if (quick)
        return {20'000, 2'000, 500, 200, 64 * mebibyte, 1024 * mebibyte, {1'000, 10'000}, {1'000, 10'000}};
    const std::vector<std::size_t> steps = {1'000, 10'000, 100'000};
    return {100'000, 10'000, 2'000, 1'000, 256 * mebibyte, 4096 * mebibyte, steps, steps};
}

struct Options {
    bool quick = false;
    bool count = false;
    std::regex jobs{"."};
};

// Takes out what is not Google Benchmark's.
Options TakeOptions(int& count, char** words) {
    Options options;
    int kept = 1;
    for (int index = 1; index < count; ++index) {
        const std::string word = words[index];
        if (word == "--quick")
            options.quick = true;
        else if (word == "--count")
            options.count = true;
        else if (word.rfind("--jobs=", 0) == 0)
            options.jobs = word.substr(7);
        else
            words[kept++] = words[index];
    }
    count = kept;
    return options;
}

std::string Name(const Variant& variant) {
    const char* const roles[] = {"limit", "floor", "library", "peer"};
    return variant.job + "/" + roles[static_cast<int>(variant.role)] + "/" + variant.how;
}

Variants Choose(const Options& options, const Sizes& sizes) {
    Variants all;
    const bool withTrash = TakeHomeFolder(Scratch() / "home");
    AddPathText(all);
    AddFiles(all, sizes);
    AddSystemCalls(all, sizes);
    AddProcesses(all, sizes);
    if (withTrash)
        AddTrash(all, sizes);
    for (const std::size_t size : sizes.growth) {
        AddFilesOfSize(all, size);
        if (withTrash)
            AddTrashOfSize(all, size);
    }
    Variants chosen;
    for (Variant& variant : all)
        if (std::regex_search(variant.job, options.jobs))
            chosen.push_back(std::move(variant));
    return chosen;
}

// ---- Times ----

void MeasureRunByRun(benchmark::State& state, const Variant& variant) {
    using Clock = std::chrono::steady_clock;
    for ([[maybe_unused]] auto iteration : state) {
        variant.renew();
        const Clock::time_point start = Clock::now();
        variant.run();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
}

void Measure(benchmark::State& state, const Variant& variant) {
    if (variant.setUp)
        variant.setUp();
    if (variant.renew) {
        MeasureRunByRun(state, variant);
    } else {
        for ([[maybe_unused]] auto iteration : state)
            variant.run();
    }
    state.counters["items"] = static_cast<double>(variant.items);
}

void RunBenchmarks(const Variants& variants) {
    for (const Variant& variant : variants) {
        auto* benchmark = benchmark::RegisterBenchmark(
            Name(variant).c_str(), [&variant](benchmark::State& state) { Measure(state, variant); });
        if (variant.renew)
            benchmark->UseManualTime()->Iterations(1);
        else
            benchmark->UseRealTime();
    }
    benchmark::RunSpecifiedBenchmarks();
}

// ---- Counts ----

// The first run is not counted: it fills what is filled once.
void Count(const Variant& variant) {
    if (variant.setUp)
        variant.setUp();
    if (variant.renew)
        variant.renew();
    variant.run();
    if (variant.renew)
        variant.renew();
    const std::string name = Name(variant) + "/" + std::to_string(variant.items);
    BeginCount(name);
    variant.run();
    EndCount(name);
}

int Run(int count, char** words) {
    const Options options = TakeOptions(count, words);
    const Sizes sizes = SizesFor(options.quick, options.count);
    const Variants variants = Choose(options, sizes);
    benchmark::Initialize(&count, words);
    if (benchmark::ReportUnrecognizedArguments(count, words))
        return 2;
#ifndef __OPTIMIZE__
    std::cerr << "warning: this program was built without optimisation, so its times mean nothing\n";
#endif
    if (options.count) {
        for (const Variant& variant : variants)
            if (CanBeCounted(variant))
                Count(variant);
    } else if (!variants.empty()) {
        RunBenchmarks(variants);
    }
    return 0;
}

} // namespace
} // namespace Vellox::Benchmarks

int main(int count, char** words) {
    try {
        return Vellox::Benchmarks::Run(count, words);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
