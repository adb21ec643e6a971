#include "events/count_text.h"

#include "diag/log.h"
#include "text/compose.h"
#include "text/numbers.h"

#include <algorithm>
#include <array>

namespace {

/// Takes the first piece off a list that isn't empty, with the separator behind it.
std::string_view takePiece(std::string_view& list, char separator)
{
    const std::size_t end = std::min(list.find(separator), list.size());
    const std::string_view piece = list.substr(0, end);
    list.remove_prefix(std::min(end + 1, list.size()));
    return piece;
}

/// "5:3:2"
CashCountRecord readRecord(std::string_view entry)
{
    std::array<std::int32_t, 3> fields{};
    std::size_t count = 0;
    for (; count < fields.size() && !entry.empty(); ++count)
        fields[count] = leadingNumber(takePiece(entry, ':'));
    const bool hasRecycle = count == fields.size();
    return {fields[0], fields[1], fields[2], hasRecycle ? wrappingAdd(fields[1], fields[2]) : 0};
}

} // namespace

std::vector<std::string> split(std::string_view text, char separator)
{
    std::vector<std::string> pieces;
    while (!text.empty())
        pieces.emplace_back(takePiece(text, separator));
    return pieces;
}

std::vector<CashCountRecord> readRecords(std::string_view list)
{
    std::vector<CashCountRecord> records;
    records.reserve(static_cast<std::size_t>(std::count(list.begin(), list.end(), ',')) + 1);
    while (!list.empty())
        records.push_back(readRecord(takePiece(list, ',')));
    return records;
}

std::int16_t formatCashCountResult(std::string_view text, CashCountResult& result)
{
    if (text.empty()) {
        logError("formatCashCountResult: Callback string too short");
        return TL_STATUS_ERROR;
    }
    if (text.back() == '.')
        text.remove_suffix(1);
    std::array<std::string_view, 2> lists; // coins, notes; what follows is ignored
    std::size_t groups = 0;
    for (; !text.empty(); ++groups) {
        const std::string_view group = takePiece(text, ';');
        if (groups < lists.size())
            lists[groups] = group;
    }
    logDebug(pieces("coinsAndNotes count=", groups));
    if (groups < lists.size()) {
        logError("formatCashCountResult: Incorrect format of notes and coins");
        return TL_STATUS_ERROR;
    }
    {
        const std::lock_guard lock(result.lock);
        result.coins = readRecords(lists[0]);
        result.notes = readRecords(lists[1]);
    }
    logDebug("formatCashCountResult: parsed");
    return TL_STATUS_OK;
}
