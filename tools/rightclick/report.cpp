#include "rightclick/report.h"

#include <nlohmann/json.hpp>

#include "common/code_page.h"
#include "rightclick/log_lines.h"
#include "rightclick/reason.h"
#include "rightclick/result_text.h"

namespace rightclick {
namespace {

using kelvaro::Utf8FromWide;

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

std::string DescribeChoice(const Outcome& outcome) {
    if (*outcome.invoke != S_OK) {
        return "rejected: " + DescribeResult(*outcome.invoke);
    }
    const PromptResult prompt = ReadPromptResult(outcome.invokeLog);
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
        text += "  chosen  " + Printable(DescribeChoice(outcome)) + "\n";
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
