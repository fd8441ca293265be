#pragma once

#include <string>
#include <vector>

// Collects the message boxes that are shown while it lives. Only the layer can answer for the user;
// under Wine without a display a box closes at once and is not seen.
class MessageBoxes {
  public:
    MessageBoxes();
    ~MessageBoxes();
    MessageBoxes(const MessageBoxes&) = delete;
    MessageBoxes& operator=(const MessageBoxes&) = delete;

    // "caption: text", with the style in hex and the owner behind where they are not as expected.
    std::vector<std::string> shown;
    // The last message that was in the log when each of them came up.
    std::vector<std::string> logged;
    static const bool kCanSee;
};
