// From loaded to ready and back: registration, initTL, exitTL, and what every export refuses at its door.
#include "till.h"

namespace {

constexpr const char* goodPort = "Type:RS232;Name:COM7;";

template <typename... Parameters>
int callWithNulls(std::int16_t (*function)(Parameters...))
{
    return std::apply(function, std::tuple<Parameters...>());
}

class Lifecycle : public Till {
protected:
    static std::string initialize(const char* port = goodPort) { return call(initTL, port, ""); }

    /// Called with nulls: the message's comes first. The export's name, which its line begins with.
    template <typename Export>
    std::string refusesNulls(const std::string& entry, Export function)
    {
        const std::string name = entry.substr(0, entry.find('('));
        EXPECT_EQ(4, callWithNulls(function)) << name;
        const std::string line = compose(
            "!! ", name, ": Failed! Returning 4 (TL_STATUS_INPUT_PARAM_ERROR): message parameter is null");
        EXPECT_EQ((Texts{"=> " + entry, line}), apiLog());
        EXPECT_EQ(Texts{line}, errorLog());
        return name;
    }

    /// Well called then, but not initiated.
    template <typename Export, typename... Arguments>
    void refuses(const std::string& entry, Export function, Arguments... arguments)
    {
        const std::string name = refusesNulls(entry, function);
        EXPECT_EQ("2 Not initiated", call(function, arguments...)) << name;
        const std::string cleared = name == "isOpenTL" ? "open=0: " : name == "infoTL" ? "level=0: " : "";
        const std::string line =
            compose("!! ", name, ": Failed! Returning 2 (TL_STATUS_ERROR): ", cleared, "Not initiated");
        EXPECT_EQ(Texts{line}, errorLog());
        EXPECT_EQ(line, apiLog().back());
        EXPECT_EQ(cleared.empty() ? 7U : 0U, std::exchange(number, 7)) << name;
    }

    std::uint32_t number = 7;
};

} // namespace

TEST_F(Lifecycle, TheDoorOfEveryExport)
{
    std::int32_t rest = 7;
    std::array<char, 64> buffer{"-"};
    char* const text = buffer.data();
    refuses("exitTL(message)", exitTL);
    refuses("isOpenTL(open, message)", isOpenTL, &number);
    refuses("infoTL(level, commands, master, info, message)", infoTL, &number, text, text, text);
    refuses("loginTL(0, 0, message)", loginTL, 1, 1);
    refuses("loginStrTL(, , message)", loginStrTL, "1", "1");
    refuses("logoutTL(message)", logoutTL);
    refuses("enablePayinTL(message)", enablePayinTL);
    refuses("disablePayinTL(message)", disablePayinTL);
    refuses("depositTL(\"\", message)", depositTL, "");
    refuses("dispenseTL(0, \"\", amountRest, message)", dispenseTL, 1, "", &rest);
    refuses("askPayoutTL(0, message)", askPayoutTL, 1);
    refuses("askPayout2TL(0, amountRest, message)", askPayout2TL, 1, &rest);
    refuses("informTotalAmountTL(0, message)", informTotalAmountTL, 1);
    refuses("payoutTL(0, 0, \"\", message)", payoutTL, 1, 1, "");
    refuses("payout2TL(0, 0, \"\", amountRest, message)", payout2TL, 1, 1, "", &rest);
    refuses("amountDueTL(0, \"\", amountRest, message)", amountDueTL, 1, "", &rest);
    refuses("changeTL(message)", changeTL);
    refuses("regretTL(0, message)", regretTL, 0);
    refuses("resetTL(message)", resetTL);
    refusesNulls("initTL(, , message)", initTL);
    refusesNulls("registerEventsTL(NULL, NULL, NULL, message)", registerEventsTL);
    refusesNulls("registerEvents23TL(NULL, NULL, NULL, NULL, NULL, message)", registerEvents23TL);
    refusesNulls("registerHwndTL(hwndMessageTo, message) called from ActiveX API", registerHwndTL);
    EXPECT_STREQ("", text); // infoTL clears what it hands out
    EXPECT_EQ(7, rest);     // the others touch nothing
    EXPECT_EQ(Texts{}, logicLog());
}

