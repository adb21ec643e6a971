// Settings that belong together, by a name.
#pragma once

#include "simulator/settings.h"

namespace simulator {

/// The currency's denominations with levels as a shop has them, and its decimals. False if there is no
/// preset of that name.
bool applyCurrency(Settings& settings, std::string_view name);

/// Their names, for people.
std::string currencyPresets();

/// "current", or "legacy": an older device, which knows fewer commands and says less. False for anything
/// else.
bool applyDevice(Settings& settings, std::string_view name);

} // namespace simulator
