#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace bench {

// One way to look a program up in the bytes of a rule file.
struct Engine {
    const char* name;
    bool (*locks)(const std::string& rules, std::wstring_view canonicalPath);
    int mostRules;  // larger ordinary files take it too long, or bring it down
    bool awkward;   // whether it can be given the awkward shapes: no JSON, or very long runs
};

// The engines of this build, ours first. What is not installed is left out.
const std::vector<Engine>& Engines();

// Whether a target in UTF-8, decoded, is the program: the same for every engine.
bool IsTarget(std::string_view target, std::wstring_view canonicalPath);

bool StdRegexAsWorded(const std::string& rules, std::wstring_view canonicalPath);
bool StdRegexCompiledOnce(const std::string& rules, std::wstring_view canonicalPath);
bool Pcre2Compiled(const std::string& rules, std::wstring_view canonicalPath);
bool Re2Compiled(const std::string& rules, std::wstring_view canonicalPath);
bool SimdjsonOnDemand(const std::string& rules, std::wstring_view canonicalPath);
bool RapidjsonDocument(const std::string& rules, std::wstring_view canonicalPath);

}  // namespace bench
