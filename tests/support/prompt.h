#pragma once

#include <string>

// Copies the stand-in prompt, a program that records its calls and toggles the rule, to `path`.
void InstallPrompt(const std::wstring& path);

struct PromptCall {
    std::string commandLine;
    std::string directory;
};

// Waits until the prompt has been called `count` times in this test and returns the last call.
// Fails the test after twenty seconds.
PromptCall WaitForPrompt(int count);
