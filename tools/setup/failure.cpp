#include "setup/failure.h"

#include "rightclick/result_text.h"

namespace setup {
namespace {

const char* Advice(DWORD error) noexcept {
    switch (error) {
        case ERROR_ACCESS_DENIED:
        case ERROR_PRIVILEGE_NOT_HELD:
            return "Close programs that use it, or run setup as a user who may change it.";
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
        case ERROR_USER_MAPPED_FILE:
            return "Close the program that uses it and run setup again.";
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return "Free some space and run setup again.";
        default:
            return "Check the path and run setup again.";
    }
}

}  // namespace

std::string Quoted(const std::wstring& text) {
    return '"' + rightclick::Printable(text) + '"';
}

void Require(bool success, const std::string& action, const std::wstring& name) {
    const DWORD error = GetLastError();
    if (!success) {
        const std::string words = rightclick::SystemText(HRESULT_FROM_WIN32(error));
        throw Failure("Cannot " + action + ' ' + Quoted(name) + ": " +
                      (words.empty() ? "error " + std::to_string(error) : words) + ". " +
                      Advice(error));
    }
}

void RequireStatus(LSTATUS status, const std::string& action, const std::wstring& name) {
    SetLastError(static_cast<DWORD>(status));
    Require(status == ERROR_SUCCESS, action, name);
}

}  // namespace setup
