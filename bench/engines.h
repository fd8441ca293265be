#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace bench {

// A way to look up a program in the bytes of a rule file.
struct Engine {
    const char* name;
    bool (*locks)(const std::string& rules, std::wstring_view canonicalPath);
    int maxRules;           // larger files take too long
    bool takesAdversarial;  // false if it requires JSON or recurses once per byte
};

// The engines in this build; the library's own lookup is the first.
const std::vector<Engine>& Engines();

// True if `target`, a decoded UTF-8 string, names the program. All other engines use it.
bool IsTarget(std::string_view target, std::wstring_view canonicalPath);

bool StdRegexPerField(const std::string& rules, std::wstring_view canonicalPath);
bool StdRegexCompiledOnce(const std::string& rules, std::wstring_view canonicalPath);
bool Pcre2CompiledOnce(const std::string& rules, std::wstring_view canonicalPath);
bool Re2CompiledOnce(const std::string& rules, std::wstring_view canonicalPath);
bool SimdjsonOnDemand(const std::string& rules, std::wstring_view canonicalPath);
bool RapidjsonDocument(const std::string& rules, std::wstring_view canonicalPath);

}  // namespace bench
