#include "engines.h"

#include <windows.h>

#include "common/code_page.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"

namespace bench {
namespace {

bool ThisLibrary(const std::string& rules, std::wstring_view canonicalPath) {
    return kelvaro::AnyRuleLocks(rules, canonicalPath);
}

}  // namespace

bool IsTarget(std::string_view target, std::wstring_view canonicalPath) {
    return kelvaro::NormalizePath(kelvaro::WideFromBytes(CP_UTF8, 0, target)) == canonicalPath;
}

const std::vector<Engine>& Engines() {
    constexpr int kMillion = 1'000'000;
    static const std::vector<Engine> engines = {
        {"this library", ThisLibrary, kMillion, true},
        {"std::regex, compiled per field", StdRegexPerField, 1000, false},
        {"std::regex, compiled once", StdRegexCompiledOnce, 100'000, false},
#ifdef KELVARO_HAS_PCRE2
        {"PCRE2 with JIT", Pcre2CompiledOnce, kMillion, true},
#endif
#ifdef KELVARO_HAS_RE2
        {"RE2", Re2CompiledOnce, kMillion, true},
#endif
#ifdef KELVARO_HAS_SIMDJSON
        {"simdjson On-Demand", SimdjsonOnDemand, kMillion, false},
#endif
#ifdef KELVARO_HAS_RAPIDJSON
        {"RapidJSON DOM", RapidjsonDocument, kMillion, false},
#endif
    };
    return engines;
}

}  // namespace bench
