// Measures the lookup on rule files of many sizes and shapes, beside the engines one would
// otherwise use. On disk the lower bound is a bare read.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <span>

#include "allocations.h"
#include "engines.h"
#include "rule_files.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "support/fixture.h"

namespace bench {
namespace {

struct Shape {
    std::string name;
    int rules;  // 0 if the shape is adversarial
    const wchar_t* program;
    std::string (*make)();
};

constexpr size_t kLarge = size_t{64} << 20;

const Shape kShapes[] = {
    {"10 rules", 10, kProgram, [] { return OrdinaryFile(10); }},
    {"1,000 rules", 1000, kProgram, [] { return OrdinaryFile(1000); }},
    {"100,000 rules", 100'000, kProgram, [] { return OrdinaryFile(100'000); }},
    {"1,000,000 rules", 1'000'000, kProgram, [] { return OrdinaryFile(1'000'000); }},
    {"100,000 similar rules", 100'000, kSimilarProgram, [] { return OrdinaryFile(100'000); }},
    {"100,000 same-name rules", 100'000, kSimilarProgram, [] { return SameNameFile(100'000); }},
    {"one object", 0, kProgram, [] { return OneObject(kLarge); }},
    {"opening braces", 0, kProgram, [] { return OpeningBraces(kLarge); }},
    {"bare keys", 0, kProgram, [] { return BareKeys(1'000'000); }},
    {"escapes", 0, kProgram, [] { return EscapesEverywhere(kLarge); }},
};

// Returns the shape's rule file, which is made on the first call.
const std::string& File(const Shape& shape) {
    static std::map<const Shape*, std::string> files;
    std::string& text = files[&shape];
    if (text.empty()) {
        text = shape.make();
        // simdjson reads past the end.
        text.reserve(text.size() + 256);
    }
    return text;
}

void Lookup(benchmark::State& state, const Engine& engine, const Shape& shape) {
    const std::string& rules = File(shape);
    const std::wstring path = kelvaro::NormalizePath(shape.program);
    ResetAllocations();
    for (auto _ : state) {
        if (engine.locks(rules, path)) {
            state.SkipWithError("reported a lock without a rule");
            break;
        }
    }
    state.counters["bytes"] = static_cast<double>(rules.size());
    state.counters["allocations"] =
        static_cast<double>(CountAllocations().count) / static_cast<double>(state.iterations());
}

class DriveWithRules {
  public:
    explicit DriveWithRules(const Shape& shape) {
        platform::Reset();
        DriveTest::WriteRules(File(shape));
    }
};

void LookupOnDisk(benchmark::State& state, const Shape& shape) {
    const DriveWithRules drive(shape);
    ResetAllocations();
    for (auto _ : state) {
        if (kelvaro::IsTargetLocked(kProgram)) {
            state.SkipWithError("reported a lock without a rule");
            break;
        }
    }
    const auto size = static_cast<double>(File(shape).size());
    state.counters["bytes beyond the file"] =
        static_cast<double>(CountAllocations().peakBytes) - size;
}

// Reads the file into a fresh buffer, as the lookup does.
void ReadOnly(benchmark::State& state, const Shape& shape) {
    const DriveWithRules drive(shape);
    const std::string path = platform::NativePath(DriveTest::kRules);
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const size_t size = File(shape).size();
        const auto buffer = std::make_unique_for_overwrite<char[]>(size);
        if (read(file, buffer.get(), size) != static_cast<ssize_t>(size)) {
            state.SkipWithError("cannot read the file");
        }
        benchmark::DoNotOptimize(buffer[size / 2]);
        close(file);
    }
}

// False if an engine misses a rule or finds one too many, so that its time would mean nothing.
bool EnginesAgree() {
    const std::string rules = OrdinaryFile(10);
    return std::all_of(Engines().begin(), Engines().end(), [&](const Engine& engine) {
        const auto locks = [&](const wchar_t* program) {
            return engine.locks(std::string(rules).append(256, ' '),
                                kelvaro::NormalizePath(program));
        };
        const bool agrees = locks(L"C:\\Program Files\\Maker 8\\Application\\program8.exe") &&
                            !locks(L"C:\\Program Files\\Maker 3\\Application\\program3.exe") &&
                            !locks(L"C:\\Program Files\\Maker 9\\Application\\program9.exe");
        if (!agrees) {
            std::fprintf(stderr, "lookup_bench: wrong result from %s\n", engine.name);
        }
        return agrees;
    });
}

void Register() {
    const auto add = [](const std::string& name, auto function) {
        // NOLINTNEXTLINE(readability-redundant-string-cstr): older versions take a const char*.
        benchmark::RegisterBenchmark(name.c_str(), function)->Unit(benchmark::kMicrosecond);
    };
    for (const Shape& shape : kShapes) {
        const std::string prefix = "lookup/" + shape.name + "/";
        for (const Engine& engine : Engines()) {
            if (shape.rules > 0 ? shape.rules <= engine.maxRules : engine.takesAdversarial) {
                add(prefix + engine.name,
                    [&](benchmark::State& state) { Lookup(state, engine, shape); });
            }
        }
    }
    for (const Shape& shape : std::span(kShapes).subspan(1, 3)) {
        const std::string prefix = "disk/" + shape.name + "/";
        add(prefix + "this library", [&](benchmark::State& state) { LookupOnDisk(state, shape); });
        add(prefix + "bare read", [&](benchmark::State& state) { ReadOnly(state, shape); });
    }
}

}  // namespace
}  // namespace bench

int main(int count, char** arguments) {
    if (!bench::EnginesAgree()) {
        return 1;
    }
    bench::Register();
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
