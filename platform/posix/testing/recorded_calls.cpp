#include "testing/recorded_calls.h"

#include <algorithm>

namespace compat {

RecordedCalls::RecordedCalls()
    : observer_([this](const CallStart& call) -> std::optional<DWORD> {
          const std::lock_guard lock(mutex_);
          lines_.push_back(call.name + (call.arguments.empty() ? "" : " " + call.arguments));
          return std::nullopt;
      }) {}

std::vector<std::string> RecordedCalls::Lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
}

std::vector<std::string> RecordedCalls::LinesOf(
    std::initializer_list<std::string_view> names) const {
    std::vector<std::string> lines = Lines();
    std::erase_if(lines, [names](const std::string& line) {
        const std::string_view name = std::string_view(line).substr(0, line.find(' '));
        return std::find(names.begin(), names.end(), name) == names.end();
    });
    return lines;
}

size_t RecordedCalls::Count(std::string_view name) const {
    return LinesOf({name}).size();
}

void RecordedCalls::Clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
}

}  // namespace compat
