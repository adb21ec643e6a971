#include "examples/till/commands.h"

#include <cstdlib>
#include <memory>

namespace {

struct RecordsReleased {
    void operator()(CashCountRecord* records) const { std::free(records); }
};

using CountFunction = decltype(&cashCountTL);

/// One count's records, which the library hands over for keeps.
struct Count {
    CashCountRecord* coins = nullptr;
    CashCountRecord* notes = nullptr;
    std::int32_t nCoins = 0;
    std::int32_t nNotes = 0;
    std::unique_ptr<CashCountRecord, RecordsReleased> coinsOwner = {};
    std::unique_ptr<CashCountRecord, RecordsReleased> notesOwner = {};

    void make(Session& session, const char* what, CountFunction function)
    {
        session.call(what,
                     [&](char* message) { return function(&coins, &nCoins, &notes, &nNotes, message); });
        coinsOwner.reset(coins);
        notesOwner.reset(notes);
    }
};

/// Adds one row for each record, and answers their amount.
std::int64_t addRows(Table& table, const char* kind, const CashCountRecord* records, std::int32_t count)
{
    std::int64_t sum = 0;
    for (const CashCountRecord* record = records; record != records + count; ++record) {
        const std::int64_t amount = std::int64_t{record->nDenomination} * record->nTotal;
        sum += amount;
        table.rows.push_back({kind, money(record->nDenomination), std::to_string(record->nCount),
                              std::to_string(record->nRecycle), std::to_string(record->nTotal),
                              money(amount)});
    }
    return sum;
}

/// The amount by the plain count, whose records have one number only.
std::int64_t plainAmount(const Count& count)
{
    std::int64_t sum = 0;
    for (std::int32_t i = 0; i < count.nCoins; ++i)
        sum += std::int64_t{count.coins[i].nDenomination} * count.coins[i].nCount;
    for (std::int32_t i = 0; i < count.nNotes; ++i)
        sum += std::int64_t{count.notes[i].nDenomination} * count.notes[i].nCount;
    return sum;
}

} // namespace

bool runCount(Printer& printer, const SessionOptions& options)
{
    printer.heading("A cash count");
    Session session(printer, options);
    Count plain;
    plain.make(session, "cashCountTL", &cashCountTL);
    Count complete;
    complete.make(session, "completeCashCountTL", &completeCashCountTL);

    Table table{{"kind", "denomination", "kept", "recycled", "pieces", "amount"}, {}, true};
    std::int64_t sum = addRows(table, "coin", complete.coins, complete.nCoins);
    sum += addRows(table, "note", complete.notes, complete.nNotes);
    table.rows.push_back({"total", "", "", "", "", money(sum)});
    const bool agrees = sum == amountOf(lookAtMachine().drawer) && sum == plainAmount(plain);
    if (!agrees)
        printer.line(LineKind::Bad, "the counts and the drawer don't agree");
    printer.heading("What the device counted");
    printer.table(table);
    return session.finish() && agrees;
}
