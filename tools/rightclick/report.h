#pragma once

#include <string>
#include <vector>

#include "rightclick/options.h"
#include "rightclick/right_click.h"

namespace rightclick {

// What the report says beside the outcome.
struct Surroundings {
    std::string note;                   // a word about how the handler was found; may be empty
    bool colour = false;                // for a terminal
    std::vector<std::string> logLines;  // that this right-click added, in UTF-8; only on request
};

// The outcome for people, several lines.
std::string ReportAsText(const Options& options, const Outcome& outcome,
                         const Surroundings& surroundings);

// The same as one JSON object on one line.
std::string ReportAsJson(const Options& options, const Outcome& outcome,
                         const Surroundings& surroundings);

}  // namespace rightclick
