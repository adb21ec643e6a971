// Each fault of the simulated device once, as a till sees it through the exports.
#include "simulated_till.h"

namespace {

class SimulatorFaults : public SimulatedTill {
protected:
    void fault(const std::string& json)
    {
        EXPECT_EQ("200", control("fault", json));
        virtual_clock::advance(500);
    }

    void repair(const std::string& name)
    {
        EXPECT_EQ("200", control("repair", compose(R"({"name":")", name, R"("})")));
        virtual_clock::advance(500);
    }

    static std::string payOut(std::int32_t amount, std::int32_t deposit)
    {
        return call(payoutTL, amount, deposit, "S1");
    }

    /// The device is well again: a whole sale succeeds.
    void expectSale()
    {
        EXPECT_EQ("0 Done", call(loginTL, 7, 5));
        take();
        EXPECT_EQ("0 Done", call(regretTL, std::int16_t{1}));
        virtual_clock::advance(2000);
        take();
        insert(10000);
        EXPECT_EQ("0 Done", payOut(2300, 10000));
        virtual_clock::advance(2000);
        EXPECT_EQ("2000 200 100", take());
        EXPECT_EQ(0, machine.paidIn());
        EXPECT_TRUE(machine.balances());
        happened();
    }
};

} // namespace

TEST_F(SimulatorFaults, ErrorsStopThePayoutToThePiece)
{
    open();
    for (const auto& [name, code, words] : {std::tuple{"note-jam", 1, "note path jammed"},
                                            {"coin-jam", 2, "coin path jammed"},
                                            {"door-open", 3, "door open"},
                                            {"cassette-out", 4, "cassette out"}}) {
        SCOPED_TRACE(name);
        insert(10000);
        fault(compose(R"({"name":")", name, R"(","after":"2 pieces"})"));
        happened();
        EXPECT_EQ("0 Done", payOut(2300, 10000));
        virtual_clock::advance(2000);
        EXPECT_EQ("2000 200", take());
        EXPECT_EQ(
            (Texts{"status 10000 1 1", "status 100 1 1", "status 0 1 1", "information Rest 1 SEK",
                   "status 0 2 1",
                   compose("error ", code, " Device error: 0", code, " ", words, " ErrorInfo Not set")}),
            happened());
        EXPECT_EQ(compose(R"(409 {"took":0,"why":"the device is in error: )", name, R"("})"),
                  control("insert", R"({"value":"50.00"})"));
        // The reset ends nothing as long as the cause is there.
        EXPECT_EQ("0 Done", call(resetTL));
        virtual_clock::advance(500);
        EXPECT_EQ("2 Tellarion has error(s)", payOut(100, 0));
        happened();
        repair(name);
        EXPECT_EQ(Texts{"status 0 0 1"}, happened());
        expectSale();
    }
}

TEST_F(SimulatorFaults, AnErrorLastsUntilItsEnd)
{
    open();
    // Over by itself.
    fault(R"({"name":"coin-jam","for":"2s"})");
    EXPECT_EQ("2 Tellarion has error(s)", payOut(100, 0));
    virtual_clock::advance(2000);
    expectSale();
    // The door is shut, and then it takes the device's reset.
    fault(R"({"name":"door-open","until":"reset"})");
    for (const char* const outcome : {"2 Tellarion has error(s)", "0 Done"}) {
        EXPECT_EQ("0 Done", call(resetTL));
        virtual_clock::advance(500);
        EXPECT_EQ(outcome, payOut(0, 0));
        virtual_clock::advance(2000);
        control("repair");
    }
    expectSale();
    fault(R"({"name":"device-error","code":17,"command":"h"})");
    EXPECT_EQ("2 Error", call(enablePayinTL));
    virtual_clock::advance(500);
    EXPECT_EQ((Texts{"status 0 2 1", "error 17 Device error: 17 device fault ErrorInfo Not set"}),
              happened());
    EXPECT_EQ("0 Done", call(resetTL));
    virtual_clock::advance(500);
    expectSale();
}

