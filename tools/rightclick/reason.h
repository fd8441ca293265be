#pragma once

#include <string>
#include <vector>

#include "rightclick/options.h"
#include "rightclick/right_click.h"

namespace rightclick {

// Returns why the extension rejects the selection `files`, in the user's terms. Empty if it accepts
// it or for a reason that the files do not show.
std::string ExplainSelection(const std::vector<std::wstring>& files);

// Returns why `outcome` has no item: in the user's terms, then the result of the call in brackets.
std::string ExplainNoItem(const Options& options, const Outcome& outcome);

}  // namespace rightclick
