#pragma once

#include <cstddef>

namespace bench {

// What the program has allocated since the last call of ResetAllocations.
struct Allocations {
    size_t count;
    size_t peakBytes;  // the most that was held at once, beyond what was held at the reset
};
void ResetAllocations();
Allocations CountAllocations();

}  // namespace bench
