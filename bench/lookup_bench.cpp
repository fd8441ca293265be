// How long the lookup takes on rule files of many sizes and shapes, beside what one would otherwise
// use and beside the floor.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <memory>

#include "allocations.h"
#include "engines.h"
#include "rule_files.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "support/fixture.h"

namespace bench {
namespace {

const std::string& File(const std::string& name) {
    static std::map<std::string, std::string> made;
    std::string& text = made[name];
    if (text.empty()) {
        constexpr size_t kLarge = size_t{64} << 20;
        text = name == "one object"       ? OneObject(kLarge)
               : name == "opening braces" ? OpeningBraces(kLarge)
               : name == "bare keys"      ? BareKeys(1'000'000)
               : name == "escapes"        ? EscapesEverywhere(kLarge)
                                          : OrdinaryFile(std::stoi(name));
        // Some engines read behind the end; give them room there.
        text.reserve(text.size() + 256);
    }
    return text;
}

void Lookup(benchmark::State& state, const Engine& engine, const std::string& name) {
    const std::string& rules = File(name);
    const std::wstring path =
        kelvaro::NormalizePath(name == "100000 alike" ? kAlikeProgram : kProgram);
    ResetAllocations();
    for (auto _ : state) {
        if (engine.locks(rules, path)) {
            state.SkipWithError("found a program that is not there");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(rules.size()) * state.iterations());
    state.counters["bytes"] = static_cast<double>(rules.size());
    state.counters["allocations"] =
        static_cast<double>(CountAllocations().count) / static_cast<double>(state.iterations());
}

void Memchr(benchmark::State& state, const std::string& name) {
    const std::string& rules = File(name);
    for (auto _ : state) {
        // NOLINTNEXTLINE(bugprone-not-null-terminated-result): searched, not copied
        benchmark::DoNotOptimize(std::memchr(rules.data(), '\x01', rules.size()));
    }
    state.SetBytesProcessed(static_cast<int64_t>(rules.size()) * state.iterations());
}

// A drive with the rule file of a size on it.
class DriveWithRules {
  public:
    explicit DriveWithRules(const std::string& name) {
        platform::Reset();
        DriveTest::WriteRules(File(name));
    }
};

void LookupOnDisk(benchmark::State& state, const std::string& name) {
    const DriveWithRules drive(name);
    ResetAllocations();
    for (auto _ : state) {
        if (kelvaro::IsTargetLocked(kProgram)) {
            state.SkipWithError("found a program that is not there");
            break;
        }
    }
    const auto size = static_cast<double>(File(name).size());
    state.counters["peak beyond the file"] =
        static_cast<double>(CountAllocations().peakBytes) - size;
}

// The floor: the system's own calls, into memory that is new as well.
void ReadOnly(benchmark::State& state, const std::string& name) {
    const DriveWithRules drive(name);
    const std::string path = platform::NativePath(DriveTest::kRules);
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const size_t size = File(name).size();
        const auto buffer = std::make_unique_for_overwrite<char[]>(size);
        if (read(file, buffer.get(), size) != static_cast<ssize_t>(size)) {
            state.SkipWithError("cannot read the file");
        }
        benchmark::DoNotOptimize(buffer[size / 2]);
        close(file);
    }
}

void Register() {
    const auto add = [](const std::string& name, auto function) {
        benchmark::RegisterBenchmark(name.c_str(), function)->Unit(benchmark::kMicrosecond);
    };
    for (const std::string name : {"10", "1000", "100000", "1000000", "100000 alike", "one object",
                                   "opening braces", "bare keys", "escapes"}) {
        const int rules = name[0] >= '0' && name[0] <= '9' ? std::stoi(name) : 0;
        const std::string prefix = "lookup/" + name + "/";
        for (const Engine& engine : Engines()) {
            if (rules > 0 ? rules <= engine.mostRules : engine.awkward) {
                add(prefix + engine.name,
                    [&engine, name](benchmark::State& state) { Lookup(state, engine, name); });
            }
        }
        add(prefix + "memchr", [name](benchmark::State& state) { Memchr(state, name); });
    }
    for (const std::string name : {"1000", "100000", "1000000"}) {
        const std::string prefix = "disk/" + name + "/";
        add(prefix + "own", [name](benchmark::State& state) { LookupOnDisk(state, name); });
        add(prefix + "read", [name](benchmark::State& state) { ReadOnly(state, name); });
    }
}

}  // namespace
}  // namespace bench

int main(int count, char** arguments) {
    bench::Register();
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
