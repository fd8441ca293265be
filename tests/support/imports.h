#pragma once

#include <windows.h>

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
