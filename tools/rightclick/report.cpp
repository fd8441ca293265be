#include "rightclick/report.h"

#include "common/text.h"
#include "console/console.h"
#include "rightclick/result_text.h"

namespace rightclick {
namespace {

using console::Utf8;

std::string JsonText(std::string_view text) {
    std::string quoted = "\"";
    for (const char byte : text) {
        if (byte == '"' || byte == '\\') {
            quoted.push_back('\\');
            quoted.push_back(byte);
        } else if (static_cast<unsigned char>(byte) < 0x20) {
            quoted += "\\u";
            kelvaro::AppendNumber(quoted, static_cast<unsigned char>(byte), 16, 4);
        } else {
            quoted.push_back(byte);
        }
    }
    return quoted + "\"";
}

std::string JsonText(const std::wstring& text) {
    return JsonText(Utf8(text));
}

template <class Texts>
std::string JsonList(const Texts& texts) {
    std::string list;
    for (const auto& text : texts) {
        list += (list.empty() ? "" : ", ") + JsonText(text);
    }
    return "[" + list + "]";
}

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
    std::string json = "{\"files\": " + JsonList(options.files);
    json += std::string(", \"offered\": ") + (outcome.item ? "true" : "false");
    if (outcome.item) {
        json += ", \"text\": " + JsonText(outcome.item->text);
        json += ", \"verb\": " + JsonText(outcome.item->verb);
        json += ", \"help\": " + JsonText(outcome.item->help);
    } else {
        json += ", \"reason\": " + JsonText(Reason(outcome));
    }
    json +=
        std::string(", \"selection\": ") + (outcome.shellSelection ? "\"shell\"" : "\"drop list\"");
    json += ", \"load\": " + JsonText(HexResult(outcome.load));
    if (SUCCEEDED(outcome.load)) {
        json += ", \"initialize\": " + JsonText(HexResult(outcome.initialize));
        if (SUCCEEDED(outcome.initialize)) {
            json += ", \"query\": " + JsonText(HexResult(outcome.query));
        }
        json += std::string(", \"unloadable\": ") + (outcome.canUnload == S_OK ? "true" : "false");
    }
    if (outcome.invoke) {
        json += ", \"invoke\": " + JsonText(HexResult(*outcome.invoke));
    }
    if (options.log) {
        json += ", \"log\": " + JsonList(surroundings.logLines);
    }
    if (!surroundings.note.empty()) {
        json += ", \"note\": " + JsonText(surroundings.note);
    }
    return json + "}\n";
}

}  // namespace rightclick
