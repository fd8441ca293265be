#pragma once

#include <windows.h>

// Replaces an imported function of a loaded module. Returns false if the module does not import it.
bool SetImport(HMODULE module, const char* name, void* function);

// Calls a function with each KelvaroShellExt.dll that is loaded while this object lives, after it
// has been mapped and before its start-up code runs.
class LibraryLoads {
  public:
    explicit LibraryLoads(void (*call)(HMODULE));
    ~LibraryLoads();
    LibraryLoads(const LibraryLoads&) = delete;
    LibraryLoads& operator=(const LibraryLoads&) = delete;

  private:
    void* cookie_ = nullptr;
};
