#include <unistd.h>

#include "console/console.h"

namespace console {

Session::Session() : hasColours_(isatty(STDOUT_FILENO) == 1) {}

Session::~Session() = default;

}  // namespace console
