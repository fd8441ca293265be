#include <cstring>

#include "shell_host/data_object.h"
#include "shell_host/drop_list.h"
#include "support/extension.h"
#include "support/fixture.h"

namespace kelvaro {
namespace {

// A data object with a given result and medium.
class GivenMedium final : public shell_host::DataObject {
  public:
    GivenMedium(HRESULT result, HGLOBAL memory) : result_(result), memory_(memory) { ++alive; }

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) noexcept override {
        EXPECT_EQ(format->cfFormat, CF_HDROP);
        EXPECT_EQ(format->ptd, nullptr);
        EXPECT_EQ(format->dwAspect, DWORD{DVASPECT_CONTENT});
        EXPECT_EQ(format->lindex, -1);
        EXPECT_EQ(format->tymed, DWORD{TYMED_HGLOBAL});
        if (SUCCEEDED(result_)) {
            medium->tymed = TYMED_HGLOBAL;
            medium->hGlobal = memory_;
            // ReleaseStgMedium then releases this object.
            medium->pUnkForRelease = this;
            AddRef();
        }
        return result_;
    }

    static int alive;

  private:
    ~GivenMedium() override { --alive; }

    HRESULT result_;
    HGLOBAL memory_;
};
int GivenMedium::alive = 0;

class Selection : public DriveTest {
  public:
    Selection() {
        SetLocale(L"en-US");
        WriteRules(kToolRule + std::string(R"({"type":"exe","target":"C:\\missing.lnk"})"));
    }
    // Returns the messages since the last call.
    static Strings NewMessages() {
        Strings messages = Messages();
        DeleteFileW(kLog);
        return messages;
    }
};

// See "What hosts can rely on" in docs/architecture.md.
TEST_F(Selection, StoresEveryPathButAcceptsOnlyProgramsAndShortcuts) {
    CopyShortcut();
    Copy(SavedShortcut(L"document.lnk"), TestPath(L"document.LNK"));
    const std::string ok = "Initialize ok selected=";
    const std::string noTarget = "Initialize resolve target failed: ";
    const std::string ignored = "Initialize ignored non exe/lnk: ";
    const struct {
        std::wstring file;
        const std::string& message;
        const char* target = "";
    } cases[] = {
        {L"C:\\Apps\\Tool.EXE", ok, " target=C:\\Apps\\Tool.EXE locked=1"},
        {L".exe", ok, " target=.exe locked=0"},
        {L"\\\\?\\C:\\Apps\\Tool.exe", ok, " target=\\\\?\\C:\\Apps\\Tool.exe locked=0"},
        {L" C:\\Apps\\Tool.exe", ok, " target= C:\\Apps\\Tool.exe locked=1"},
        {L"C:\\missing.lnk", noTarget},
        {TestPath(L"document.LNK"), noTarget},
        {kShortcut, ok, " target=C:\\Apps\\Tool.exe locked=1"},
        {L"C:\\Docs\\readme.txt", ignored},
        {L"C:\\Apps\\Tool.lnk.exe.", ignored},
        {L"C:\\Apps\\exe", ignored},
        {L"C:\\Toollnk", ignored},
    };
    Extension extension;
    for (const auto& [file, message, target] : cases) {
        const HRESULT result = &message == &ignored ? E_INVALIDARG : S_OK;
        EXPECT_EQ(extension.Select({file}), result) << Utf8(file);
        EXPECT_EQ(NewMessages(), Strings{message + Utf8(file) + target});
        EXPECT_EQ(extension.Choose(), S_OK) << "for hosts that ignore the result of Initialize";
        EXPECT_EQ(NewMessages()[0], "InvokeCommand start selected=" + Utf8(file));
        const bool locked = std::string_view(target).ends_with("locked=1");
        EXPECT_EQ(extension.MenuText().starts_with(L"Unlock"), locked) << Utf8(file);
        NewMessages();
    }
}

TEST_F(Selection, RejectsAnyCountOtherThanOne) {
    std::vector<size_t> counts = {2, 1234};
    if (!platform::IsWine()) {  // Wine counts one file in an empty list
        counts.push_back(0);
    }
    Extension extension;
    for (const size_t count : counts) {
        EXPECT_EQ(extension.Select(std::vector<std::wstring>(count, kTool)), E_INVALIDARG);
        EXPECT_EQ(NewMessages(),
                  Strings{"Initialize ignored selection count=" + std::to_string(count)});
    }
}

TEST_F(Selection, CutsPathsTo259Characters) {
    const std::wstring longest = L"C:\\" + std::wstring(252, L'n') + L".exe";
    const std::string ok = "Initialize ok selected=" + Utf8(longest) + " target=" + Utf8(longest);
    Extension extension;
    for (const wchar_t* const cut : {L"", L"c", L".bak", L"\\Tool.exe"}) {
        EXPECT_EQ(extension.Select({longest + cut}), S_OK) << Utf8(cut);
        EXPECT_EQ(NewMessages(), Strings{ok + " locked=0"}) << Utf8(cut);
    }
    EXPECT_EQ(extension.Select({L"C:\\n" + longest.substr(3)}), E_INVALIDARG)
        << "the last letter is cut";
}

TEST_F(Selection, ReportsDataObjectsThatFail) {
    Extension extension;
    EXPECT_EQ(extension.Select(nullptr), E_INVALIDARG);
    EXPECT_EQ(NewMessages(), Strings());
    EXPECT_EQ(extension.Select(new GivenMedium(DV_E_FORMATETC, nullptr)), E_INVALIDARG);
    EXPECT_EQ(NewMessages(), Strings{"Initialize GetData failed"});
    EXPECT_EQ(extension.Select(new GivenMedium(S_OK, nullptr)), E_INVALIDARG);
    EXPECT_EQ(NewMessages(), Strings{"Initialize GlobalLock failed"});
    EXPECT_EQ(GivenMedium::alive, 0) << "the medium must be released exactly once";
}

TEST_F(Selection, ReadsAnsiLists) {
    constexpr std::string_view kNames("C:\\Apps\\Tool.exe\0\0", 18);
    DROPFILES header = {};
    header.pFiles = sizeof header;
    const HGLOBAL memory = GlobalAlloc(GHND, sizeof header + kNames.size());
    auto* const block = static_cast<char*>(GlobalLock(memory));
    std::memcpy(block, &header, sizeof header);
    std::memcpy(block + sizeof header, kNames.data(), kNames.size());
    GlobalUnlock(memory);
    Extension extension;
    EXPECT_EQ(extension.Select(new GivenMedium(S_FALSE, memory)), S_OK);
    EXPECT_EQ(NewMessages(), Strings{"Initialize ok selected=C:\\Apps\\Tool.exe "
                                     "target=C:\\Apps\\Tool.exe locked=1"});
    GlobalFree(memory);
}

TEST_F(Selection, ForgetsTheEarlierSelection) {
    Extension extension;
    for (IDataObject* const unusable :
         {shell_host::MakeDropListObject({kTool, kTool}), static_cast<IDataObject*>(nullptr)}) {
        EXPECT_EQ(extension.Select({kTool}), S_OK);
        EXPECT_EQ(extension.MenuText(), L"Unlock with Vorandel Kelvaro");
        EXPECT_EQ(extension.Select(unusable), E_INVALIDARG);
        EXPECT_EQ(extension.MenuText(), L"Lock with Vorandel Kelvaro");
        EXPECT_EQ(extension.Choose(), E_FAIL);
        EXPECT_EQ(Messages().back(), "InvokeCommand selected path empty");
    }
}

}  // namespace
}  // namespace kelvaro
