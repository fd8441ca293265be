// Measures how long the shell waits for the extension's part of one menu, beside the same platform
// calls without the library. Counts allocations, platform calls, opened files and bytes read.

#include <benchmark/benchmark.h>
#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include <cstring>

#include "allocations.h"
#include "common/owners.h"
#include "common/path.h"
#include "menu/shell_ext.h"
#include "rule_files.h"
#include "shell_host/drop_list.h"
#include "shell_host/popup_menu.h"
#include "support/fixture.h"
#include "testing/counted_calls.h"
#include "testing/failing_calls.h"
#include "testing/watch.h"

namespace bench {
namespace {

using kelvaro::ComPtr;

constexpr int kRuleCount = 40;

// An installed application with an ordinary rule file and the shipped English texts.
class Application : public DriveTest {
  public:
    Application() {
        InstallLibrary();
        Copy(platform::BuiltFile(KELVARO_LANGUAGE_FILES) + L"\\English.ini", kEnglishFile);
        WriteRules(OrdinaryFile(kRuleCount));
        Write(kLog, "");
        SetLocale(L"en-US");
    }
    void TestBody() override {}
};

void RightClickOnce(IDataObject& selection) {
    ComPtr<IShellExtInit> object;
    ComPtr<IContextMenu> menu;
    kelvaro::CreateShellExt(IID_IShellExtInit, object.Put());
    object->Initialize(nullptr, &selection, nullptr);
    object->QueryInterface(IID_IContextMenu, menu.Put());
    const shell_host::PopupMenu popup;
    menu->QueryContextMenu(popup.Handle(), 0, 1, 9, CMF_NORMAL);
    wchar_t help[128] = {};
    menu->GetCommandString(0, GCS_HELPTEXTW, nullptr, reinterpret_cast<LPSTR>(help), 128);
    benchmark::DoNotOptimize(help);
}

// Makes the platform calls of RightClickOnce in the same order, with preallocated buffers.
class PlatformCalls {
  public:
    void Make(IDataObject& selection) {
        ReadSelection(selection);
        ReadFileInto(DriveTest::kRules);
        ConvertPath();
        AppendLine();
        const shell_host::PopupMenu popup;
        LoadText();
        LoadText();
        InsertMenuW(popup.Handle(), 0, MF_BYPOSITION | MF_STRING, 1, L"Lock with Vorandel Kelvaro");
        AppendLine();
        LoadText();
        LoadText();
        lstrcpynW(text_, L"Lock or unlock this program with Vorandel Kelvaro", kCapacity);
    }

  private:
    static constexpr int kCapacity = 8192;
    static inline const std::wstring kSpecialFile =
        DriveTest::kApplication + L"\\Lang_Harrowdelle_SpecialOffer\\English.ini";

    void ReadSelection(IDataObject& selection) {
        FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        STGMEDIUM medium = {};
        selection.GetData(&format, &medium);
        GlobalLock(medium.hGlobal);
        auto* const drop = reinterpret_cast<HDROP>(medium.hGlobal);
        DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
        DragQueryFileW(drop, 0, text_, MAX_PATH);
        GlobalUnlock(medium.hGlobal);
        ReleaseStgMedium(&medium);
        PathMatchSpecW(text_, L"*.exe");
        PathMatchSpecW(text_, L"*.exe");
    }

    void ConvertPath() {
        const int size =
            WideCharToMultiByte(CP_UTF8, 0, kProgram, -1, nullptr, 0, nullptr, nullptr);
        WideCharToMultiByte(CP_UTF8, 0, kProgram, -1, bytes_, size, nullptr, nullptr);
    }

    DWORD ReadFileInto(const wchar_t* path) {
        const HANDLE file = CreateFileW(path, GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr);
        LARGE_INTEGER size = {};
        GetFileSizeEx(file, &size);
        DWORD read = 0;
        ReadFile(file, bytes_, static_cast<DWORD>(size.QuadPart), &read, nullptr);
        CloseHandle(file);
        return read;
    }

    static void AppendLine() {
        SYSTEMTIME now = {};
        GetLocalTime(&now);
        const HANDLE file =
            CreateFileW(DriveTest::kLog, FILE_APPEND_DATA, 7, nullptr, OPEN_ALWAYS, 0, nullptr);
        DWORD written = 0;
        constexpr char kLine[] = "[2026-11-24 12:00:00] QueryContextMenu add item locked=0\r\n";
        WriteFile(file, kLine, sizeof kLine - 1, &written, nullptr);
        CloseHandle(file);
    }

    void ReadLocale() {
        HKEY key = nullptr;
        RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Vorandel\\Kelvaro", 0, KEY_READ, &key);
        DWORD type = 0;
        DWORD size = 64 * sizeof(wchar_t);
        RegQueryValueExW(key, L"UILocale", nullptr, &type, reinterpret_cast<BYTE*>(text_), &size);
        RegCloseKey(key);
    }

    void LoadText() {
        GetModuleFileNameW(nullptr, text_, MAX_PATH);
        ReadLocale();
        GetFileAttributesW(kSpecialFile.c_str());
        ReadLocale();
        GetFileAttributesW(DriveTest::kEnglishFile.c_str());
        ReadLocale();
        const DWORD read = ReadFileInto(DriveTest::kEnglishFile.c_str());
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes_, static_cast<int>(read), nullptr,
                            0);
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes_, static_cast<int>(read), text_,
                            kCapacity);
    }

    char bytes_[65536] = {};
    wchar_t text_[kCapacity] = {};
};

template <class Work>
void Measure(benchmark::State& state, Work work) {
    const Application application;
    const ComPtr<IDataObject> selection(shell_host::MakeDropListObject({kProgram}));
    work(*selection.Get());
    for (auto _ : state) {
        work(*selection.Get());
    }
    ResetAllocations();
    work(*selection.Get());
    state.counters["allocations"] = static_cast<double>(CountAllocations().count);
    const compat::FailingNthCall counter({});  // no number: it only counts
    compat::CountedCalls calls;
    size_t bytesRead = 0;
    const compat::Watch<&ReadFile> watch(
        // What is requested. Here every read is complete.
        [&bytesRead](HANDLE, LPVOID, DWORD size, auto...) { bytesRead += size; });
    work(*selection.Get());
    state.counters["bytes read"] = static_cast<double>(bytesRead);
    state.counters["platform calls"] = static_cast<double>(counter.CallsMade());
    state.counters["files opened"] = static_cast<double>(calls.Take()["CreateFileW"]);
}

void RightClick(benchmark::State& state) {
    Measure(state, RightClickOnce);
}
BENCHMARK(RightClick)->Name("right-click/this library")->Unit(benchmark::kMicrosecond);

void PlatformCallsOnly(benchmark::State& state) {
    PlatformCalls calls;
    Measure(state, [&calls](IDataObject& selection) { calls.Make(selection); });
}
BENCHMARK(PlatformCallsOnly)->Name("right-click/platform calls")->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace bench

BENCHMARK_MAIN();
