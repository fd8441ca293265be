#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "rightclick/handler.h"
#include "rightclick/options.h"

namespace rightclick {

// The menu item that the handler added.
struct Item {
    std::wstring text;
    std::wstring verb;
    std::wstring help;
};

// What became of one right-click.
struct Outcome {
    bool shellSelection = false;    // whether the shell made the data object
    HRESULT load = E_FAIL;          // of loading the library and making the object
    HRESULT initialize = E_FAIL;    // of handing it the selection
    HRESULT query = E_FAIL;         // of asking for items: their number when it succeeded
    std::optional<Item> item;       // the one that was offered
    std::optional<HRESULT> invoke;  // of choosing, where that was asked for
    HRESULT canUnload = S_FALSE;    // S_OK once nothing of the library was in use
};

// Right-clicks the files of `options` with `handler`, step by step as the shell does. COM is
// initialised on the calling thread.
Outcome RightClick(const Handler& handler, const Options& options);

}  // namespace rightclick
