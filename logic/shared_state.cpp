#include "logic/shared_state.h"

#include <array>

const char* stateName(std::int32_t state)
{
    static constexpr std::array<const char*, 5> NAMES{"Uninitiated", "Logged Out", "Payin Enabled",
                                                      "Payin Disabled", "Cash Deposited"};
    const auto index = static_cast<std::size_t>(state);
    return index < NAMES.size() ? NAMES[index] : "";
}
