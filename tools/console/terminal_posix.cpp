#include <unistd.h>

#include "console/console.h"

namespace console {

bool IsTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

}  // namespace console
