#include "support/prompt.h"

#include <windows.h>

#include "support/fixture.h"

void InstallPrompt(const std::wstring& path) {
    DriveTest::Copy(platform::BuiltFile(KELVARO_PROMPT), path);
    DriveTest::MakeDirectory(std::wstring(DriveTest::kData) + L"\\config");
}

PromptCall WaitForPrompt(int count) {
    const std::wstring calls = std::wstring(DriveTest::kData) + L"\\config\\auth_prompt_calls.txt";
    constexpr int kTries = 1000;
    for (int attempt = 0; attempt < kTries; ++attempt) {
        std::vector<std::string> lines;
        std::string text = DriveTest::Read(calls);
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
