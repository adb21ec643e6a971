// Texts about levels, cash sessions and counts, apart from the messages that bring them. The first two bytes
// are the decimals and the code, the first line the filter of level warnings.
#include "fuzz/library.h"

#include "config/settings.h"
#include "events/count_text.h"
#include "events/level_texts.h"
#include "logic/shared_state.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    fuzz::begin(fuzz::Log::Silent);
    g_nCurrencyDecimals = input.number();
    const std::int32_t code = input.number();
    g_strLevelWarningFilter.set(input.line());
    const std::string text(input.rest());

    CashLevel level;
    if (getCashLevels(text, level, code) == TL_STATUS_OK) {
        fuzz::require(level.warningType >= WARNING_EMPTY && level.warningType <= WARNING_HIGH);
        isFilteredLevelWarning(level.denomination);
    }
    std::int16_t type = 0;
    std::int32_t amount = 0;
    if (getSessionInfo(text, type, amount) == TL_STATUS_OK)
        fuzz::require(type >= 0 && type <= 4);
    CashCountResult count;
    formatCashCountResult(text, count);
    fuzz::require(count.coins.size() + count.notes.size() <= size + 2);
    return 0;
}
