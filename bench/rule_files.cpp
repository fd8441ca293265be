#include "rule_files.h"

namespace bench {

namespace {

std::string RuleFile(int rules, bool sameName) {
    std::string text = "{\n  \"version\": 3,\n  \"rules\": [\n";
    for (int rule = 0; rule < rules; ++rule) {
        const std::string number = std::to_string(rule);
        text += rule == 0 ? "    {\n" : ",\n    {\n";
        text.append("      \"id\": ").append(number).append(",\n");
        text += rule % 5 == 4 ? "      \"type\": \"folder\",\n" : "      \"type\": \"exe\",\n";
        text += rule % 10 == 3 ? "      \"enabled\": false,\n" : "      \"enabled\": true,\n";
        text.append("      \"target\": \"C:\\\\Program Files\\\\Maker ").append(number);
        text.append("\\\\Application\\\\program").append(sameName ? "" : number);
        text.append(".exe\",\n      \"created\": \"2026-03-07T12:00:00Z\"\n    }");
    }
    return text + "\n  ]\n}\n";
}

}  // namespace

std::string OrdinaryFile(int rules) {
    return RuleFile(rules, false);
}

std::string SameNameFile(int rules) {
    return RuleFile(rules, true);
}

std::string OneObject(size_t size) {
    std::string text = R"({"type":"exe","target":"C:\\Other\\other.exe","note":")";
    text.append(size, 'x');
    text += "\"}";
    return text;
}

std::string OpeningBraces(size_t size) {
    return std::string(size, '{');
}

std::string BareKeys(int count) {
    std::string text = "{";
    for (int key = 0; key < count; ++key) {
        text += "\"target\" ";
    }
    return text + "}";
}

std::string EscapesEverywhere(size_t size) {
    std::string text;
    while (text.size() < size) {
        text += R"({"type":"exe","target":"\C\:\\\P\r\o\g\\\s\o\u\g\h\s\.\e\x\e"},)";
    }
    return text;
}

}  // namespace bench
