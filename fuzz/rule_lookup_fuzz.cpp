// Checks that the lookup and the extraction of fields agree with std::regex on any bytes.

#include <algorithm>

#include "input.h"
#include "oracle/rule_oracle.h"
#include "rules/lock_lookup.h"
#include "rules/rule_fields.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // std::regex recurses once per byte.
    constexpr size_t kLongest = 4096;
    if (size > kLongest) {
        return 0;
    }
    const std::string rules(fuzz::Bytes(data, size));
    const std::vector<std::wstring> locked = oracle::LockedPaths(rules);
    for (const wchar_t* const path :
         {L"a:\\tool.exe", L"\\\\s\\tool.exe", L"\u5DE5\u5177.exe", L"b\nb\\tool", L"tool",
          L"tool\nb", L"tool\\b", L"x\uFFFDtool.exe"}) {
        fuzz::Require(kelvaro::AnyRuleLocks(rules, path) ==
                      (std::find(locked.begin(), locked.end(), path) != locked.end()));
    }
    for (const char* const key : {"type", "target"}) {
        fuzz::Require(kelvaro::ExtractStringField(rules, key, "-") ==
                      oracle::StringField(rules, key, "-"));
    }
    fuzz::Require(kelvaro::ExtractBoolField(rules, "enabled", true) ==
                  oracle::BoolField(rules, "enabled", true));
    return 0;
}