TEST_F(Lifecycle, OtherNullPointersInTheirOrder)
{
    std::uint32_t level = 7;
    std::int32_t type = 1;
    std::int32_t zero = 0;
    std::array<char, 16> buffer{"-"};
    char* const t = buffer.data();
    const std::vector<std::pair<std::string, std::function<std::string()>>> rows{
        {"open", [] { return call(isOpenTL, nullptr); }},
        {"level", [] { return call(infoTL, nullptr, nullptr, nullptr, nullptr); }},
        {"info", [&] { return call(infoTL, &level, t, t, nullptr); }},
        {"amountRest", [] { return call(askPayout2TL, 1, nullptr); }},
        {"amountRest", [] { return call(amountDueTL, 1, nullptr, nullptr); }},
        // These have no message; the last parameter is a text to hand out.
        {"extInfo", [] { return std::to_string(getCashLevelInfoTL(nullptr)); }},
        {"errorText", [] { return call(getErrorInfoTL, nullptr); }},
        {"extInfo", [=] { return std::to_string(getErrorInfoTL(t, nullptr)); }},
        {"warningType", [&] { return call(getLevelWarningInfoTL, &zero, nullptr, nullptr, nullptr); }},
        {"chTypeString", [&] { return call(getLevelWarningInfoTL, &type, nullptr, nullptr, nullptr); }},
        {"extInfo", [&] { return std::to_string(getLevelWarningInfoTL(&type, t, t, t, nullptr)); }},
    };
    for (const auto& [parameter, withNull] : rows) {
        const std::string outcome = withNull();
        EXPECT_EQ('4', outcome.front()) << parameter;
        EXPECT_EQ(1, countOf("PARAM_ERROR): " + parameter + " parameter is null", errorLog()));
    }
    EXPECT_EQ("2 (untouched)", call(getCashLevelInfoTL));
    EXPECT_EQ("2 (untouched)", call(getLevelWarningInfoTL, &type, t, t, t));
    EXPECT_EQ(7U, level);
    EXPECT_STREQ("-", t);
    // Null texts read as empty ones, and dispenseTL does without its rest.
    open();
    EXPECT_EQ("0 Done", call(loginStrTL, nullptr, nullptr));
    EXPECT_EQ("0 Done", call(disablePayinTL));
    EXPECT_EQ("0 Done", call(depositTL, nullptr));
    EXPECT_EQ("0 Done", call(dispenseTL, 0, nullptr, nullptr));
    EXPECT_EQ("4 portSettings is empty", call(initTL, nullptr, nullptr));
}

TEST_F(Lifecycle, RefusedPortSettings)
{
    const std::vector<std::pair<const char*, const char*>> rows{
        {"Type:USB;", "2 Port type not implemented"}, {"Type:CAN", "2 Port type not implemented"},
        {"type:RS232;", "4 portSettings invalid"},    {"Type:RS232;", "2 Invalid portname"},
        {"Type:RS232;Name:", "2 Invalid portname"},   {"", "4 portSettings is empty"},
    };
    registerEvents();
    for (const auto& [port, outcome] : rows)
        EXPECT_EQ(outcome, initialize(port)) << port;
    forget();
    EXPECT_EQ("4 portSettings invalid", initialize("Type:TCP;"));
    EXPECT_EQ(
        (Texts{"=> initTL(Type:TCP;, , message)",
               "!! initTL: Failed! Returning 4 (TL_STATUS_INPUT_PARAM_ERROR): portSettings invalid (TCP)",
               "!! initTL: Failed! Returning 4: portSettings invalid"}),
        apiLog());
    EXPECT_EQ(0, ostrivane().loads);
    EXPECT_EQ("0 Done", initialize("Type:RS232;Name:;"));
    EXPECT_EQ(Texts{"tl_initiate2 ;"}, ostrivane().calls);

    forget();
    EXPECT_EQ("4 portSettings is empty", initialize(""));
    EXPECT_EQ("3 Already initiated", initialize("Type:USB;"));
    EXPECT_EQ("!! initTL: Warning! Returning 3 (TL_STATUS_WARNING): Already initiated", errorLog().back());
    EXPECT_EQ(Texts{}, logicLog());
}

