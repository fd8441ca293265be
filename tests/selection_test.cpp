#include <cstring>

#include "rightclick/data_object.h"
#include "rightclick/drop_list.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/message_boxes.h"

namespace kelvaro {
namespace {

using Strings = std::vector<std::string>;

// A data object with a given result and medium.
class GivenMedium final : public rightclick::DataObject {
  public:
    GivenMedium(HRESULT result, HGLOBAL memory) : result_(result), memory_(memory) { ++alive; }

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) noexcept override {
        EXPECT_EQ(format->cfFormat, CF_HDROP);
        EXPECT_EQ(format->ptd, nullptr);
        EXPECT_EQ(format->dwAspect, DWORD{DVASPECT_CONTENT});
        EXPECT_EQ(format->lindex, -1);
        EXPECT_EQ(format->tymed, DWORD{TYMED_HGLOBAL});
        EXPECT_EQ(medium->tymed, 0U);
        EXPECT_EQ(medium->pUnkForRelease, nullptr);
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
    Strings NewMessages() {
        Strings messages = Messages();
        messages.erase(messages.begin(), messages.begin() + static_cast<ptrdiff_t>(seen_));
        seen_ += messages.size();
        return messages;
    }
    size_t seen_ = 0;
};

TEST_F(Selection, StoresEveryPathButAcceptsOnlyProgramsAndShortcuts) {
    CopyShortcut();
    Copy(SavedShortcut(L"document.lnk"), L"C:\\Test\\document.LNK");
    const struct {
        const wchar_t* file;
        HRESULT result;
        const char* message;
    } cases[] = {
        {L"C:\\Apps\\Tool.EXE", S_OK,
         "Initialize ok selected=C:\\Apps\\Tool.EXE target=C:\\Apps\\Tool.EXE locked=1"},
        {L" C:\\Apps\\Tool.exe", S_OK,
         "Initialize ok selected= C:\\Apps\\Tool.exe target= C:\\Apps\\Tool.exe locked=1"},
        {L"C:\\Apps\\Other.exe", S_OK,
         "Initialize ok selected=C:\\Apps\\Other.exe target=C:\\Apps\\Other.exe locked=0"},
        {kShortcut, S_OK,
         "Initialize ok selected=C:\\Test\\Tool.lnk target=C:\\Apps\\Tool.exe locked=1"},
        {L".exe", S_OK, "Initialize ok selected=.exe target=.exe locked=0"},
        {L"C:\\missing.lnk", S_OK, "Initialize resolve target failed: C:\\missing.lnk"},
        {L"C:\\Test\\document.LNK", S_OK,
         "Initialize resolve target failed: C:\\Test\\document.LNK"},
        {L"C:\\Docs\\readme.txt", E_INVALIDARG,
         "Initialize ignored non exe/lnk: C:\\Docs\\readme.txt"},
        {L"C:\\Apps\\Tool.exe.bak", E_INVALIDARG,
         "Initialize ignored non exe/lnk: C:\\Apps\\Tool.exe.bak"},
        {L"C:\\Apps\\Tool.lnk.exe.", E_INVALIDARG,
         "Initialize ignored non exe/lnk: C:\\Apps\\Tool.lnk.exe."},
        {L"C:\\Apps\\Tool.com", E_INVALIDARG, "Initialize ignored non exe/lnk: C:\\Apps\\Tool.com"},
        {L"C:\\Apps\\exe", E_INVALIDARG, "Initialize ignored non exe/lnk: C:\\Apps\\exe"},
        {L"C:\\Toollnk", E_INVALIDARG, "Initialize ignored non exe/lnk: C:\\Toollnk"},
    };
    const MessageBoxes boxes;
    Extension extension;
    for (const auto& [file, result, message] : cases) {
        EXPECT_EQ(extension.Select({file}), result) << Utf8(file);
        EXPECT_EQ(NewMessages(), Strings{message});
        EXPECT_EQ(extension.Choose(), S_OK) << "the path is stored even if the file is rejected";
        EXPECT_EQ(NewMessages()[0], "InvokeCommand start selected=" + Utf8(file));
        const bool locked = std::string_view(message).ends_with("locked=1");
        EXPECT_EQ(extension.MenuText().starts_with(L"Unlock"), locked) << Utf8(file);
        NewMessages();
    }
}

TEST_F(Selection, RejectsAnyCountOtherThanOne) {
    Extension extension;
#ifndef _WIN32
    // Wine counts one file in an empty list.
    EXPECT_EQ(extension.Select(std::vector<std::wstring>{}), E_INVALIDARG);
    EXPECT_EQ(NewMessages(), Strings{"Initialize ignored selection count=0"});
#endif
    EXPECT_EQ(extension.Select({kTool, kTool}), E_INVALIDARG);
    EXPECT_EQ(NewMessages(), Strings{"Initialize ignored selection count=2"});
    EXPECT_EQ(extension.Select(std::vector<std::wstring>(1234, kTool)), E_INVALIDARG);
    EXPECT_EQ(NewMessages(), Strings{"Initialize ignored selection count=1234"});
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
    for (const HRESULT failure : {E_FAIL, E_OUTOFMEMORY, DV_E_FORMATETC}) {
        EXPECT_EQ(extension.Select(new GivenMedium(failure, nullptr)), E_INVALIDARG);
        EXPECT_EQ(NewMessages(), Strings{"Initialize GetData failed"});
    }
    EXPECT_EQ(extension.Select(new GivenMedium(S_OK, nullptr)), E_INVALIDARG);
    EXPECT_EQ(NewMessages(), Strings{"Initialize GlobalLock failed"});
    EXPECT_EQ(GivenMedium::alive, 0) << "the medium must be released exactly once";
}

TEST_F(Selection, ReadsAnsiLists) {
    constexpr std::string_view kNames("C:\\caf\xE9\\Tool.exe\0\0", 18);
    DROPFILES header = {};
    header.pFiles = sizeof header;
    const HGLOBAL memory = GlobalAlloc(GHND, sizeof header + kNames.size());
    auto* const block = static_cast<char*>(GlobalLock(memory));
    std::memcpy(block, &header, sizeof header);
    std::memcpy(block + sizeof header, kNames.data(), kNames.size());
    GlobalUnlock(memory);
    Extension extension;
    EXPECT_EQ(extension.Select(new GivenMedium(S_FALSE, memory)), S_OK);
    EXPECT_EQ(NewMessages(), Strings{"Initialize ok selected=C:\\caf\xE9\\Tool.exe "
                                     "target=C:\\caf\xE9\\Tool.exe locked=0"});
    GlobalFree(memory);
}

TEST_F(Selection, ForgetsTheEarlierSelection) {
    Extension extension;
    EXPECT_EQ(extension.Select({kTool}), S_OK);
    EXPECT_EQ(extension.MenuText(), L"Unlock with Vorandel Kelvaro");
    EXPECT_EQ(extension.Select({L"C:\\a.txt"}), E_INVALIDARG);
    EXPECT_EQ(extension.MenuText(), L"Lock with Vorandel Kelvaro");
    for (IDataObject* const unusable :
         {rightclick::MakeDropListObject({kTool, kTool}), static_cast<IDataObject*>(nullptr)}) {
        EXPECT_EQ(extension.Select({kTool}), S_OK);
        EXPECT_EQ(extension.Select(unusable), E_INVALIDARG);
        EXPECT_EQ(extension.MenuText(), L"Lock with Vorandel Kelvaro");
        EXPECT_EQ(extension.Choose(), E_FAIL);
        EXPECT_EQ(Messages().back(), "InvokeCommand selected path empty");
    }
}

TEST_F(Selection, ReadsTheRulesForEachSelection) {
    Extension extension;
    extension.Select({kTool});
    EXPECT_EQ(extension.MenuText(), L"Unlock with Vorandel Kelvaro");
    WriteRules("");
    EXPECT_EQ(extension.MenuText(), L"Unlock with Vorandel Kelvaro")
        << "the state is read by Initialize only";
    extension.Select({kTool});
    EXPECT_EQ(extension.MenuText(), L"Lock with Vorandel Kelvaro");
}

}  // namespace
}  // namespace kelvaro
