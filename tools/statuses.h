// What each status of each call means for the money, and what to do; from docs/statuses.tsv.
#pragma once

#include <string_view>
#include <vector>

namespace tllog {

struct StatusMeaning {
    std::string_view call;
    int status = 0;
    std::string_view meaning;
    std::string_view money; // whether it moved: "no", "yes", "unknown"
    std::string_view retry;
    std::string_view ask; // the device
    std::string_view cashier;
    std::string_view messages;
};

const std::vector<StatusMeaning>& statusMeanings();

/// Null if there is none.
const StatusMeaning* findMeaning(std::string_view call, int status);

/// The file's text, written by the build.
extern const char* const STATUSES_TEXT;

} // namespace tllog
