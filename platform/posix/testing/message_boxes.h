#pragma once

#include <windef.h>

#include <functional>
#include <string>

namespace compat {

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
