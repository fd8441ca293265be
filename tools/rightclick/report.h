#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "rightclick/options.h"
#include "rightclick/right_click.h"
#include "rightclick/target.h"

namespace rightclick {

// What the report contains besides the outcome.
struct Surroundings {
    std::vector<std::string> notes;
    std::string problem;                // why there is no handler; empty if there is one
    std::optional<Target> target;       // of the only selected program or shortcut
    bool locked = false;                // a rule locks its program
    bool colour = false;                // use terminal colours
    std::vector<std::string> logLines;  // added during the right-click, for --log
};

// Returns why `outcome` has no item: in the user's terms, then the result of the call in brackets.
std::string ExplainNoItem(const Options& options, const Outcome& outcome);

// Returns the outcome as the JSON object that docs/rightclick.1.md describes.
nlohmann::ordered_json ReportAsJson(const Options& options, const Outcome& outcome,
                                    const Surroundings& surroundings);

// Returns the outcome as lines of text.
std::string ReportAsText(const Options& options, const Outcome& outcome,
                         const Surroundings& surroundings);

}  // namespace rightclick
