// The simulated device: commands and a customer's hand go in, messages come out. It has no thread, no
// clock and no chance in it but for the seeds that its faults were given; every call that can make
// something happen is given the time. Times are milliseconds from any starting point and must not go back
// from call to call.
#pragma once

#include "simulator/command.h"
#include "simulator/customer_money.h"
#include "simulator/device_event.h"
#include "simulator/message_queue.h"
#include "simulator/messages.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

struct SavedDevice;

class DeviceModel {
public:
    explicit DeviceModel(Settings settings = {});

    /// A device that was saved, and has just got its power back: what it was at has stopped, nobody is
    /// logged in. Its drawer is the saved one.
    DeviceModel(Settings settings, const SavedDevice& saved, Milliseconds now);

    /// All that has to outlive the process.
    SavedDevice saved(Milliseconds now) const;

    /// Begins the faults of the settings that begin at once.
    void start(Milliseconds now);

    /// Everything anew, as if no piece had ever moved. A till that is there is told that it is logged out.
    void startAfresh(Settings settings, Milliseconds now);

    // The link.

    struct Answer {
        std::string text;
        Milliseconds lateness = 0; // the till gets it so much later
    };

    /// Takes one command and answers at once: the command's letter, the separator 0x1C, '0' taken, '1'
    /// busy, '2' error, '3' closed, '7' lost (or what "refuse" in the settings says), and a word.
    Answer command(std::string_view text, Milliseconds now);

    /// The next message that is due by "now"; empty if there is none.
    std::optional<std::string> nextMessage(Milliseconds now);

    /// All messages that are due by "now", in order.
    std::vector<std::string> due(Milliseconds now);

    /// When something happens next without anybody's doing. There may be no message at that time yet.
    std::optional<Milliseconds> nextDue() const;

    /// Lets what happens by "now" happen; the calls with a time do it by themselves.
    void advance(Milliseconds now);

    /// The other side has given up the session. No message tells of it.
    void loggedOut();

    /// A till has opened the link. "comesBack": one that may believe that it is logged in.
    void tillCame(bool comesBack, Milliseconds now);

    /// It is logged out, and messages go nowhere.
    void tillLeft(Milliseconds now);

    // What people do at the device.

    struct Insertion {
        Amount took = 0;
        std::string why = {}; // in words, if it did not take all
        Amount coming = 0;    // still in the hand, and goes in piece by piece
    };

    /// Puts pieces of one denomination in. The device takes nothing unless pay-in is open or it is in
    /// administration mode, and never more than there is room for.
    Insertion insert(Amount denomination, int count, Milliseconds now);

    /// Puts pieces into the drawer without the till, as somebody with the key does.
    Insertion refill(Amount denomination, int count, Milliseconds now);

    /// Puts the fault in place of one of its name; it begins when it says.
    void putFault(Fault fault, Milliseconds now);

    /// Ends the fault or takes back what was to come; one that waits for the device's reset is over. False
    /// if there is none of that name.
    bool repair(FaultName name, Milliseconds now);

    /// False if it is so already. A power cut that comes by chance may come again.
    bool setPower(bool on, Milliseconds now);

    /// Brings the device into the error status until its reset; work that it is at stops half-way. "code":
    /// 1 to 99. A device that is in error already tells nobody.
    void fail(int code, Milliseconds now);

    /// Sends a text as if the device had sent it, whatever it says.
    void inject(std::string message, Milliseconds now);

    /// Makes the given number of pieces of a denomination immovable. False if there is no such denomination.
    bool setStuck(Amount denomination, int count);

    /// Settings as they are from now on. The drawer's denominations, counts and the faults stay.
    void setSettings(Settings settings);

    /// Something that people should know, told with the settings' notes.
    void note(const std::string& text);

    /// All but the count of one of the drawer's denominations.
    void setUnit(const Denomination& unit);

    /// Takes what was paid out away from the tray.
    Pieces takePaidOut(Milliseconds now);

    /// Takes what was collected away.
    Pieces takeCollected();

    // What there is to see.

    /// Told of everything, while it happens: it must not call the device. Null for nobody.
    void setWatcher(std::function<void(const DeviceEvent&)> watcher) { m_watcher = std::move(watcher); }

    const Drawer& drawer() const { return m_drawer; }
    const Settings& settings() const { return m_settings; }
    const Faults& faults() const { return m_faults; }
    const Pieces& tray() const { return m_paidOut; }
    const Pieces& collected() const { return m_collected; }
    CashList content() const;

    /// What the customer has paid in and is not yet settled.
    Amount paidIn() const { return m_customerMoney.amount(); }

    /// Whether somebody is logged in, in administration mode, may pay in.
    bool isOpen() const { return m_open; }
    bool isAdministrated() const { return m_admin; }
    bool isPayInOpen() const { return m_open && m_payInOpen && !m_admin; }

