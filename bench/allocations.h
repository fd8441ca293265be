#pragma once

#include <cstddef>

namespace bench {

// What operator new has allocated since the last ResetAllocations.
struct Allocations {
    size_t count;
    size_t peakBytes;  // the maximum held at one time
};
void ResetAllocations();
Allocations CountAllocations();

}  // namespace bench
