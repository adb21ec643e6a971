// What an operation answers when there are several reasons to refuse it.
#include "library_test.h"

namespace {

/// How things stand when an operation is called.
struct Situation {
    int state;
    int status = 0;
    bool extended = true;
    int paidIn = 500;
    int dispense = 300;
    int deposit = 100;
    int regretType = 0;
    char askAnswer = '0';
    char answer = '0';
    std::int32_t rest = -1;
};

struct Reason {
    std::function<void(Situation&)> cause;
    std::string outcome;
    std::string sent = ""; // letters of the commands that go out all the same
};

struct RefusingOperation {
    const char* name;
    const char* command; // as it begins
    int state;           // one that it is allowed in
    std::function<std::string(Situation&)> call;
    std::vector<Reason> reasons; // in the order in which they are tested
};

Reason state(int number, const char* outcome = "12 Not Supported")
{
    return {[=](Situation& situation) { situation.state = number; }, outcome};
}

Reason dispensing(int amount, const char* outcome, const char* sent = "")
{
    return {[=](Situation& situation) { situation.dispense = amount; }, outcome, sent};
}

Reason depositing(int amount, int paidIn, const char* outcome)
{
    return {[=](Situation& situation) { situation.deposit = amount, situation.paidIn = paidIn; }, outcome};
}

Reason notTaken(const char* sent)
{
    return {[](Situation& situation) { situation.answer = '1'; }, "1 Busy", sent};
}

const Reason busy{[](Situation& situation) { situation.status = 1; }, "1 Tellarion is busy"};
const Reason error{[](Situation& situation) { situation.status = 2; }, "2 Tellarion has error(s)"};
const Reason closed = state(1, "5 Closed");
const Reason lacking{[](Situation& situation) { situation.extended = false; }, "12 Not Supported"};
const Reason badRegret{[](Situation& situation) { situation.regretType = 7; }, "4 Invalid regretType"};
const Reason tooSmall = dispensing(-1, "4 Amount to dispense too small");
const Reason tooBig = dispensing(100000000, "4 Amount to dispense too big");
const Reason askFails{[](Situation& situation) { situation.askAnswer = 'Z'; }, "7 Send failed", "d"};
const Reason limit = dispensing(2000, "11 Payout larger than allowed limit per time unit", "d");

const std::vector<RefusingOperation> operations{
    RefusingOperation("enablePayin", "h", 2, [](Situation&) { return call(enablePayinTL); },
                      {busy, error, closed, lacking, state(4), notTaken("h")}),
    RefusingOperation("disablePayin", "g", 2, [](Situation&) { return call(disablePayinTL); },
                      {busy, error, closed, lacking, state(4), notTaken("g")}),
    RefusingOperation("deposit", "f", 3, [](Situation&) { return call(depositTL, "T1"); },
                      {busy, error, closed, lacking, state(2), notTaken("f")}),
    RefusingOperation(
        "dispense", "c", 3,
        [](Situation& situation) { return call(dispenseTL, situation.dispense, "T1", &situation.rest); },
        {busy, error, tooSmall, tooBig, closed, lacking, state(2), askFails, limit, notTaken("dc")}),
    RefusingOperation(
        "askPayout", "d", 2,
        [](Situation& situation) { return call(askPayout2TL, situation.dispense, &situation.rest); },
        {busy, error, closed, askFails}),
    RefusingOperation("payout", "f", 2,
                      [](Situation& situation) {
                          return call(payout2TL, situation.dispense, situation.deposit, "T1",
                                      &situation.rest);
                      },
                      {busy, error, depositing(501, 500, "10 Amount to deposit too big"), tooSmall, tooBig,
                       depositing(-1, 500, "4 Amount to deposit too small"),
                       depositing(100000000, 100000001, "4 Amount to deposit too big"), closed, state(3),
                       askFails, limit, notTaken("df")}),
    RefusingOperation("amountDue", "f", 2,
                      [](Situation& situation) {
                          return call(amountDueTL, situation.paidIn - situation.dispense, "T1",
                                      &situation.rest);
                      },
                      {dispensing(-1, "4 Paid in amount smaller than amount due"), busy, error, tooBig,
                       closed, state(4), askFails}),
    RefusingOperation("informTotalAmount", "l", 2, [](Situation&) { return call(informTotalAmountTL, -5); },
                      {busy, error, closed, notTaken("l")}),
    RefusingOperation("change", "e|1", 2, [](Situation&) { return call(changeTL); },
                      {busy, error, closed, notTaken("e")}),
    RefusingOperation("regret last note", "e|2", 2,
                      [](Situation& situation) { return call(regretTL, situation.regretType); },
                      {busy, error, badRegret, closed, notTaken("e")}),
    RefusingOperation("regret all", "e|4", 2,
                      [](Situation& situation) {
                          return call(regretTL, situation.regretType == 0 ? 1 : situation.regretType);
                      },
                      {busy, error, badRegret, closed, state(4), notTaken("e")}),
    RefusingOperation("reset", "e|3", 1, [](Situation&) { return call(resetTL); }, {busy, notTaken("e")}),
};

class Refusals : public LibraryTest {
protected:
    void arrange(const RefusingOperation& operation, const Situation& situation)
    {
        device.behaveWell();
        device.on("x").answers(situation.extended ? "0" : "2").says(10, "x---reserved-17---0312ABCDEFGHI");
        g_TLState = STATE_LOGGED_OUT;
        g_nLastCallbackStatus = DEVICE_READY;
        ASSERT_EQ("0 Done", call(loginTL, 1, 1));
        if (situation.answer != '0')
            device.on(operation.command).answers(std::string(1, situation.answer));
        if (situation.askAnswer != '0')
            device.on("d").answers(std::string(1, situation.askAnswer));
        g_TLState = situation.state;
        g_nLastCallbackStatus = situation.status;
        g_nAmountPaidIn = situation.paidIn;
        device.sent();
        virtual_clock::advance(100000); // earlier pay-outs don't count any more
    }
};

} // namespace

TEST_F(Refusals, TheFirstReasonInItsOrderDecides)
{
    open("PayOutAmountPerTimeLimitAmount:1000;");
    for (const RefusingOperation& operation : operations) {
        for (std::size_t first = 0; first <= operation.reasons.size(); ++first) {
            Situation situation{.state = operation.state};
            for (std::size_t i = operation.reasons.size(); i-- > first;)
                operation.reasons[i].cause(situation); // that reason, and all that come after it
            arrange(operation, situation);
            const std::string outcome = operation.call(situation);
            const std::string sent = device.sentLetters();
            const std::string shown = compose(operation.name, " with all reasons from ", first);
            if (first < operation.reasons.size()) {
                EXPECT_EQ(operation.reasons[first].outcome, outcome) << shown;
                EXPECT_EQ(operation.reasons[first].sent, sent) << shown;
            } else {
                EXPECT_EQ("0 Done", outcome) << shown;
                EXPECT_EQ(operation.command[0], sent.back()) << shown;
            }
        }
    }
}
