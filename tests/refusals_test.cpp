// What an operation answers when there are several reasons to refuse it, and what it may do in which state.
#include "till.h"

namespace {

/// How things stand when an operation is called.
struct World {
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

struct Refusal {
    std::function<void(World&)> cause;
    std::string outcome;
    std::string sent = ""; // letters of the commands that go out all the same
};

using States = std::vector<int>;

struct Operation {
    const char* name;
    const char* command; // as it begins
    States withCommands; // what comes back in states 1 to 4
    States without;      // and without the extended command set
    std::function<std::string(World&)> call;
    std::vector<Refusal> refusals; // in the order in which they are tested
};

Refusal state(int number, const char* outcome = "12 Not Supported")
{
    return {[=](World& world) { world.state = number; }, outcome};
}

Refusal dispensing(int amount, const char* outcome, const char* sent = "")
{
    return {[=](World& world) { world.dispense = amount; }, outcome, sent};
}

Refusal depositing(int amount, int paidIn, const char* outcome)
{
    return {[=](World& world) { world.deposit = amount, world.paidIn = paidIn; }, outcome};
}

Refusal notTaken(const char* sent)
{
    return {[](World& world) { world.answer = '1'; }, "1 Busy", sent};
}

const Refusal busy{[](World& world) { world.status = 1; }, "1 Tellarion is busy"};
const Refusal error{[](World& world) { world.status = 2; }, "2 Tellarion has error(s)"};
const Refusal closed = state(1, "5 Closed");
const Refusal lacking{[](World& world) { world.extended = false; }, "12 Not Supported"};
const Refusal badRegret{[](World& world) { world.regretType = 7; }, "4 Invalid regretType"};
const Refusal tooSmall = dispensing(-1, "4 Amount to dispense too small");
const Refusal tooBig = dispensing(100000000, "4 Amount to dispense too big");
const Refusal askFails{[](World& world) { world.askAnswer = 'Z'; }, "7 Send failed", "d"};
const Refusal limit = dispensing(2000, "11 Payout larger than allowed limit per time unit", "d");

const std::vector<Operation> operations{
    Operation("enablePayin", "h", {5, 0, 0, 12}, {5, 12, 12, 12}, [](World&) { return call(enablePayinTL); },
              {busy, error, closed, lacking, state(4), notTaken("h")}),
    Operation("disablePayin", "g", {5, 0, 0, 12}, {5, 12, 12, 12},
              [](World&) { return call(disablePayinTL); },
              {busy, error, closed, lacking, state(4), notTaken("g")}),
    Operation("deposit", "f", {5, 12, 0, 0}, {5, 12, 12, 12}, [](World&) { return call(depositTL, "T1"); },
              {busy, error, closed, lacking, state(2), notTaken("f")}),
    Operation("dispense", "c", {5, 12, 0, 0}, {5, 12, 12, 12},
              [](World& world) { return call(dispenseTL, world.dispense, "T1", &world.rest); },
              {busy, error, tooSmall, tooBig, closed, lacking, state(2), askFails, limit, notTaken("dc")}),
    Operation("askPayout", "d", {5, 0, 0, 0}, {5, 0, 0, 0},
              [](World& world) { return call(askPayout2TL, world.dispense, &world.rest); },
              {busy, error, closed, askFails}),
    Operation("payout", "f", {5, 0, 12, 12}, {5, 0, 12, 12},
              [](World& world) { return call(payout2TL, world.dispense, world.deposit, "T1", &world.rest); },
              {busy, error, depositing(501, 500, "10 Amount to deposit too big"), tooSmall, tooBig,
               depositing(-1, 500, "4 Amount to deposit too small"),
               depositing(100000000, 100000001, "4 Amount to deposit too big"), closed, state(3), askFails,
               limit, notTaken("df")}),
    Operation(
        "amountDue", "f", {5, 0, 12, 12}, {5, 0, 12, 12},
        [](World& world) { return call(amountDueTL, world.paidIn - world.dispense, "T1", &world.rest); },
        {dispensing(-1, "4 Paid in amount smaller than amount due"), busy, error, tooBig, closed, state(4),
         askFails}),
    Operation("informTotalAmount", "l", {5, 0, 0, 0}, {5, 0, 0, 0},
              [](World&) { return call(informTotalAmountTL, -5); }, {busy, error, closed, notTaken("l")}),
    Operation("change", "e|1", {5, 0, 0, 0}, {5, 0, 0, 0}, [](World&) { return call(changeTL); },
              {busy, error, closed, notTaken("e")}),
    Operation("regret last note", "e|2", {5, 0, 0, 0}, {5, 0, 0, 0},
              [](World& world) { return call(regretTL, world.regretType); },
              {busy, error, badRegret, closed, notTaken("e")}),
    Operation("regret all", "e|4", {5, 0, 0, 12}, {5, 0, 0, 12},
              [](World& world) { return call(regretTL, world.regretType == 0 ? 1 : world.regretType); },
              {busy, error, badRegret, closed, state(4), notTaken("e")}),
    Operation("reset", "e|3", {0, 0, 0, 0}, {0, 0, 0, 0}, [](World&) { return call(resetTL); },
              {busy, notTaken("e")}),
};

class Refusals : public Till {
protected:
    void arrange(const Operation& operation, const World& world)
    {
        device.behaveWell();
        device.on("x").answers(world.extended ? "0" : "2").says(10, "x---reserved-17---0312ABCDEFGHI");
        g_TLState = STATE_LOGGED_OUT;
        g_nLastCallbackStatus = DEVICE_READY;
        ASSERT_EQ("0 Done", call(loginTL, 1, 1));
        if (world.answer != '0')
            device.on(operation.command).answers(std::string(1, world.answer));
        if (world.askAnswer != '0')
            device.on("d").answers(std::string(1, world.askAnswer));
        g_TLState = world.state;
        g_nLastCallbackStatus = world.status;
        g_nAmountPaidIn = world.paidIn;
        device.sent();
        virtual_clock::advance(100000); // earlier pay-outs don't count any more
    }
};

} // namespace

TEST_F(Refusals, TheFirstReasonInItsOrderDecides)
{
    open("PayOutAmountPerTimeLimitAmount:1000;");
    for (const Operation& operation : operations) {
        const auto allowed = std::find(operation.withCommands.begin(), operation.withCommands.end(), 0);
        for (std::size_t first = 0; first <= operation.refusals.size(); ++first) {
            World world{.state = static_cast<int>(allowed - operation.withCommands.begin()) + 1};
            for (std::size_t i = operation.refusals.size(); i-- > first;)
                operation.refusals[i].cause(world); // that reason, and all that come after it
            arrange(operation, world);
            const std::string outcome = operation.call(world);
            const std::string sent = device.sentLetters();
            const std::string shown = compose(operation.name, " with all reasons from ", first);
            if (first < operation.refusals.size()) {
                EXPECT_EQ(operation.refusals[first].outcome, outcome) << shown;
                EXPECT_EQ(operation.refusals[first].sent, sent) << shown;
            } else {
                EXPECT_EQ("0 Done", outcome) << shown;
                EXPECT_EQ(operation.command[0], sent.back()) << shown;
            }
        }
    }
}