TEST_F(Lifecycle, WhoMayRegister)
{
    EXPECT_EQ("4 empty callbacks", call(registerEventsTL, onStatus, onError, nullptr));
    EXPECT_EQ("=> registerEventsTL(value, value, NULL, message)", apiLog().front());
    EXPECT_EQ("4 empty callbacks", call(registerEvents2TL, onStatus, onError, onCashLevel, nullptr));
    EXPECT_EQ("4 empty callbacks", call(registerEvents3TL, onStatus, onError, nullptr, onSession));
    EXPECT_EQ("4 empty callbacks",
              call(registerEvents4TL, nullptr, onError, onLevelWarning, onInformation, onSession));
    EXPECT_EQ("4 empty callbacks",
              call(registerEvents23TL, onStatus, nullptr, onCashLevel, onLevelWarning, onSession));
    EXPECT_EQ("2 No Event or callback defined", initialize()); // nothing of that was kept
    EXPECT_EQ("4 empty Hwnd", call(registerHwndTL, nullptr));
    EXPECT_EQ("0 Done", call(registerHwndTL, nobody));
    EXPECT_EQ("0 Done", call(registerHwndTL, nobody)); // replaces it
    EXPECT_EQ("2 Hwnd already set",
              call(registerEvents23TL, onStatus, onError, onCashLevel, onLevelWarning, onSession));
    EXPECT_EQ("!! registerEvents23: registerBasicEvents failed! Returning 2: Hwnd already set",
              logicLog().back());
    EXPECT_EQ("4 empty callbacks", call(registerEventsTL, onStatus, onError, nullptr)); // tested first
    EXPECT_EQ("0 Done", initialize());
    EXPECT_EQ("0 Done", call(exitTL)); // forgets the window
    EXPECT_EQ("2 No Event or callback defined", initialize());
    registerEvents();
    EXPECT_EQ("2 callbacks already set", call(registerHwndTL, nullptr));
    EXPECT_EQ("0 Done", initialize());
    EXPECT_EQ("0 Done", call(exitTL));
    EXPECT_EQ("0 Done", call(registerHwndTL, nobody)); // and the callbacks
}

TEST_F(Lifecycle, ALinkThatCannotBeOpened)
{
    struct Row {
        bool canBeLoaded;
        std::set<std::string> missing;
        std::int16_t openCode;
        const char* outcome;
        int references; // kept
    };
    const std::vector<Row> rows{
        {false, {}, 0, "2 Failed to get dll handle", 0},
        {true, {"tl_initiate2", "tl_dini", "tl_002"}, 0, "2 tl_initiate is null", 0},
        {true, {"tl_dini", "tl_002"}, 0, "2 tl_dini is null", 0},
        {true, {"tl_002"}, 0, "2 tl_002 is null", 0},
        {true, {"tl_loggedout"}, 9, "9 no such port", 1},
        {true, {}, -1, "-1 no such port", 1},
    };
    ScriptedOstrivane& library = ostrivane();
    library.openAnswer = "no such port";
    registerEvents();
    for (const Row& row : rows) {
        library.canBeLoaded = row.canBeLoaded;
        library.missingFunctions = row.missing;
        library.openCode = row.openCode;
        library.references = 0;
        errorLog();
        EXPECT_EQ(row.outcome, initialize());
        EXPECT_EQ(row.references, library.references) << row.outcome;
        EXPECT_EQ(1, countOf("!! CTLLogics::init: CTLLogics::initialize failed, return code = ", errorLog()));
        EXPECT_EQ(STATE_UNINITIATED, g_TLState);
        EXPECT_EQ("2 Not initiated", call(exitTL));
    }
    ostrivane().openCode = 0;
    EXPECT_EQ("0 Done", initialize()); // as soon as it can
}

TEST_F(Lifecycle, ExitLeavesOneReferenceAndForgetsTheEvents)
{
    openLong();
    device.say(head('a', 500, 1));
    EXPECT_EQ("0 Done", call(exitTL));
    EXPECT_EQ(0, g_nApiVersionKind);
    EXPECT_EQ(Texts{"tl_dini"}, ostrivane().calls);
    EXPECT_EQ(2, ostrivane().loads);
    EXPECT_EQ(1, ostrivane().references);
    EXPECT_EQ("2 Not initiated", call(exitTL));
    EXPECT_EQ(DEVICE_UNHEARD, g_nLastCallbackStatus);
    EXPECT_EQ(MODE_CONSUMED, g_nLastCallbackMode);
    happened();
    device.say(head('b', 700, 2, 1, "Note jam at 1405 in")); // late
    EXPECT_EQ(Texts{}, happened());
    EXPECT_EQ(STATE_UNINITIATED, g_TLState);

    EXPECT_EQ("2 No Event or callback defined", initialize());
    open();
    EXPECT_EQ(2, ostrivane().references);
}

TEST_F(Lifecycle, ExitInsideAnEventKeepsTheLibrary)
{
    open();
    duringEvent = [] {
        duringEvent = nullptr;
        EXPECT_EQ(1, g_nCallbackDepth);
        EXPECT_EQ("0 Done", call(exitTL));
    };
    device.say(head('b', 500, 0, 1, "Tella")); // its second event finds nobody
    EXPECT_EQ(Texts{"status 500 0 1"}, happened());
    EXPECT_EQ(0, g_nCallbackDepth);
    EXPECT_EQ(1, ostrivane().loads);
    EXPECT_EQ(1, ostrivane().references);
    EXPECT_EQ(1, countOf("NOT calling freeTheComLibrary since", logicLog()));
    open();
    EXPECT_EQ("0 Done", call(enablePayinTL));
}
