// Why an opening of the link fails.
#pragma once

namespace simulator {

/// Users hand the code on as a status of their own, so none is one of theirs.
struct OpeningCode {
    static constexpr int BAD_SETTINGS = 20;
    static constexpr int OPEN_ALREADY = 21; // this process holds the link
    static constexpr int NO_THREAD = 22;
    static constexpr int NO_CALLBACK = 23;
    static constexpr int TILL_THERE = 24; // another till is on the device
    static constexpr int NO_ANSWER = 25;  // there is no device
    static constexpr int REFUSED = 26;    // the device doesn't want to
};

} // namespace simulator
