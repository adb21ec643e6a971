// The simulated device: commands and a customer's hand go in, messages come out. It has no thread, no
// clock and no chance in it; every call that can make something happen is given the time. Times are
// milliseconds from any starting point and must not go back from call to call.
#pragma once

#include "simulator/command.h"
#include "simulator/customer_money.h"
#include "simulator/message_queue.h"
#include "simulator/messages.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

class DeviceModel {
public:
    explicit DeviceModel(Settings settings = {});

    /// Takes one command and answers at once: the command's letter, the separator 0x1C, '0' taken, '1'
    /// busy, '2' error, '3' closed (or what "refuse" in the settings says), and a word.
    std::string command(std::string_view text, Milliseconds now);

    /// The next message that is due by "now"; empty if there is none.
    std::optional<std::string> nextMessage(Milliseconds now);

    /// All messages that are due by "now", in order.
    std::vector<std::string> due(Milliseconds now);

    /// When something happens next without anybody's doing. There may be no message at that time yet.
    std::optional<Milliseconds> nextDue() const;

    /// Lets work that ends by "now" come to its end; the calls with a time do it by themselves.
    void advance(Milliseconds now);

    /// The other side has given up the session. No message tells of it.
    void loggedOut();

    // What people do at the device.

    /// Puts pieces of one denomination in and answers the amount that the device took: nothing unless
    /// pay-in is open or it is in administration mode, and never more than there is room for.
    Amount insert(Amount denomination, int count, Milliseconds now);

    /// Brings the device into the error status; work that it is at stops half-way. "code": 1 to 99. A device
    /// that is in error already changes its code and tells nobody.
    void fail(int code, Milliseconds now);

    /// Sends a text as if the device had sent it, whatever it says.
    void inject(std::string message, Milliseconds now);

    /// Makes the given number of pieces of a denomination immovable. False if there is no such denomination.
    bool setStuck(Amount denomination, int count);

    /// Takes what was paid out, or collected, away.
    Pieces takePaidOut();
    Pieces takeCollected();

    // What there is to see.

    const Drawer& drawer() const { return m_drawer; }
    const Settings& settings() const { return m_settings; }
    CashList content() const;

    /// What the customer has paid in and is not yet settled.
    Amount paidIn() const { return m_customerMoney.amount(); }

    bool isBusy(Milliseconds now) const;

    /// Whether messages wait for their time.
    bool hasMessages() const { return !m_messages.empty(); }

    bool hasError() const { return m_error != 0; }

    /// All money is accounted for: in the drawer, in the books, and in what people took or may take.
    bool balances() const;

private:
    /// What becomes of the paid-in amount when work is done.
    enum class Settlement { None, WhatCameOut, All };

    /// Paying, giving back or collecting; keeps the device busy from start to end.
    struct Work {
        std::vector<Amount> pieces = {}; // in the order in which they come out
        Amount rest = 0;                 // what could not be made up
        Settlement settlement = Settlement::None;
        const char* sessionPrefix = nullptr;
        bool collects = false;           // away from the customer
        bool answersWithRecords = false; // the rest is then named there
        CashList undone = {};
        RecordForm undoneForm = RecordForm::Whole;
        Milliseconds start = 0;
        Milliseconds end = 0;
    };

    char answerTo(const std::string& text, Milliseconds now);
    char refusalOf(const std::string& text, Milliseconds now) const;
    bool isTakenInError(const std::string& text) const;

    // Commands. False: not now, or not with these values.
    bool carryOut(const Command& command);
    bool tellCommands(const std::string& stamp);
    bool tellVersion();
    bool login();
    bool logout();
    bool openPayIn(bool open);
    bool askPayOut(Amount amount);
    bool announceTotal();
    bool dispense(Amount amount);
    bool payOut(const Command& command);
    bool giveChange();
    bool giveBackLastNote();
    bool giveBackAll();
    bool reset();
    bool tellCount(bool complete);
    bool switchAdminMode(bool on);
    bool dispenseList(const CashList& wanted);
    bool collectToFloat();
    bool endReplenish();
    bool purge(int unitNumber);
    bool unlock();
    void postAllDone();

    /// Has the device give "pieces" of the paid-in amount back, "wanted" being what it should have been.
    bool giveBack(const Pieces& pieces, Amount wanted);
    bool collect(const Pieces& wanted, RecordForm undoneForm);
    Pieces whatGivesBackAll() const;
    CashList listOf(const Pieces& pieces) const;

    void startWork(Work work);
    void endWork(std::size_t piecesOut);
    void moveOut(Amount denomination, bool collects);
    void settle(Settlement settlement, const Pieces& out);

    int statusDigit() const;
    int modeDigit() const;
    Amount shownAmount() const;
    Milliseconds post(std::string message);
    Milliseconds postStatus(char letter, Amount amount, const MessageTail& tail = {});
    void postReport(const MessageTail& tail);
    Milliseconds postState();
    void postRest(Amount rest);
    void postParts(const std::vector<std::string>& messages);
    void postSession(const char* prefix, Amount amount);
    void postLevels(const std::vector<LevelReport>& reports);

    const Settings m_settings;
    Drawer m_drawer;
    Pieces m_paidOut;
    Pieces m_collected;
    Amount m_takenPaidOut = 0; // what people took away so far
    Amount m_takenCollected = 0;

    bool m_open = false;
    bool m_admin = false;
    bool m_payInOpen = false;
    int m_error = 0;
    bool m_longForm = false;

    CustomerMoney m_customerMoney;
    Amount m_replenished = 0; // since the last end of replenishing

    std::optional<Work> m_work;
    MessageQueue m_messages;
    std::optional<Milliseconds> m_readyAt; // when the last work's last message is due
};

} // namespace simulator
