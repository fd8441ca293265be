#pragma once

#include <windef.h>

#include <functional>
#include <string>

namespace compat {

// Returns how often the shell was notified that handler associations changed.
size_t AssociationChanges() noexcept;

// How the last process was requested.
struct ProcessRequest {
    DWORD creationFlags;
    DWORD startupFlags;
    WORD showWindow;
    BOOL inheritsHandles;
};
ProcessRequest LastProcessRequest() noexcept;

// The arguments of MessageBoxW.
struct MessageBox {
    HWND owner;
    std::wstring text;
    std::wstring caption;
    UINT style;
};

// Receives message boxes while it lives, instead of standard error. One at a time.
class MessageBoxReceiver {
  public:
    explicit MessageBoxReceiver(std::function<void(const MessageBox&)> receive);
    ~MessageBoxReceiver();
    MessageBoxReceiver(const MessageBoxReceiver&) = delete;
    MessageBoxReceiver& operator=(const MessageBoxReceiver&) = delete;
};

}  // namespace compat
