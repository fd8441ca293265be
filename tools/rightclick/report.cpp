#include "rightclick/report.h"

#include <shlobj.h>

#include <nlohmann/json.hpp>

#include "common/code_page.h"
#include "rightclick/handler.h"
#include "rightclick/log_lines.h"
#include "rightclick/result_text.h"
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

// Returns why there is no item.
std::string Reason(const Options& options, const Outcome& outcome,
                   const Surroundings& surroundings) {
    return surroundings.problem.empty() ? ExplainNoItem(options, outcome) : surroundings.problem;
}

std::string DescribeTarget(const Options& options, const Target& target, bool offered) {
    if (target.program.empty()) {
        return "none: " + Printable(ExplainNoProgram(options.files.front(), target)) +
               (offered ? "; the item is the one for an unlocked program, and the prompt gets the "
                          "path of the shortcut"
                        : "");
    }
    const std::string program = Printable(target.program);
    if (StoresVariable(target.program)) {
        return program + " (environment variables are not expanded)";
    }
    const std::string absence = ExplainAbsence(target.program);
    return absence.empty() ? program : program + " (" + absence + ")";
}

std::string DescribeChoice(HRESULT invoke, const std::vector<std::string>& log) {
    if (invoke != S_OK) {
        return "rejected: " + DescribeResult(invoke);
    }
    const PromptResult prompt = ReadPromptResult(log);
    const bool started = prompt.state == std::string("started");
    return std::string("accepted") + (started ? "; " : ", but ") + prompt.words;
}

void AddResults(nlohmann::ordered_json& json, const Outcome& outcome) {
    json["selection"] = outcome.shellSelection ? "shell" : "drop list";
    json["load"] = HexResult(outcome.load);
    if (SUCCEEDED(outcome.load)) {
        json["initialize"] = HexResult(outcome.initialize);
        if (SUCCEEDED(outcome.initialize)) {
            json["query"] = HexResult(outcome.query);
        }
        json["unloadable"] = outcome.canUnload == S_OK;
    }
    if (outcome.invoke) {
        json["invoke"] = HexResult(*outcome.invoke);
        json["prompt"] = ReadPromptResult(outcome.invokeLog).state;
    }
}

}  // namespace

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

std::string ReportAsText(const Options& options, const Outcome& outcome,
                         const Surroundings& surroundings) {
    constexpr const char* kBold = "1";
    constexpr const char* kGreen = "1;32";
    constexpr const char* kRed = "1;31";
    constexpr const char* kGrey = "2";
    const auto paint = [&surroundings](const char* colour, const std::string& text) {
        return surroundings.colour ? "\033[" + std::string(colour) + "m" + text + "\033[0m" : text;
    };
    std::string text;
    for (const std::wstring& file : options.files) {
        text += paint(kBold, Printable(file)) + "\n";
    }
    for (const std::string& note : surroundings.notes) {
        text += "  note    " + Printable(note) + "\n";
    }
    const auto& target = surroundings.target;
    if (target && target->kind == kelvaro::FileKind::shortcut) {
        text += "  target  " + DescribeTarget(options, *target, outcome.item.has_value()) + "\n";
    }
    if (target) {
        text += std::string("  locked  ") + (surroundings.locked ? "yes" : "no") + "\n";
    }
    if (outcome.item) {
        text += "  item    " + paint(kGreen, Printable(outcome.item->text)) + "\n";
        text += "  verb    " + Printable(outcome.item->verb) + "\n";
        text += "  help    " + Printable(outcome.item->help) + "\n";
    } else {
        text += "  " + paint(kRed, "no item") + " " +
                Printable(Reason(options, outcome, surroundings)) + "\n";
    }
    if (outcome.invoke) {
        text += "  chosen  " + Printable(DescribeChoice(*outcome.invoke, outcome.invokeLog)) + "\n";
    }
    if (SUCCEEDED(outcome.load) && outcome.canUnload != S_OK) {
        text += "  warning the DLL cannot be unloaded: an object was not released; report this\n";
    }
    for (const std::string& line : surroundings.logLines) {
        text += "  log     " + paint(kGrey, Printable(line)) + "\n";
    }
    return text;
}

std::string ReportAsJson(const Options& options, const Outcome& outcome,
                         const Surroundings& surroundings) {
    nlohmann::ordered_json json;
    json["files"] = nlohmann::json::array();
    for (const std::wstring& file : options.files) {
        json["files"].push_back(Utf8FromWide(file));
    }
    json["target"] = nullptr;
    json["locked"] = nullptr;
    if (surroundings.target && !surroundings.target->program.empty()) {
        json["target"] = Utf8FromWide(surroundings.target->program);
        json["locked"] = surroundings.locked;
    }
    json["offered"] = outcome.item.has_value();
    if (outcome.item) {
        json["text"] = Utf8FromWide(outcome.item->text);
        json["verb"] = Utf8FromWide(outcome.item->verb);
        json["help"] = Utf8FromWide(outcome.item->help);
    } else {
        json["reason"] = Reason(options, outcome, surroundings);
    }
    if (surroundings.problem.empty()) {
        AddResults(json, outcome);
    }
    if (options.log) {
        json["log"] = surroundings.logLines;
    }
    json["notes"] = surroundings.notes;
    return json.dump() + "\n";
}

}  // namespace rightclick
