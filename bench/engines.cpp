#include "engines.h"

#include <windows.h>

#include "common/code_page.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"

namespace bench {
namespace {

bool OwnScanner(const std::string& rules, std::wstring_view canonicalPath) {
    return kelvaro::AnyRuleLocks(rules, canonicalPath);
}

}  // namespace

bool IsTarget(std::string_view target, std::wstring_view canonicalPath) {
    return kelvaro::NormalizePath(kelvaro::WideFromBytes(CP_UTF8, 0, target)) == canonicalPath;
}

const std::vector<Engine>& Engines() {
    constexpr int kMillion = 1'000'000;
    static const std::vector<Engine> engines = {
        {"own", OwnScanner, kMillion, true},
        {"std::regex as worded", StdRegexAsWorded, 1000, false},
        {"std::regex compiled once", StdRegexCompiledOnce, 100'000, false},
#ifdef KELVARO_HAS_PCRE2
        {"PCRE2 compiled", Pcre2Compiled, kMillion, true},
#endif
#ifdef KELVARO_HAS_RE2
        {"RE2 compiled", Re2Compiled, kMillion, true},
#endif
#ifdef KELVARO_HAS_SIMDJSON
        {"simdjson on demand", SimdjsonOnDemand, kMillion, false},
#endif
#ifdef KELVARO_HAS_RAPIDJSON
        {"RapidJSON", RapidjsonDocument, kMillion, false},
#endif
    };
    return engines;
}

}  // namespace bench
