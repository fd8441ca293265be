#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

// Closes and collects the message boxes of this process while it lives.
class MessageBoxes {
  public:
    MessageBoxes();
    ~MessageBoxes();
    MessageBoxes(const MessageBoxes&) = delete;
    MessageBoxes& operator=(const MessageBoxes&) = delete;

    void Add(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style);

    // "caption: text" of each box, followed by the style and the owner if they are unusual.
    std::vector<std::string> shown;
    // The last message in the log when each box appeared.
    std::vector<std::string> logged;
    // Called while a box is open.
    std::function<void()> whileOpen = [] {};
};
