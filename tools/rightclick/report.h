#pragma once

#include <string>
#include <vector>

#include "rightclick/options.h"
#include "rightclick/right_click.h"

namespace rightclick {

// What the report contains besides the outcome.
struct Surroundings {
    std::string note;                   // how the handler was found; may be empty
    bool colour = false;                // use terminal colours
    std::vector<std::string> logLines;  // added by this right-click, in UTF-8
};

// Returns the outcome as lines of text.
std::string ReportAsText(const Options& options, const Outcome& outcome,
                         const Surroundings& surroundings);

// Returns the same as one JSON object on one line.
std::string ReportAsJson(const Options& options, const Outcome& outcome,
                         const Surroundings& surroundings);

}  // namespace rightclick
