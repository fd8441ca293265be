#include "support/prompt.h"

#include <windows.h>

#include "support/fixture.h"

namespace {

constexpr wchar_t kCalls[] = L"C:\\ProgramData\\Vorandel\\Kelvaro\\config\\auth_prompt_calls.txt";

}  // namespace

void InstallPrompt(const std::wstring& path) {
    DriveTest::Copy(platform::BuiltFile(KELVARO_PROMPT), path);
    DriveTest::MakeDirectory(L"C:\\ProgramData\\Vorandel\\Kelvaro\\config");
}

PromptCall WaitForPrompt(int count) {
    constexpr int kTries = 1000;
    for (int attempt = 0; attempt < kTries; ++attempt) {
        std::vector<std::string> lines;
        std::string text = DriveTest::Read(kCalls);
        for (size_t end = 0; (end = text.find('\n')) != std::string::npos;) {
            lines.push_back(text.substr(text.find(": ") + 2, end - text.find(": ") - 2));
            text.erase(0, end + 1);
        }
        if (lines.size() >= size_t{2} * static_cast<size_t>(count)) {
            return {lines[lines.size() - 2], lines[lines.size() - 1]};
        }
        Sleep(20);
    }
    ADD_FAILURE() << "the prompt was not called";
    return {};
}
