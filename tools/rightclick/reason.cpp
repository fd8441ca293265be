#include "rightclick/reason.h"

#include <shlobj.h>

#include "common/code_page.h"
#include "menu/shortcut_target.h"
#include "rightclick/handler.h"
#include "rightclick/result_text.h"
#include "rightclick/target.h"
#include "server/clsid.h"

namespace rightclick {
namespace {

using kelvaro::Utf8FromWide;

std::string WithResult(const std::string& reason, HRESULT result) {
    return reason + " (" + HexResult(result) + ")";
}

// Returns the system's text for `result`. Its insertion, a file name, becomes "it".
std::string SystemReason(HRESULT result) {
    std::string text = SystemText(result);
    constexpr std::string_view kInsertion = "%1";
    if (const size_t at = text.find(kInsertion); at != std::string::npos) {
        text.replace(at, kInsertion.size(), "it");
    }
    return text.empty() ? "the system has no text for the error" : text;
}

// Explains a failure of making the extension object.
std::string ExplainObject(const std::string& library, const Outcome& outcome) {
    if (outcome.load == CLASS_E_CLASSNOTAVAILABLE && outcome.clsid != kelvaro::kShellExtClsid) {
        return "the registered class " + Utf8FromWide(ClsidText(outcome.clsid)) +
               " is not the extension's, and " + library + " does not have it";
    }
    return library + " could not create the extension object: " + SystemReason(outcome.load);
}

std::string ExplainLoad(const Options& options, const Outcome& outcome) {
    const bool registered = options.library.empty();
    const std::string library =
        (registered ? "the registered library " : "the library ") + Utf8FromWide(outcome.library);
    std::string reason;
    switch (outcome.loadStep) {
        case LoadStep::loadLibrary: {
            const std::string absence = ExplainAbsence(outcome.library);
            reason = library + (absence.empty() ? " cannot be loaded: " + SystemReason(outcome.load)
                                                : " " + absence);
            break;
        }
        case LoadStep::findExport:
            reason = library + " is not a shell extension: it does not export DllGetClassObject";
            break;
        case LoadStep::createObject:
            reason = ExplainObject(library, outcome);
            break;
    }
    return WithResult(reason, outcome.load) + (registered ? kHowToRegister : "");
}

}  // namespace

std::string ExplainSelection(const std::vector<std::wstring>& files) {
    if (files.size() != 1) {
        return std::to_string(files.size()) +
               " files are selected; the extension takes exactly one";
    }
    const std::wstring& file = files.front();
    if (kelvaro::KindOfFile(file) == kelvaro::FileKind::other) {
        return ExplainNoProgram(file, {});
    }
    if (file.size() >= MAX_PATH) {
        return "the path has " + std::to_string(file.size()) +
               " characters; the extension reads at most " + std::to_string(MAX_PATH - 1);
    }
    return {};
}

std::string ExplainNoItem(const Options& options, const Outcome& outcome) {
    if (FAILED(outcome.load)) {
        return ExplainLoad(options, outcome);
    }
    if (FAILED(outcome.initialize)) {
        const std::string selection = ExplainSelection(options.files);
        return WithResult(selection.empty() ? "the extension rejected the selection: " +
                                                  SystemReason(outcome.initialize)
                                            : selection,
                          outcome.initialize);
    }
    if (FAILED(outcome.query)) {
        return WithResult(
            "the extension could not build its menu item: " + SystemReason(outcome.query),
            outcome.query);
    }
    if ((options.flags & CMF_DEFAULTONLY) != 0) {
        return WithResult("--flags requests only the default item of the menu", outcome.query);
    }
    return WithResult("the extension added nothing to the menu", outcome.query);
}

}  // namespace rightclick