    bool isBusy(Milliseconds now) const;

    /// Whether work waits for somebody to take the tray's notes.
    bool waitsForHand() const { return m_work && m_work->waitsForHand; }

    /// Whether messages wait for their time.
    bool hasMessages() const { return !m_messages.empty(); }

    /// The fault that brings the device into the error status; null if it is not in it.
    const Fault* error() const;
    bool hasError() const { return error() != nullptr; }

    bool isTillThere() const { return m_tillThere; }
    bool hasPower() const { return !m_faults.isOn(FaultName::PowerCut); }
    bool isLongForm() const { return m_longForm; }

    /// Whether the device, as it is, refuses that the link is opened; else 0.
    int openingRefusal() const;

    /// All money is accounted for: in the drawer, in the books, and in what people took or may take.
    bool balances() const;

private:
    /// What becomes of the paid-in amount when work is done.
    enum class Settlement { None, WhatCameOut, All };

    /// Paying, giving back or collecting; keeps the device busy from start to end.
    struct Work {
        std::vector<Amount> pieces = {}; // in the order in which they come out
        std::size_t out = 0;             // so many of them are out
        Amount rest = 0;                 // what could not be made up
        Settlement settlement = Settlement::None;
        const char* sessionPrefix = nullptr;
        bool collects = false;           // away from the customer
        bool answersWithRecords = false; // the rest is then named there
        CashList undone = {};
        RecordForm undoneForm = RecordForm::Whole;
        Milliseconds start = 0;
        Milliseconds end = 0;
        bool waitsForHand = false; // all is out, and a note is still in the mouth

        Milliseconds nextPieceAt() const;
        Pieces piecesOut() const;
        Pieces piecesLeft() const;
    };

    enum class EndOfFault { Repaired, Itself, Reset };

    char answerTo(const std::string& text, Milliseconds now);
    char refusalOf(const std::string& text, Milliseconds now) const;
    bool isTakenInError(const std::string& text) const;

    // Commands. False: not now, or not with these values.
    bool carryOut(const Command& command, Milliseconds now);
    bool tellCommands(const std::string& stamp);
    bool tellVersion();
    bool login(Milliseconds now);
    bool logout();
    bool openPayIn(bool open);
    bool askPayOut(Amount amount);
    bool announceTotal();
    bool dispense(Amount amount);
    bool payOut(const Command& command);
    bool giveChange();
    bool giveBackLastNote();
    bool giveBackAll();
    bool reset(Milliseconds now);
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
    std::optional<Milliseconds> nextStepOfWork() const;
    void stepWork();
    void finishWork(Milliseconds now);
    void stopWork();
    void tellWork(const Pieces& out, const Pieces& left);
    void moveOut(Amount denomination, bool collects, Milliseconds now);
    static void settle(CustomerMoney& money, Settlement settlement, const Pieces& out);

    std::string whyTakesNothing(Milliseconds now) const;
    bool rejects(const Denomination& unit, Milliseconds now);
    void takePiece(Amount denomination, Milliseconds now);
    Insertion insertSlowly(const Denomination& unit, int count, Milliseconds now);
    void takeComing();
    Insertion putIn(const Denomination& unit, int count, Milliseconds now);

    void beginFault(FaultName name, Milliseconds now);
    void beginFaults(const std::vector<FaultName>& names, Milliseconds now);
    void endFault(FaultName name, EndOfFault how, Milliseconds now);
    void endErrorsByReset(Milliseconds now);
    void cutPower();
    void tellPowerIsBack();

    /// The fault, if it is on, strikes once: as it is now, with a random number of its own.
    std::optional<Fault> strike(FaultName name, Milliseconds now);

    Milliseconds slowed(Milliseconds time) const;
    Milliseconds messageGap() const;
    void tell(const DeviceEvent& event) const;
    void tellPiece(DeviceEvent::Way way, Amount denomination, Milliseconds now) const;

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

    Settings m_settings;
    Drawer m_drawer;
    Pieces m_paidOut;
    Pieces m_collected;
    Amount m_takenPaidOut = 0; // what people took away so far
    Amount m_takenCollected = 0;

    Faults m_faults;
    std::function<void(const DeviceEvent&)> m_watcher;

    bool m_tillThere = true;
    bool m_powerIsBack = false; // and no till has heard of it
    bool m_open = false;
    bool m_admin = false;
    bool m_payInOpen = false;
    bool m_longForm = false;

    CustomerMoney m_customerMoney;
    Amount m_replenished = 0; // since the last end of replenishing

    std::deque<Amount> m_coming; // pieces in a hand that puts them in one by one
    Milliseconds m_nextComing = 0;

    std::optional<Work> m_work;
    MessageQueue m_messages;
    std::optional<Milliseconds> m_readyAt; // when the last work's last message is due
};

} // namespace simulator
