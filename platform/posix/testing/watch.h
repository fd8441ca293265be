#pragma once

#include <functional>
#include <memory>

namespace compat {

// Store and return the receiver of a function's calls. Null: none.
void SetReceiver(const void* function, std::shared_ptr<void> receiver);
std::shared_ptr<void> ReceiverOf(const void* function);

template <auto Function>
class Watch;

// Calls a receiver with the arguments of each call of `Function` while it lives, on the thread that
// makes the call. At most one Watch of a function may live. Works for the functions that call Pass.
template <class Result, class... Arguments, Result (*Function)(Arguments...) noexcept>
class Watch<Function> {
  public:
    using Receiver = std::function<void(Arguments...)>;

    explicit Watch(Receiver receiver) {
        SetReceiver(Key(), std::make_shared<Receiver>(std::move(receiver)));
    }
    ~Watch() { SetReceiver(Key(), nullptr); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    // Passes the arguments to the receiver. False if there is none.
    static bool Pass(Arguments... arguments) {
        const auto receiver = std::static_pointer_cast<Receiver>(ReceiverOf(Key()));
        if (receiver) {
            (*receiver)(arguments...);
        }
        return receiver != nullptr;
    }

  private:
    static const void* Key() noexcept { return reinterpret_cast<const void*>(Function); }
};

}  // namespace compat
