// The whole right-click of the real DLL on Windows or Wine, step by step, and what a lookup by the
// standard library's patterns alone would have taken there. Prints medians in the manner of the
// other benchmarks' JSON files.

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

namespace {

using kelvaro::ComPtr;

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
    std::vector<double> whole;
};

void RightClick(const rightclick::Library& library, IDataObject& selection, Times& times) {
    using GetClassObject = HRESULT(STDMETHODCALLTYPE*)(REFCLSID, REFIID, LPVOID*);
    const double begin = Now();
    ComPtr<IClassFactory> factory;
    library.Export<GetClassObject>("DllGetClassObject")(kelvaro::kShellExtClsid, IID_IClassFactory,
                                                        factory.Put());
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
    times.whole.push_back(Now() - begin);
}

void Print(const char* name, double microseconds, const char* end) {
    std::printf(
        "  {\"name\": \"%s\", \"run_type\": \"aggregate\", \"aggregate_name\": \"median\", "
        "\"run_name\": \"%s\", \"real_time\": %.1f, \"time_unit\": \"us\"}%s\n",
        name, name, microseconds, end);
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
    const std::wstring path(kelvaro::kRuleFilePath);
    kelvaro::CreateDirectories(path.substr(0, path.rfind(L'\\')));
    DeleteFileW(path.c_str());
    const rightclick::Library library(arguments[1]);
    if (!library.IsLoaded() || !kelvaro::AppendToFile(path.c_str(), rules)) {
        std::fputs("right_click_windows: cannot load the library or write the rules\n", stderr);
        return 1;
    }
    const ComPtr<IDataObject> selection(rightclick::MakeDropListObject({bench::kProgram}));
    Times times;
    std::vector<double> patterns;
    for (int count = 0; count < kRightClicks; ++count) {
        RightClick(library, *selection.Get(), times);
        const double begin = Now();
        bench::StdRegexAsWorded(rules, kelvaro::NormalizePath(bench::kProgram));
        patterns.push_back(Now() - begin);
    }
    std::puts("{\"benchmarks\": [");
    Print("wine/Initialize", Median(times.initialize), ",");
    Print("wine/whole right-click", Median(times.whole), ",");
    Print("wine/lookup by std::regex as worded", Median(patterns), "");
    std::puts("]}");
    CoUninitialize();
    return 0;
}
