// Exports of the cash counts and of the work in administration mode.
#include "api/frame.h"
#include "api/records.h"

#include "diag/log.h"
#include "events/count_text.h"
#include "logic/ctllogics.h"

namespace {

using CountMethod = std::int16_t (CTLLogics::*)(std::vector<CashCountRecord>& coins,
                                                std::vector<CashCountRecord>& notes, std::string& message);

std::int16_t countCall(const char* name, CountMethod method, const RecordList& coins, const RecordList& notes,
                       char* message)
{
    return Call(name, pieces(name, "(message)"), message).initiated().run([&](std::string& text) {
        std::vector<CashCountRecord> coinRecords;
        std::vector<CashCountRecord> noteRecords;
        const std::int16_t result = (g_logic.*method)(coinRecords, noteRecords, text);
        if (result == TL_STATUS_OK) {
            coins.handOut(coinRecords);
            notes.handOut(noteRecords);
        }
        return result;
    });
}

/// Where an array export puts what the device could not do.
struct Rest {
    RecordList coins;
    RecordList notes;
    std::uint32_t& amount;

    void handOutNothing() const
    {
        amount = 0;
        coins.handOut({});
        notes.handOut({});
    }
};

/// Only denomination and count mean anything here.
std::vector<CashCountRecord> readRest(const std::string& list, std::uint32_t& amount)
{
    std::vector<CashCountRecord> records = readRecords(list);
    for (CashCountRecord& record : records) {
        record = {record.nDenomination, record.nCount, 0, 0};
        amount +=
            static_cast<std::uint32_t>(record.nDenomination) * static_cast<std::uint32_t>(record.nCount);
    }
    return records;
}

/// Reads a rest text back into arrays. "beforeCounts" and "afterCounts" are progress lines, if any.
void handOutRest(std::string text, const Rest& rest, const char* beforeCounts = nullptr,
                 const char* afterCounts = nullptr)
{
    logDebug(text);
    if (text.size() <= 2)
        return rest.handOutNothing();
    if (text.back() == '.')
        text.pop_back();
    const std::vector<std::string> lists = split(text, ';');
    if (beforeCounts != nullptr)
        logDebug(beforeCounts);
    rest.amount = 0;
    const auto coins = readRest(lists.empty() ? "" : lists[0], rest.amount);
    const auto notes = readRest(lists.size() < 2 ? "" : lists[1], rest.amount);
    if (afterCounts != nullptr)
        logDebug(afterCounts);
    rest.coins.handOut(coins);
    rest.notes.handOut(notes);
}

} // namespace

std::int16_t cashCountTL(CashCountRecord** coins, std::int32_t* nCoins, CashCountRecord** notes,
                         std::int32_t* nNotes, char* message)
{
    return countCall("cashCountTL", &CTLLogics::cashCount, {coins, nCoins}, {notes, nNotes}, message);
}

std::int16_t completeCashCountTL(CashCountRecord** coins, std::int32_t* nCoins, CashCountRecord** notes,
                                 std::int32_t* nNotes, char* message)
{
    return countCall("completeCashCountTL", &CTLLogics::completeCashCount, {coins, nCoins}, {notes, nNotes},
                     message);
}

std::int16_t adminModeTL(std::int16_t adminModeType, char* message)
{
    // The entry line is headed by the parameter's name.
    return Call("adminModeTL", pieces("adminModeType(", adminModeType, ", message)"), message)
        .initiated()
        .run([&](std::string& text) { return g_logic.adminMode(adminModeType, text); });
}

std::int16_t endReplenishTL(const char* transactionId, char* message)
{
    const std::string_view id = textOf(transactionId);
    return Call("endReplenishTL", pieces("endReplenishTL(", id, "\", message)"), message)
        .initiated()
        .run([&](std::string& text) { return g_logic.endReplenish(std::string(id), text); });
}

std::int16_t unlockTL(std::uint32_t number, char* message)
{
    return Call("unlockTL", pieces("unlockTL(", number, "\", message)"), message)
        .initiated()
        .run([&](std::string& text) { return g_logic.unlock(number, text); });
}

std::int16_t collectToCashFloatTL(std::int16_t type, CashCountRecord** coins, std::int32_t* nCoins,
                                  CashCountRecord** notes, std::int32_t* nNotes, std::uint32_t* amountRest,
                                  const char* transactionId, char* message)
{
    const std::string_view id = textOf(transactionId);
    const OutVariable restAmount(amountRest);
    const Rest rest{{coins, nCoins}, {notes, nNotes}, *restAmount};
    return Call("collectToCashFloatTL",
                pieces("collectToCashFloatTL(", type, ",coinsArray,0,notesArray,0,0,\"", id, "\", message)"),
                message)
        .initiated()
        .run([&](std::string& text) {
            std::string coinsAndNotes;
            const std::int16_t result =
                g_logic.collectToCashFloat(type, coinsAndNotes, std::string(id), text);
            if (result == TL_STATUS_OK)
                handOutRest(coinsAndNotes, rest);
            else
                rest.handOutNothing(); // unlike the other two, which tell what was left
            return result;
        });
}

std::int16_t purgeTL(std::uint32_t number, CashCountRecord** coins, std::int32_t* nCoins,
                     CashCountRecord** notes, std::int32_t* nNotes, std::uint32_t* amountRest,
                     const char* transactionId, char* message)
{
    const std::string_view id = textOf(transactionId);
    const OutVariable restAmount(amountRest);
    const Rest rest{{coins, nCoins}, {notes, nNotes}, *restAmount};
    return Call("purgeTL", pieces("purgeTL(", number, ",coinsArray,0,notesArray,0,0,\"", id, "\", message)"),
                message)
        .initiated()
        .run(
            [&](std::string& text) {
                std::string coinsAndNotes;
                const std::int16_t result = g_logic.purge(number, coinsAndNotes, std::string(id), text);
                handOutRest(coinsAndNotes, rest, "3", "4");
                return result;
            },
            withRest(*restAmount));
}

std::int16_t dispenseSpecifiedTL(std::int16_t type, CashCountRecord** coins, std::int32_t* nCoins,
                                 CashCountRecord** notes, std::int32_t* nNotes, std::uint32_t* amountRest,
                                 const char* transactionId, char* message)
{
    const std::string_view id = textOf(transactionId);
    const OutVariable restAmount(amountRest);
    const Rest rest{{coins, nCoins}, {notes, nNotes}, *restAmount};
    // The type is printed three times, and its results go by the name without the suffix.
    return Call("dispenseSpecified",
                pieces("dispenseSpecifiedTL(", type, ",coinsArray,", type, ",notesArray,", type, ",0,\"", id,
                       "\", message)"),
                message)
        .initiated()
        .run(
            [&](std::string& text) {
                const std::vector<CashCountRecord> coinRecords = rest.coins.given();
                const std::vector<CashCountRecord> noteRecords = rest.notes.given();
                std::string coinsAndNotes = compose(listOf(coinRecords), ";", listOf(noteRecords), ".");
                const std::int16_t result = g_logic.dispenseSpecified(
                    type, coinsAndNotes, amountOf(coinRecords, noteRecords), std::string(id), text);
                handOutRest(coinsAndNotes, rest);
                return result;
            },
            withRest(*restAmount));
}
