#include "rightclick/reason.h"

#include <shlobj.h>

#include "common/file.h"
#include "console/console.h"
#include "menu/shortcut_target.h"
#include "rightclick/result_text.h"
#include "rightclick/target.h"

namespace rightclick {
namespace {

using console::Utf8;

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

std::string ExplainLoad(const Options& options, const Outcome& outcome) {
    const std::string library =
        (options.library.empty() ? "the registered library " : "the library ") +
        Utf8(outcome.library);
    switch (outcome.loadStep) {
        case LoadStep::findLibrary:
            return library + " does not exist";
        case LoadStep::loadLibrary:
            return library + " cannot be loaded: " + SystemReason(outcome.load);
        case LoadStep::findExport:
            return library + " is not a shell extension: it does not export DllGetClassObject";
        case LoadStep::createObject:
            break;
    }
    return library + " does not create the extension: " + SystemReason(outcome.load);
}

}  // namespace

std::string ExplainSelection(const Options& options) {
    const size_t count = options.files.size();
    if (count != 1) {
        return std::to_string(count) + " files are selected; the extension takes exactly one";
    }
    const std::wstring& file = options.files.front();
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
        return WithResult(ExplainLoad(options, outcome), outcome.load);
    }
    if (FAILED(outcome.initialize)) {
        const std::string selection = ExplainSelection(options);
        return WithResult(selection.empty() ? "the extension refuses the selection: " +
                                                  SystemReason(outcome.initialize)
                                            : selection,
                          outcome.initialize);
    }
    if (FAILED(outcome.query)) {
        return WithResult("the extension fails to build its item: " + SystemReason(outcome.query),
                          outcome.query);
    }
    if ((options.flags & CMF_DEFAULTONLY) != 0) {
        return WithResult("--flags requests only the default item of the menu", outcome.query);
    }
    return WithResult("the extension adds nothing to the menu", outcome.query);
}

}  // namespace rightclick
