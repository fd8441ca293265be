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

// The last step of making the extension's object.
enum class LoadStep { loadLibrary, findExport, createObject };

// The results of one right-click.
struct Outcome {
    std::wstring library;         // of the handler
    CLSID clsid = {};             // of the handler
    bool shellSelection = false;  // the data object comes from the shell
    HRESULT load = E_FAIL;        // of loading the library and creating the object
    LoadStep loadStep = LoadStep::loadLibrary;
    HRESULT initialize = E_FAIL;         // of IShellExtInit::Initialize
    HRESULT query = E_FAIL;              // of QueryContextMenu; the identifiers used on success
    std::optional<Item> item;            // the added item
    std::optional<HRESULT> invoke;       // of InvokeCommand, if the item was chosen
    std::vector<std::string> invokeLog;  // lines added to the log during that call
    HRESULT canUnload = S_FALSE;         // of DllCanUnloadNow at the end
};

// Performs the calls of the shell for a right-click on the files of `options` with `handler`. The
// calling thread must have initialised COM.
Outcome RightClick(const Handler& handler, const Options& options);

}  // namespace rightclick
