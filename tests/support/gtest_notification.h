#pragma once

#include <windows.h>

// GoogleTest's own Notification needs std::mutex, which this compiler's thread model lacks; it
// leaves room for another one of that name.
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
