#include "events/count_text.h"

#include "diag/log.h"
#include "text/compose.h"
#include "text/numbers.h"

#include <algorithm>

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

std::vector<CashCountRecord> readRecords(const std::string& list)
{
    std::vector<CashCountRecord> records;
    for (const std::string& entry : split(list, ',')) {
        const std::vector<std::string> fields = split(entry, ':');
        const auto field = [&fields](std::size_t i) {
            return i < fields.size() ? leadingNumber(fields[i]) : 0;
        };
        CashCountRecord record{field(0), field(1), 0, 0};
        if (fields.size() > 2) {
            record.nRecycle = field(2);
            record.nTotal = wrappingAdd(record.nCount, record.nRecycle);
        }
        records.push_back(record);
    }
    return records;
}

std::int16_t formatCashCountResult(std::string& text, CashCountResult& result)
{
    if (text.empty()) {
        logError("formatCashCountResult: Callback string too short");
        return TL_STATUS_ERROR;
    }
    if (text.back() == '.')
        text.pop_back();
    const std::vector<std::string> groups = split(text, ';');
    logDebug(compose("coinsAndNotes count=", groups.size()));
    if (groups.size() < 2) {
        logError("formatCashCountResult: Incorrect format of notes and coins");
        return TL_STATUS_ERROR;
    }
    {
        const std::lock_guard lock(result.lock);
        result.coins = readRecords(groups[0]);
        result.notes = readRecords(groups[1]);
    }
    logDebug("formatCashCountResult: parsed");
    return TL_STATUS_OK;
}
