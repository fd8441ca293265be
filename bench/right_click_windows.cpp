// Measures a complete right-click with the real DLL on Windows or under Wine, and a std::regex
// lookup of the same rules. Prints one line per figure: name, tab, median in microseconds.

#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "common/file.h"
#include "common/owners.h"
#include "engines.h"
#include "rightclick/drop_list.h"
#include "rightclick/library.h"
#include "rightclick/popup_menu.h"
#include "rule_files.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "server/clsid.h"
#include "server/exports.h"

namespace {

using kelvaro::ComPtr;

// In microseconds.
double Now() {
    LARGE_INTEGER count = {};
    LARGE_INTEGER frequency = {};
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&frequency);
    return 1e6 * static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Times {
    std::vector<double> initialize;
    std::vector<double> rightClick;
    std::vector<double> stdRegex;
};

void RightClick(const rightclick::Library& library, IDataObject& selection, Times& times) {
    const double begin = Now();
    ComPtr<IClassFactory> factory;
    library.Export<decltype(&DllGetClassObject)>("DllGetClassObject")(
        kelvaro::kShellExtClsid, IID_IClassFactory, factory.Put());
    ComPtr<IShellExtInit> object;
    factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put());
    const double beforeInitialize = Now();
    object->Initialize(nullptr, &selection, nullptr);
    times.initialize.push_back(Now() - beforeInitialize);
    ComPtr<IContextMenu> menu;
    object->QueryInterface(IID_IContextMenu, menu.Put());
    const rightclick::PopupMenu popup;
    menu->QueryContextMenu(popup.Handle(), 0, 1, 9, CMF_NORMAL);
    wchar_t help[128] = {};
    menu->GetCommandString(0, GCS_HELPTEXTW, nullptr, reinterpret_cast<LPSTR>(help), 128);
    times.rightClick.push_back(Now() - begin);
}

// Replaces the rule file.
bool WriteRules(const std::string& rules) {
    const std::wstring path(kelvaro::kRuleFilePath);
    kelvaro::CreateDirectories(path.substr(0, path.rfind(L'\\')));
    DeleteFileW(path.c_str());
    return kelvaro::AppendToFile(path.c_str(), rules);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        std::fputs("usage: right_click_windows LIBRARY\n", stderr);
        return 2;
    }
    constexpr int kRightClicks = 200;
    constexpr int kRuleCount = 40;
    CoInitialize(nullptr);
    const std::string rules = bench::OrdinaryFile(kRuleCount);
    const rightclick::Library library(arguments[1]);
    if (!library.IsLoaded() || !WriteRules(rules)) {
        std::fputs("right_click_windows: cannot load the library or write the rules\n", stderr);
        return 1;
    }
    const ComPtr<IDataObject> selection(rightclick::MakeDropListObject({bench::kProgram}));
    Times times;
    for (int repeat = 0; repeat < kRightClicks; ++repeat) {
        RightClick(library, *selection.Get(), times);
        const double begin = Now();
        bench::StdRegexPerField(rules, kelvaro::NormalizePath(bench::kProgram));
        times.stdRegex.push_back(Now() - begin);
    }
    std::printf("wine/Initialize\t%.1f\n", Median(times.initialize));
    std::printf("wine/complete right-click\t%.1f\n", Median(times.rightClick));
    std::printf("wine/std::regex lookup, compiled per field\t%.1f\n", Median(times.stdRegex));
    CoUninitialize();
    return 0;
}
