#pragma once

#include <windows.h>

#include <functional>

// Replaces an imported function of a loaded module. Does nothing if the module does not import it.
void SetImport(HMODULE module, const char* name, void* function);

// Replaces an imported function of a loaded module while it lives. Fails the test if the module
// does not import it.
class ScopedImport {
  public:
    ScopedImport(HMODULE module, const char* name);
    ~ScopedImport();
    ScopedImport(const ScopedImport&) = delete;
    ScopedImport& operator=(const ScopedImport&) = delete;

    // Returns the function that the module imported.
    void* Original() const { return original_; }

    void Replace(void* function);

  private:
    void** entry_;  // in the import table; null if the module does not import the function
    void* original_;
};

// Calls a function with each KelvaroShellExt.dll that is loaded while this object lives, after it
// has been mapped and before its start-up code runs, and with null when it is unloaded.
class LibraryLoads {
  public:
    explicit LibraryLoads(std::function<void(HMODULE)> call);
    ~LibraryLoads();
    LibraryLoads(const LibraryLoads&) = delete;
    LibraryLoads& operator=(const LibraryLoads&) = delete;

  private:
    std::function<void(HMODULE)> call_;
    void* cookie_ = nullptr;
};
