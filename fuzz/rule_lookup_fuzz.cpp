// Checks that the lookup and the extraction of fields agree with std::regex on any bytes.

#include <iterator>

#include "input.h"
#include "oracle/rule_oracle.h"
#include "rules/lock_lookup.h"
#include "rules/rule_fields.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // std::regex recurses once per byte.
    constexpr size_t kLongest = 4096;
    if (size == 0 || size > kLongest) {
        return 0;
    }
    static const std::wstring paths[] = {L"a:\\tool.exe", L"\\\\s\\tool.exe", L"\u5DE5\u5177.exe",
                                         L"tool", L"b\nb\\tool"};
    const std::wstring& path = paths[data[0] % std::size(paths)];
    const std::string rules(fuzz::Bytes(data + 1, size - 1));
    fuzz::Require(kelvaro::AnyRuleLocks(rules, path) == oracle::AnyRuleLocks(rules, path));
    for (const char* const key : {"type", "target"}) {
        fuzz::Require(kelvaro::ExtractStringField(rules, key, "-") ==
                      oracle::StringField(rules, key, "-"));
    }
    fuzz::Require(kelvaro::ExtractBoolField(rules, "enabled", true) ==
                  oracle::BoolField(rules, "enabled", true));
    return 0;
}
