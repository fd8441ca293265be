#include "rightclick/report.h"

#include <nlohmann/json.hpp>

#include "common/file.h"
#include "console/console.h"
#include "rightclick/reason.h"
#include "rightclick/result_text.h"

namespace rightclick {
namespace {

using console::Utf8;

// Returns why there is no item.
std::string Reason(const Options& options, const Outcome& outcome,
                   const Surroundings& surroundings) {
    return surroundings.problem.empty() ? ExplainNoItem(options, outcome) : surroundings.problem;
}

std::string DescribeTarget(const Options& options, const Target& target) {
    if (target.program.empty()) {
        return "none: " + ExplainNoProgram(options.files.front(), target) +
               "; the item is offered as for an unlocked program, and the prompt gets the path of "
               "the shortcut";
    }
    const std::string program = Utf8(target.program);
    if (StoresVariable(target.program)) {
        return program + " (environment variables are not expanded)";
    }
    return kelvaro::PathExists(target.program.c_str()) ? program : program + " (does not exist)";
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
    }
}

std::string Join(const std::vector<std::string>& texts, const char* separator) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : separator) + text;
    }
    return joined;
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
        text += paint(kBold, Utf8(file)) + "\n";
    }
    for (const std::string& note : surroundings.notes) {
        text += "  note    " + note + "\n";
    }
    if (surroundings.target && surroundings.target->kind == kelvaro::FileKind::shortcut) {
        text += "  target  " + Printable(DescribeTarget(options, *surroundings.target)) + "\n";
    }
    if (surroundings.target) {
        text += std::string("  locked  ") + (surroundings.locked ? "yes" : "no") + "\n";
    }
    if (outcome.item) {
        text += "  item    " + paint(kGreen, Utf8(outcome.item->text)) + "\n";
        text += "  verb    " + Utf8(outcome.item->verb) + "\n";
        text += "  help    " + Utf8(outcome.item->help) + "\n";
    } else {
        text += "  " + paint(kRed, "no item") + " " + Reason(options, outcome, surroundings) + "\n";
    }
    if (outcome.invoke) {
        text += "  chosen  " + DescribeResult(*outcome.invoke) + "\n";
    }
    if (SUCCEEDED(outcome.load) && outcome.canUnload != S_OK) {
        text += "  warning the library is still in use\n";
    }
    for (const std::string& line : surroundings.logLines) {
        text += "  log     " + paint(kGrey, line) + "\n";
    }
    return text;
}

std::string ReportAsJson(const Options& options, const Outcome& outcome,
                         const Surroundings& surroundings) {
    nlohmann::ordered_json json;
    json["files"] = nlohmann::json::array();
    for (const std::wstring& file : options.files) {
        json["files"].push_back(Utf8(file));
    }
    json["offered"] = outcome.item.has_value();
    if (outcome.item) {
        json["text"] = Utf8(outcome.item->text);
        json["verb"] = Utf8(outcome.item->verb);
        json["help"] = Utf8(outcome.item->help);
    } else {
        json["reason"] = Reason(options, outcome, surroundings);
    }
    if (surroundings.problem.empty()) {
        AddResults(json, outcome);
    }
    if (options.log) {
        json["log"] = surroundings.logLines;
    }
    if (!surroundings.notes.empty()) {
        json["note"] = Join(surroundings.notes, "; ");
    }
    return json.dump() + "\n";
}

}  // namespace rightclick
