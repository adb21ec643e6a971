// Whole sales on the simulated device's model, which keeps its own books.
#include "till.h"

#include "simulator/device_model.h"

namespace {

class Sale : public Till {
protected:
    Sale()
    {
        ostrivane().onCommand = [this](std::string command) {
            std::replace(command.begin(), command.end(), '|', simulator::fieldSeparator);
            std::string answer = model.command(command, virtual_clock::now());
            deliver();
            return answer;
        };
    }

    /// What is due now, and what will be.
    void deliver()
    {
        for (const std::string& message : model.due(virtual_clock::now()))
            device.say(message);
        if (const auto next = model.nextDue())
            virtual_clock::after(std::max<std::int64_t>(*next - virtual_clock::now(), 1),
                                 [this] { deliver(); });
    }

    void insert(int denomination, int count)
    {
        EXPECT_EQ(denomination * count, model.insert(denomination, count, virtual_clock::now()));
        deliver();
        virtual_clock::advance(500);
    }

    simulator::Amount taken() { return simulator::valueOf(model.takePaidOut()); }

    simulator::DeviceModel model;
};

} // namespace

TEST_F(Sale, PaidWithChangeOneAfterTheOther)
{
    open("PayOutOkCheck:1;");
    for (const int due : {7700, 100, 29900}) {
        insert(10000, 3);
        EXPECT_EQ(1, countOf("status 30000 0 1", happened()));
        std::int32_t rest = 77;
        EXPECT_EQ("0 Done", call(amountDueTL, due, "T1", &rest));
        EXPECT_EQ(0, rest);
        EXPECT_EQ(30000 - due, taken());
        EXPECT_EQ(STATE_PAYIN_ENABLED, g_TLState);
        virtual_clock::advance(1000);
        const Texts events = happened();
        EXPECT_EQ(1, countOf("status 0 0 1", events));
        EXPECT_EQ(0, countOf("error", events));
        EXPECT_TRUE(model.balances());
    }
    EXPECT_EQ("0 Done", call(logoutTL));
    EXPECT_FALSE(model.isOpen());
}

TEST_F(Sale, DepositedAndThenDispensedOrGivenBack)
{
    open("PayOutOkCheck:1;RegretOkCheck:1;");
    insert(20000, 2);
    EXPECT_EQ("0 Done", call(disablePayinTL));
    EXPECT_EQ(0, model.insert(100, 1, virtual_clock::now()));
    EXPECT_EQ("0 Done", call(depositTL, "T1"));
    virtual_clock::advance(1000); // it does not wait for the device
    EXPECT_EQ("0 Done", call(dispenseTL, 12300, "T1", nullptr));
    EXPECT_EQ(12300, taken());
    EXPECT_EQ(STATE_PAYIN_DISABLED, g_TLState);

    std::int32_t rest = 0;
    EXPECT_EQ("8 Not possible (rest)", call(askPayout2TL, 12350, &rest));
    EXPECT_EQ(50, rest); // no coin is that small
    EXPECT_EQ("0 Done", call(enablePayinTL));
    virtual_clock::advance(1000);
    insert(5000, 1);
    insert(100, 3);
    EXPECT_EQ("0 Done", call(regretTL, 1));
    EXPECT_EQ(5300, taken());
    EXPECT_TRUE(model.balances());
}
