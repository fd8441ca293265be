// Checks that no content of a shortcut file makes the compatibility layer's parser read outside it.

#include "input.h"
#include "internal/link_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto target = compat::ReadLinkFile(fuzz::Bytes(data, size));
    fuzz::Require(!target || target->rawPath.size() <= size);
    return 0;
}
