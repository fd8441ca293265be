#pragma once

#include <cstddef>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "internal/call.h"

namespace compat {

// Records the platform calls of the process while it lives, including those that a test makes fail.
// A line is the call's name and the arguments that matter, for example
//     CreateFileW C:\Test\file access=0x80000000 share=7 disposition=3 flags=0x8000000
// Unsigned numbers above 9 are in hexadecimal. Methods have their interface's name in front, such
// as IPersistFile::Load. A call that the platform makes inside another one is not recorded.
class RecordedCalls {
  public:
    RecordedCalls();

    // Returns the lines of all calls, in their order.
    std::vector<std::string> Lines() const;

    // Returns the lines of the calls of `names`, in their order.
    std::vector<std::string> LinesOf(std::initializer_list<std::string_view> names) const;

    // Returns how often `name` was called.
    size_t Count(std::string_view name) const;

    // Discards the lines so far.
    void Clear();

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    ScopedCallObserver observer_;  // declared last: it uses the members above
};

}  // namespace compat
