#pragma once

#include <string>

// The stand-in prompt, started for real: it writes down how it was called.

// Puts the prompt at `path`.
void InstallPrompt(const std::wstring& path);

struct PromptCall {
    std::string commandLine;
    std::string directory;
};

// Waits (at most twenty seconds) until the prompt has been called `count` times in this test and
// gives the last call; an empty one when it has not.
PromptCall WaitForPrompt(int count);

// Whether the rules that the prompt wrote lock the program at `path`.
bool IsLockedByPrompt(const std::wstring& path);
