#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace rightclick {

// Explains whether `rules`, the content of the rule file, lock the program at `program`. The
// verdict is the library's. The object has these keys of the report, which docs/rightclick.1.md
// describes: locked, verdict, line, similar, not_shown, compared, rules.
nlohmann::ordered_json ExplainLock(std::string_view rules, std::wstring_view program);

}  // namespace rightclick
