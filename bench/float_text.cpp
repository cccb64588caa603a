// What the shortest text of a float costs: the program's own layout of Dragonbox's digits, with and
// without its cache, against std::to_chars(), fmt and Dragonbox's own text.
//
//   float_text [GOOGLE BENCHMARK'S OPTIONS]
//
// Each writes the same 65536 numbers: "measured" all differ, as a filter's output does; "steps" are
// those of a radar's range bins, of which there are few. Prints, after Google Benchmark's table,
// how fast each is compared with std::to_chars() in the same run, from the median of the
// repetitions. Dragonbox always writes an exponent ("2.5E0"), which is less work but not the text
// that is documented.

#include "tools/format/float_text.h"

#include <benchmark/benchmark.h>
#include <dragonbox/dragonbox_to_chars.h>
#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tools/format/float_cache.h"

namespace {

using Numbers = std::vector<float>;

constexpr size_t kCount = 65536;
constexpr char kReference[] = "std::to_chars";

Numbers measured() {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> value(-60, 60);
    Numbers numbers(kCount);
    for (float& number : numbers) number = value(random);
    return numbers;
}

Numbers steps() {
    std::mt19937 random(1);
    Numbers numbers(kCount);
    for (float& number : numbers) number = static_cast<float>(random() % 80) * 0.043577f;
    return numbers;
}

char* with_to_chars(char* into, float value) {
    return std::to_chars(into, into + Tools::kFloatTextRoom, value).ptr;
}

char* with_fmt(char* into, float value) {
    return fmt::format_to(into, "{}", value);
}

char* with_dragonbox(char* into, float value) {
    return jkj::dragonbox::to_chars_n(value, into);
}

struct Cached {
    char* operator()(char* into, float value) { return cache.write(into, value); }

    Tools::FloatCache cache;
};

template <typename Write>
void add(std::string const& numbers_name, Numbers const& numbers, std::string const& name,
         Write write) {
    const auto run = [numbers, write](benchmark::State& state) mutable {
        std::vector<char> text(kCount * Tools::kFloatTextRoom);
        for (auto _ : state) {
            char* end = text.data();
            for (const float number : numbers) end = write(end, number);
            benchmark::DoNotOptimize(end);
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kCount));
    };
    benchmark::RegisterBenchmark((numbers_name + "/" + name).c_str(), run)
        ->Repetitions(9)
        ->ReportAggregatesOnly();
}

void add_all(std::string const& name, Numbers const& numbers) {
    add(name, numbers, kReference, with_to_chars);
    add(name, numbers, "fmt", with_fmt);
    add(name, numbers, "dragonbox", with_dragonbox);
    add(name, numbers, "own", Tools::write_float);
    add(name, numbers, "own, cached", Cached());
}

/** Remembers the medians, for the ratios. */
class MedianReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(std::vector<Run> const& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (Run const& run : runs) {
            if (run.aggregate_name != "median") continue;
            std::string const& name = run.run_name.function_name;
            const size_t slash = name.find('/');
            medians_[name.substr(0, slash)][name.substr(slash + 1)] = run.GetAdjustedCPUTime();
        }
    }

    void print_ratios() const {
        for (auto const& [numbers, medians] : medians_) {
            const auto reference = medians.find(kReference);
            if (reference == medians.end()) continue;
            for (auto const& [name, median] : medians) {
                std::printf("%-10s %-14s %5.1f ns a number, %4.2f times as fast as %s\n",
                            numbers.c_str(), name.c_str(), median / static_cast<double>(kCount),
                            reference->second / median, kReference);
            }
        }
    }

private:
    std::map<std::string, std::map<std::string, double>> medians_;  // by numbers, by name
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    add_all("measured", measured());
    add_all("steps", steps());
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print_ratios();
    return 0;
}
