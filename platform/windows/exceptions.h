#pragma once

#include <cstddef>

// The number of bytes that exceptions.cpp allocates in front of each exception object. The runtime
// library keeps its header at the end of them, which takes 160 bytes in g++ 12. A test compares.
inline constexpr std::size_t kExceptionHeaderRoom = 256;
