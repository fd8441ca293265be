#pragma once

#include <string>
#include <vector>

// Collects the message boxes that are shown while it lives. Works only on the compatibility layer:
// under Wine without a display a box closes at once and is not recorded.
class MessageBoxes {
  public:
    MessageBoxes();
    ~MessageBoxes();
    MessageBoxes(const MessageBoxes&) = delete;
    MessageBoxes& operator=(const MessageBoxes&) = delete;

    // "caption: text" of each box, followed by the style and the owner if they are unusual.
    std::vector<std::string> shown;
    // The last message in the log when each box appeared.
    std::vector<std::string> logged;
    static const bool kCanSee;
};
