// Measures a complete right-click with the real DLL on Windows or under Wine (elapsed time), and a
// std::regex lookup of the same rules (CPU time). Prints one line per figure: name, tab,
// microseconds.

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

// Returns the mean CPU time of a std::regex lookup in microseconds.
double MeasureStdRegex(const std::string& rules) {
    constexpr int kLookups = 50;  // the clock has a resolution of about 10 ms
    const auto cpuTime = [] {
        FILETIME created = {};
        FILETIME exited = {};
        FILETIME kernel = {};
        FILETIME user = {};
        GetProcessTimes(GetCurrentProcess(), &created, &exited, &kernel, &user);
        return (kernel.dwLowDateTime + user.dwLowDateTime) / 10.0;  // from units of 100 ns
    };
    const std::wstring path = kelvaro::NormalizePath(bench::kProgram);
    const double begin = cpuTime();
    for (int lookup = 0; lookup < kLookups; ++lookup) {
        bench::StdRegexPerField(rules, path);
    }
    return (cpuTime() - begin) / kLookups;
}

// Returns the fifth percentile. Elapsed times are right-skewed: other programs can only add to
// them.
double FifthPercentile(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 20];
}

struct Times {
    std::vector<double> initialize;
    std::vector<double> rightClick;
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

// Returns false if the rule file cannot be written.
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
    }
    std::printf("wine/Initialize\t%.1f\n", FifthPercentile(times.initialize));
    std::printf("wine/complete right-click\t%.1f\n", FifthPercentile(times.rightClick));
    std::printf("wine/std::regex lookup, compiled per field\t%.1f\n", MeasureStdRegex(rules));
    CoUninitialize();
    return 0;
}
