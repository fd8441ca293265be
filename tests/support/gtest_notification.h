#pragma once

#include <windows.h>

// Replaces GoogleTest's Notification, which needs std::mutex. This compiler's thread model has
// none.
namespace testing::internal {

class Notification {
  public:
    Notification() = default;
    ~Notification() { CloseHandle(event_); }
    Notification(const Notification&) = delete;
    Notification& operator=(const Notification&) = delete;

    void Notify() { SetEvent(event_); }
    void WaitForNotification() { WaitForSingleObject(event_, INFINITE); }

  private:
    HANDLE event_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

}  // namespace testing::internal
