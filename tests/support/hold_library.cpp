// Holds a file as another program would, for the test of the installation scripts:
//   hold_library LIBRARY      loads LIBRARY and prints its item's verb
//   hold_library --open FILE  opens FILE so that it cannot be renamed
// Prints its line for each line of the standard input. Ends after the line "end".

#include <windows.h>

#include <shlobj.h>

#include <iostream>
#include <string>

#include "common/owners.h"
#include "rightclick/library.h"
#include "server/clsid.h"

namespace {

using kelvaro::ComPtr;

std::string Verb(const rightclick::Library& library) {
    using GetClassObject = HRESULT(STDMETHODCALLTYPE*)(REFCLSID, REFIID, LPVOID*);
    const auto getClassObject = library.Export<GetClassObject>("DllGetClassObject");
    ComPtr<IClassFactory> factory;
    ComPtr<IContextMenu> menu;
    char verb[64] = {};
    if (getClassObject == nullptr ||
        FAILED(getClassObject(kelvaro::kShellExtClsid, IID_IClassFactory, factory.Put())) ||
        FAILED(factory->CreateInstance(nullptr, IID_IContextMenu, menu.Put())) ||
        FAILED(menu->GetCommandString(0, GCS_VERBA, nullptr, verb, sizeof verb))) {
        return "(not loaded)";
    }
    return verb;
}

template <class Line>
void PrintForEachInput(const Line& line) {
    std::string input;
    while (std::getline(std::cin, input) && !input.starts_with("end")) {
        std::cout << line() << std::endl;
    }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count == 3) {
        const kelvaro::ScopedHandle file(CreateFileW(arguments[2], GENERIC_READ, FILE_SHARE_READ,
                                                     nullptr, OPEN_EXISTING, 0, nullptr));
        PrintForEachInput([&] { return file ? "open" : "(not open)"; });
    } else if (count == 2) {
        const rightclick::Library library(arguments[1]);
        PrintForEachInput([&] { return Verb(library); });
    }
    return 0;
}
