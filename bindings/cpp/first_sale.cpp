// A first sale: the customer pays 123.00 or more, the till gives change, and a count before and after says
// what really came of it. Called as: first_sale [<port settings>]
#include "tllogics.hpp"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>

namespace {

constexpr int DUE = 12300;
constexpr int PATIENCE = 1200; // tenths of a second, for the customer and for the device
enum { READY = 0, ERROR = 2, READY_PAYIN_DISABLED = 3 };

// Events come on a thread of the device's library. They note what they hear and call nothing back.
std::atomic<int> paidIn{0};
std::atomic<int> deviceStatus{READY};

tllogics::Handlers handlers()
{
    tllogics::Handlers on;
    on.onStatus = [](int amount, int status, int mode) {
        std::printf("  status %d, mode %d, amount %d\n", status, mode, amount);
        paidIn = amount;
        deviceStatus = status;
    };
    on.onError = [](int code, const std::string& text, const std::string& info) {
        std::printf("  error %d: %s (%s)\n", code, text.c_str(), info.c_str());
    };
    on.onLevelWarning = [](int, int, int, const std::string&, const std::string&, const std::string& text,
                           const std::string& info) {
        std::printf("  level: %s (%s)\n", text.c_str(), info.c_str());
    };
    on.onInformation = [](const std::string& text) {
        std::printf("  the device says: %s\n", text.c_str()); // what it can't pay, too
    };
    on.onCashSession = [](int type, int amount, const std::string& info) {
        std::printf("  session %d, amount %d: %s\n", type, amount, info.c_str());
    };
    return on;
}

// True if the call went well; says so if it didn't.
bool done(const tllogics::Result& result)
{
    if (result.status != TL_STATUS_OK)
        std::printf("%s: %d, %s\n", result.call, result.status, result.text.c_str());
    return result.status == TL_STATUS_OK;
}

void waitATenth()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

bool deviceIsReady()
{
    return deviceStatus == READY || deviceStatus == READY_PAYIN_DISABLED;
}

bool customerHasPaid()
{
    return deviceStatus == READY && paidIn >= DUE;
}

bool waitUntil(bool (*isTrue)())
{
    for (int tenths = 0; tenths < PATIENCE && deviceStatus != ERROR; ++tenths, waitATenth())
        if (isTrue())
            return true;
    return false;
}

// What the device holds, once it is at rest; nothing if it can't tell.
std::optional<long long> countDevice(tllogics::Session& till)
{
    if (!waitUntil(deviceIsReady) && !(done(till.resetTL()) && (waitATenth(), waitUntil(deviceIsReady))))
        return std::nullopt;
    const tllogics::CountResult count = till.cashCountTL();
    if (!done(count))
        return std::nullopt;
    long long value = 0;
    for (const auto* records : {&count.coins, &count.notes})
        for (const CashCountRecord& record : *records)
            value += static_cast<long long>(record.nDenomination) *
                     (record.nTotal != 0 ? record.nTotal : record.nCount);
    return value;
}

// True if the sale was made, and nobody is owed anything.
bool sell(tllogics::Session& till)
{
    const std::optional<long long> before = countDevice(till);
    if (!before || !done(till.enablePayinTL()))
        return false;
    std::printf("Please pay %d.\n", DUE);
    bool sold = false;
    if (waitUntil(customerHasPaid)) {
        // Once, whatever it answers: a second call could pay a second time.
        const tllogics::RestResult payment = till.amountDueTL(DUE, "receipt 1");
        sold = done(payment) || payment.money != tllogics::Money::no;
    }
    if (!sold)
        done(till.regretTL(1)); // refused, or not enough: the customer's money goes back

    const std::optional<long long> after = countDevice(till);
    if (!after) {
        std::printf("Nobody knows what came out: open the device and count by hand.\n");
        return false;
    }
    const long long kept = *after - *before;
    const long long owed = kept - (sold ? DUE : 0);
    std::printf("The device kept %lld of %d.\n", kept, DUE);
    if (owed != 0)
        std::printf("Settle by hand: %lld to the customer.\n", owed);
    return sold && owed == 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string port = argc > 1 ? argv[1] : "Type:RS232;Name:COM1;";
    bool sold = false;
    // Pay-in stays closed until the first count is done. A payment returns when the device is ready again,
    // and has a minute for it.
    tllogics::Session till(handlers());
    if (!done(till.registerEvents4TL()) ||
        !done(till.initTL(port, "AutoDisable:1;PayOutOkCheck:1;RegretOkCheck:1;StatusOkTimeout:60;")))
        return 1;
    if (done(till.loginTL(1, 1))) {
        sold = sell(till);
        waitUntil(deviceIsReady); // not while it still pays
        done(till.logoutTL());
    }
    done(till.exitTL()); // the destructor would log out and exit, too, and tell nobody how that went
    return sold ? 0 : 1;
}
