#pragma once

#include <string>

#include "rightclick/explain_fields.h"

namespace rightclick {

// Returns the value of "target" that counts, as a view into the rule. Its data is null if there is
// none.
std::string_view FirstTarget(const Rule& rule);

// Explains why the type keeps `rule` from locking a program. Empty if it does not.
std::string ExplainType(const Rule& rule);

// Returns the type of a rule that is not meant to lock a single program, such as "folder". Empty if
// it is meant to.
std::string OtherType(const Rule& rule);

// Explains that `rule` is "switched off: ..." and what to write instead. Empty if it is not.
std::string ExplainSwitchedOff(const Rule& rule);

// Explains why `rule`, which is not switched off, looks as if it were. Empty if it does not.
std::string ExplainIneffectiveSwitch(const Rule& rule);

// Returns the advice to add a rule for the path `quoted`.
std::string AddRule(const std::string& quoted);

}  // namespace rightclick
