#include "rightclick/report.h"

#include <nlohmann/json.hpp>

#include "console/console.h"
#include "rightclick/result_text.h"

namespace rightclick {
namespace {

using console::Utf8;

// Returns why there is no item.
std::string Reason(const Outcome& outcome) {
    if (FAILED(outcome.load)) {
        return "the library could not be used: " + DescribeResult(outcome.load);
    }
    if (FAILED(outcome.initialize)) {
        return "the selection was refused: " + DescribeResult(outcome.initialize);
    }
    if (FAILED(outcome.query)) {
        return "the menu was refused: " + DescribeResult(outcome.query);
    }
    return "nothing was added to the menu: " + DescribeResult(outcome.query);
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
    if (!surroundings.note.empty()) {
        text += "  note    " + surroundings.note + "\n";
    }
    if (outcome.item) {
        text += "  item    " + paint(kGreen, Utf8(outcome.item->text)) + "\n";
        text += "  verb    " + Utf8(outcome.item->verb) + "\n";
        text += "  help    " + Utf8(outcome.item->help) + "\n";
    } else {
        text += "  " + paint(kRed, "no item") + " " + Reason(outcome) + "\n";
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
        json["reason"] = Reason(outcome);
    }
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
    if (options.log) {
        json["log"] = surroundings.logLines;
    }
    if (!surroundings.note.empty()) {
        json["note"] = surroundings.note;
    }
    return json.dump() + "\n";
}

}  // namespace rightclick
