#pragma once

#include <string>

#include "setup/command_line.h"

namespace setup {

// Carries out the command. `source` is the directory of this program. Returns what to tell the
// user. Throws Failure.
std::string RunCommand(const Options& options, const std::wstring& source);

}  // namespace setup
