#include "rightclick/right_click.h"

#include <shlobj.h>

#include "common/code_page.h"
#include "common/owners.h"
#include "common/result.h"
#include "rightclick/log_lines.h"
#include "rightclick/platform.h"
#include "rightclick/selection.h"
#include "server/exports.h"
#include "shell_host/library.h"
#include "shell_host/popup_menu.h"

namespace rightclick {
namespace {

using kelvaro::ComPtr;

// The identifier range for the handler. The shell uses smaller ones for its own items.
constexpr UINT kFirstId = 100;
constexpr UINT kLastId = 0x7FFF;
constexpr UINT kTextCapacity = 512;

std::wstring CommandText(IContextMenu& menu, UINT_PTR command, UINT kind) {
    wchar_t text[kTextCapacity] = {};
    const HRESULT result =
        menu.GetCommandString(command, kind, nullptr, reinterpret_cast<LPSTR>(text), kTextCapacity);
    return SUCCEEDED(result) ? text : L"";
}

HRESULT Choose(IContextMenu& menu, const Options& options, UINT_PTR command, HWND owner) {
    // The names are on the stack: a handler recognises a name by non-zero bits 16 to 31 of the
    // pointer, and some heaps are at addresses where these are zero.
    wchar_t wideVerb[kTextCapacity] = {};
    char verb[kTextCapacity] = {};
    lstrcpynW(wideVerb, options.verb.value_or(L"").c_str(), kTextCapacity);
    lstrcpynA(verb, kelvaro::Utf8FromWide(wideVerb).c_str(), kTextCapacity);
    CMINVOKECOMMANDINFOEX request = {};
    request.cbSize = sizeof request;
    request.hwnd = owner;
    request.nShow = SW_SHOWNORMAL;
    request.lpVerb = reinterpret_cast<LPCSTR>(command);
    if (options.verb) {
        request.fMask = CMIC_MASK_UNICODE;
        request.lpVerb = verb;
        request.lpVerbW = wideVerb;
    }
    return menu.InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&request));
}

HRESULT MakeObject(const shell_host::Library& library, REFCLSID clsid,
                   ComPtr<IShellExtInit>& object, LoadStep& step) {
    step = LoadStep::findExport;
    const auto getClassObject = library.Export<decltype(&DllGetClassObject)>("DllGetClassObject");
    if (getClassObject == nullptr) {
        return kelvaro::FailureFromWin32(GetLastError());
    }
    step = LoadStep::createObject;
    ComPtr<IClassFactory> factory;
    const HRESULT result = getClassObject(clsid, IID_IClassFactory, factory.Put());
    return FAILED(result) ? result
                          : factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put());
}

void UseMenu(IContextMenu& handler, const Options& options, Outcome& outcome) {
    const shell_host::PopupMenu popup;
    outcome.query = handler.QueryContextMenu(popup.Handle(), 0, kFirstId, kLastId, options.flags);
    UINT_PTR command = 0;
    if (SUCCEEDED(outcome.query) && popup.Count() > 0) {
        command = popup.Id(0) - kFirstId;
        outcome.item = {popup.Text(0), CommandText(handler, command, GCS_VERBW),
                        CommandText(handler, command, GCS_HELPTEXTW)};
    }
    HWND owner = nullptr;
    bool chosen = options.verb || (options.choose && outcome.item);
    if (options.popup) {
        const auto shown = ShowMenu(popup.Handle(), owner);
        chosen = shown && *shown >= kFirstId && *shown <= kLastId;
        command = chosen ? *shown - kFirstId : command;
    }
    if (chosen) {
        const size_t logSize = LogSize();
        outcome.invoke = Choose(handler, options, command, owner);
        outcome.invokeLog = LogLinesFrom(logSize);
    }
}

void UseObject(IShellExtInit& object, const Options& options, Outcome& outcome) {
    const Selection selection = MakeSelection(options.files);
    const ComPtr<IDataObject> dataObject(selection.dataObject);
    outcome.shellSelection = selection.fromShell;
    outcome.initialize = object.Initialize(nullptr, dataObject.Get(), nullptr);
    ComPtr<IContextMenu> menu;
    if (SUCCEEDED(outcome.initialize) &&
        SUCCEEDED(object.QueryInterface(IID_IContextMenu, menu.Put()))) {
        UseMenu(*menu.Get(), options, outcome);
    }
}

}  // namespace

Outcome RightClick(const Handler& handler, const Options& options) {
    Outcome outcome;
    outcome.library = handler.library;
    outcome.clsid = handler.clsid;
    const shell_host::Library library(handler.library);
    if (!library.IsLoaded()) {
        outcome.load = kelvaro::FailureFromWin32(GetLastError());
        return outcome;
    }
    {
        ComPtr<IShellExtInit> object;
        outcome.load = MakeObject(library, handler.clsid, object, outcome.loadStep);
        if (SUCCEEDED(outcome.load)) {
            UseObject(*object.Get(), options, outcome);
        }
    }
    if (const auto canUnload = library.Export<decltype(&DllCanUnloadNow)>("DllCanUnloadNow")) {
        outcome.canUnload = canUnload();
    }
    return outcome;
}

}  // namespace rightclick
