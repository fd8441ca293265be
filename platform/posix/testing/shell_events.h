#pragma once

#include <windef.h>

#include <functional>
#include <string>

namespace compat {

// How often the shell was told that handler associations changed.
size_t AssociationChanges() noexcept;

// How the last process was asked for.
struct ProcessRequest {
    DWORD creationFlags;
    DWORD startupFlags;
    WORD showWindow;
    BOOL inheritsHandles;
};
ProcessRequest LastProcessRequest() noexcept;

// A message box as a program asked for it.
struct MessageBox {
    HWND owner;
    std::wstring text;
    std::wstring caption;
    UINT style;
};

// Answers message boxes instead of the terminal while it lives. One at a time.
class MessageBoxReceiver {
  public:
    explicit MessageBoxReceiver(std::function<void(const MessageBox&)> receive);
    ~MessageBoxReceiver();
    MessageBoxReceiver(const MessageBoxReceiver&) = delete;
    MessageBoxReceiver& operator=(const MessageBoxReceiver&) = delete;
};

}  // namespace compat
