// Dates as texts.
#pragma once

#include "text/compose.h"

#include <ctime>
#include <string>

/// A number for the date, never 0.
inline int dayNumber(const std::tm& calendar)
{
    return (calendar.tm_year + 1900) * 1000 + calendar.tm_yday;
}

/// "20261122", or with a separator "2026-11-22".
inline std::string dateText(const std::tm& calendar, const char* separator = "")
{
    return compose(leftPadded(calendar.tm_year + 1900, 4), separator, leftPadded(calendar.tm_mon + 1, 2),
                   separator, leftPadded(calendar.tm_mday, 2));
}
