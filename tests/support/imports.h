#pragma once

#include <windows.h>

// Replaces an imported function of a loaded module. Returns false if the module does not import it.
bool SetImport(HMODULE module, const char* name, void* function);

// Makes all calls of `function` in this process call `replacement`, until its module is unloaded.
void ReplaceCode(void* function, void* replacement);
