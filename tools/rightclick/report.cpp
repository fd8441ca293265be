#include "rightclick/report.h"

#include <shlobj.h>

#include "common/code_page.h"
#include "rightclick/handler.h"
#include "rightclick/log_lines.h"
#include "rightclick/result_text.h"
#include "server/clsid.h"

namespace rightclick {
namespace {

using Json = nlohmann::ordered_json;
using kelvaro::Utf8FromWide;

std::string WithResult(const std::string& reason, HRESULT result) {
    return reason + " (" + HexResult(result) + ")";
}

std::string ExplainLoad(const Options& options, const Outcome& outcome) {
    const bool registered = options.library.empty();
    const std::string library =
        (registered ? "the registered library " : "the library ") + Utf8FromWide(outcome.library);
    const std::string absence = ExplainAbsence(outcome.library);
    std::string reason;
    if (outcome.loadStep == LoadStep::loadLibrary && !absence.empty()) {
        reason = WithResult(library + " " + absence, outcome.load);
    } else if (outcome.loadStep == LoadStep::loadLibrary) {
        reason = library + " cannot be loaded: " + DescribeFailure(outcome.load);
    } else if (outcome.loadStep == LoadStep::findExport) {
        reason =
            WithResult(library + " is not a shell extension: it does not export DllGetClassObject",
                       outcome.load);
    } else if (outcome.load == CLASS_E_CLASSNOTAVAILABLE &&
               outcome.clsid != kelvaro::kShellExtClsid) {
        reason = WithResult("the registered class " + Utf8FromWide(ClsidText(outcome.clsid)) +
                                " is not the extension's, and " + library + " does not have it",
                            outcome.load);
    } else {
        reason =
            library + " could not create the extension object: " + DescribeFailure(outcome.load);
    }
    return reason + (registered ? kHowToRegister : "");
}

std::string DescribeTarget(const Options& options, const Target& target, bool offered) {
    if (target.program.empty()) {
        return "none: " + ExplainNoProgram(options.files.front(), target) +
               (offered ? "; the item is the one for an unlocked program, and the prompt gets the "
                          "path of the shortcut"
                        : "");
    }
    const std::string absence = ExplainAbsence(target.program);
    return Utf8FromWide(target.program) + (absence.empty() ? "" : " (" + absence + ")");
}

std::string DescribeChoice(HRESULT invoke, const std::vector<std::string>& log) {
    if (invoke != S_OK) {
        return "rejected: " + DescribeResult(invoke);
    }
    const PromptResult prompt = ReadPromptResult(log);
    const bool started = prompt.state == std::string("started");
    return std::string("accepted") + (started ? "; " : ", but ") + prompt.words;
}

void AddResults(Json& json, const Outcome& outcome) {
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
        return selection.empty()
                   ? "the extension rejected the selection: " + DescribeFailure(outcome.initialize)
                   : WithResult(selection, outcome.initialize);
    }
    if (FAILED(outcome.query)) {
        return "the extension could not build its menu item: " + DescribeFailure(outcome.query);
    }
    return WithResult((options.flags & CMF_DEFAULTONLY) != 0
                          ? "--flags requests only the default item of the menu"
                          : "the extension added nothing to the menu",
                      outcome.query);
}

Json ReportAsJson(const Options& options, const Outcome& outcome,
                  const Surroundings& surroundings) {
    Json json = {{"files", Json::array()}, {"target", nullptr}, {"locked", nullptr}};
    for (const std::wstring& file : options.files) {
        json["files"].push_back(Utf8FromWide(file));
    }
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
        json["reason"] =
            surroundings.problem.empty() ? ExplainNoItem(options, outcome) : surroundings.problem;
    }
    if (surroundings.problem.empty()) {
        AddResults(json, outcome);
    }
    if (options.log) {
        json["log"] = surroundings.logLines;
    }
    json["notes"] = surroundings.notes;
    return json;
}

std::string ReportAsText(const Options& options, const Outcome& outcome,
                         const Surroundings& surroundings) {
    constexpr const char* kBold = "1";
    constexpr const char* kGreen = "1;32";
    constexpr const char* kRed = "1;31";
    constexpr const char* kGrey = "2";
    const Json report = ReportAsJson(options, outcome, surroundings);
    std::string text;
    const auto paint = [&surroundings](const char* colour, const std::string& painted) {
        return surroundings.colour ? "\033[" + std::string(colour) + "m" + painted + "\033[0m"
                                   : painted;
    };
    const auto add = [&](const std::string& label, const Json& value,
                         const char* colour = nullptr) {
        const std::string printable = Printable(value.get<std::string>());
        text += "  " + label + (colour == nullptr ? printable : paint(colour, printable)) + "\n";
    };
    for (const Json& file : report["files"]) {
        text += paint(kBold, Printable(file.get<std::string>())) + "\n";
    }
    for (const Json& note : report["notes"]) {
        add("note    ", note);
    }
    const auto& target = surroundings.target;
    if (target && target->kind == kelvaro::FileKind::shortcut) {
        add("target  ", DescribeTarget(options, *target, outcome.item.has_value()));
    }
    if (target) {
        add("locked  ", surroundings.locked ? "yes" : "no");
    }
    if (outcome.item) {
        add("item    ", report["text"], kGreen);
        add("verb    ", report["verb"]);
        add("help    ", report["help"]);
    } else {
        add(paint(kRed, "no item") + " ", report["reason"]);
    }
    if (outcome.invoke) {
        add("chosen  ", DescribeChoice(*outcome.invoke, outcome.invokeLog));
    }
    if (!report.value("unloadable", true)) {
        add("warning ", "the DLL cannot be unloaded: an object was not released; report this");
    }
    for (const Json& line : report.value("log", Json::array())) {
        add("log     ", line, kGrey);
    }
    return text;
}

}  // namespace rightclick