TEST_F(SimulatorFaults, TheDeviceWorksOddly)
{
    open();
    insert(10000);
    fault(R"({"name":"note-rejected","times":1})");
    happened();
    EXPECT_EQ(R"(409 {"took":0,"why":"the note is rejected"})", control("insert", R"({"value":2000})"));
    virtual_clock::advance(500);
    EXPECT_EQ(Texts{"information Note rejected"}, happened());

    fault(R"({"name":"note-not-taken"})");
    EXPECT_EQ("0 Done", payOut(2300, 10000));
    virtual_clock::advance(20'000);
    EXPECT_EQ("1 Tellarion is busy", payOut(0, 0));
    happened();
    EXPECT_EQ("2000 200 100", take());
    virtual_clock::advance(500);
    EXPECT_EQ(Texts{"status 0 0 1"}, happened());
    repair("note-not-taken");

    fault(R"({"name":"device-full"})");
    EXPECT_EQ("warning 3 50000 999 High 500 500 High (SEK) 500SEK", happened().back());
    EXPECT_EQ(R"(409 {"took":0,"why":"the device is full"})", control("insert", R"({"value":2000})"));
    repair("device-full");

    fault(R"({"name":"busy","for":"2s"})");
    EXPECT_EQ(Texts{"status 0 1 1"}, happened());
    EXPECT_EQ(R"(409 {"took":0,"why":"the device is busy"})", control("insert", R"({"value":2000})"));
    EXPECT_EQ("0 Done", call(disablePayinTL)); // waits for its end
    EXPECT_EQ("0 Done", call(enablePayinTL));

    fault(R"({"name":"slow","factor":20})");
    const auto start = virtual_clock::now();
    EXPECT_EQ("0 Done", call(disablePayinTL));
    EXPECT_LE(400, virtual_clock::now() - start);
    repair("slow");
    EXPECT_EQ("0 Done", call(enablePayinTL));
    expectSale();
}

TEST_F(SimulatorFaults, APowerCutLeavesWhatCameOutAndLogsOut)
{
    open();
    insert(10000);
    insert(500);
    fault(R"({"name":"power-cut","after":1,"for":"20s"})");
    EXPECT_EQ("0 Done", call(regretTL, std::int16_t{1}));
    happened();
    virtual_clock::advance(2000);
    EXPECT_EQ("10000", take());
    EXPECT_EQ("1 Tellarion is busy", call(enablePayinTL)); // the last that was heard of it
    EXPECT_EQ(R"(409 {"took":0,"why":"the power is off"})", control("insert", R"({"value":2000})"));
    EXPECT_EQ(Texts{}, happened());
    virtual_clock::advance(20'000);
    EXPECT_EQ(Texts{"status 500 0 0"}, happened());
    EXPECT_EQ(500, machine.paidIn());
    EXPECT_EQ("5 Closed", call(enablePayinTL));
    expectSale();

    EXPECT_EQ("200", control("power", R"({"power":"off"})"));
    EXPECT_EQ(R"(409 {"why":"the power is off already"})", control("power", R"({"power":"off"})"));
    EXPECT_EQ("200", control("power", R"({"power":"on"})"));
    virtual_clock::advance(500);
    EXPECT_EQ(Texts{"status 0 0 0"}, happened());
    expectSale();
}

TEST_F(SimulatorFaults, TheLinkLosesCommandsAndAnswers)
{
    open();
    insert(10000);
    // The command does not arrive, and what happens meanwhile is not heard of.
    fault(R"({"name":"link-lost","command":"f"})");
    happened();
    EXPECT_EQ("7 Send failed", payOut(2300, 10000));
    EXPECT_EQ("200", control("insert", R"({"value":500})"));
    virtual_clock::advance(2000);
    EXPECT_EQ("", take());
    EXPECT_EQ(Texts{}, happened());
    repair("link-lost");
    EXPECT_EQ("0 Done", payOut(2300, 10000));
    virtual_clock::advance(2000);
    EXPECT_EQ("2000 500 200 100", take());
    // The command is carried out all the same.
    insert(10000);
    fault(R"({"name":"answer-lost","command":"f","times":1})");
    EXPECT_EQ("7 Send failed", payOut(2300, 10000));
    virtual_clock::advance(2000);
    EXPECT_EQ("2000 200 100", take());
    // The call blocks, and all that comes of the command comes inside it.
    fault(R"({"name":"answer-late","by":"3s","command":"g","times":1})");
    const auto start = virtual_clock::now();
    EXPECT_EQ("0 Done", call(disablePayinTL));
    EXPECT_LE(3000, virtual_clock::now() - start);
    EXPECT_EQ("0 Done", call(enablePayinTL));
    expectSale();
}

TEST_F(SimulatorFaults, TheLinkSpoilsMessages)
{
    open();
    insert(10000);
    fault(R"({"name":"message-lost","command":"f","times":1})");
    EXPECT_EQ("6 Timed out", payOut(2300, 10000)); // the one that says busy
    EXPECT_EQ("2000 200 100", take());

    insert(10000);
    fault(R"({"name":"message-late","by":"6s","command":"f","times":1})");
    EXPECT_EQ("6 Timed out", payOut(2300, 10000));
    EXPECT_EQ("2000 200 100", take());
    virtual_clock::advance(2000);

    fault(R"({"name":"message-twice"})");
    happened();
    insert(500);
    EXPECT_EQ(Texts{"status 500 0 1"}, happened());
    repair("message-twice");

    const auto spoil = R"({"name":"message-garbled","chance":1,"seed":3,"times":2})";
    fault(spoil);
    for (int i = 0; i < 20; ++i)
        insert(500); // whatever the till makes of it
    repair("message-garbled");
    EXPECT_EQ("0 Done", call(resetTL));
    virtual_clock::advance(500);
    expectSale();
}

TEST_F(SimulatorFaults, ADeviceMayRefuseToBeOpened)
{
    for (const auto& [name, code] : {std::pair{"open-refused", 26}, {"link-lost", 25}, {"power-cut", 25}}) {
        fault(compose(R"({"name":")", name, R"("})"));
        ostrivane().openCode = static_cast<std::int16_t>(machine.openingRefusal());
        ostrivane().openAnswer = "No contact";
        registerEvents();
        EXPECT_EQ(compose(code, " No contact"), call(initTL, "Type:RS232;Name:COM7;", ""));
        repair(name);
    }
    EXPECT_EQ(0, machine.openingRefusal());
}

TEST_F(SimulatorFaults, WrongRequestsSayWhatIsWrong)
{
    open();
    for (
        const auto& [verb, json, answer] :
        {std::tuple{"fault", R"({"name":"note-jma"})",
                    R"(400 {"why":"fault: \"name\" is no fault: note-jma; did you mean note-jam?"})"},
         {"fault", R"({"name":"busy","until":"reset"})",
          R"(400 {"why":"fault: \"until\" can't be \"reset\": a reset does not end this one"})"},
         {"fault", R"({"name":"busy","after":1,"chance":0.5})",
          R"(400 {"why":"fault: \"name\" has more than one beginning; take \"command\", \"after\" or \"chance\""})"},
         {"repair", R"({"name":"busy"})", R"(409 {"why":"there is no busy"})"},
         {"insert", R"({"value":"5.001"})",
          R"(400 {"why":"insert: \"value\" must be an amount: a number of smallest units like 5000 or a text like \"50.00\""})"},
         {"insert", R"({"amount":"0.50"})", R"(409 {"why":"no pieces make up that amount"})"},
         {"insert", R"({"valeu":5})",
          R"(400 {"why":"insert: \"valeu\" is not known here; did you mean \"value\"?"})"},
         {"take", "", R"(409 {"pieces":[],"took":0,"why":"nothing lies there"})"},
         {"set", R"({"drawer":[{"value":100,"count":7}]})",
          R"(400 {"why":"drawer: pieces come and go by insert, refill and take only"})"},
         {"dance", "{}", R"(404 {"why":"no such verb"})"}})
        EXPECT_EQ(answer, control(verb, json));
    EXPECT_TRUE(control("insert", R"({"value":)").starts_with("400 "));
    EXPECT_EQ("200", control("insert", R"({"amount":"75.00"})"));
    EXPECT_EQ(7500, machine.paidIn());
}

TEST_F(SimulatorFaults, SettingsChangeWhileItRuns)
{
    open();
    const auto start = virtual_clock::now();
    EXPECT_EQ("200", control("set", R"({"answerDelay":"1s","payOutTime":0,"messageGap":0})"));
    EXPECT_EQ(simulator::LEAST_MESSAGE_GAP, machine.settings().messageGap);
    EXPECT_EQ("0 Done", call(disablePayinTL));
    EXPECT_LE(1000, virtual_clock::now() - start);
    EXPECT_EQ("200", control("set", R"({"refuse":{"h":"1"},"drawer":[{"value":100,"low":99}]})"));
    EXPECT_EQ("1 Busy", call(enablePayinTL));
    EXPECT_EQ(100, machine.drawer().find(100)->count);
    EXPECT_EQ("200", control("set", R"({"refuse":{}})"));
    EXPECT_EQ("0 Done", call(enablePayinTL));
    expectSale(); // at the least times
}
