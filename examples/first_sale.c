/* A first sale: the customer pays 123.00 or more, the till gives change, and a count before and after says
 * what really came of it. Called as: first_sale [<port settings>] */
#define _POSIX_C_SOURCE 199309L /* nanosleep is the one function here that a compiler may lack */
#include "tllogics.h"
#include "tllogics_arrays.h"

#include <stdatomic.h>
#include <stdio.h>
#include <time.h>

enum { DUE = 12300, PATIENCE = 1200 }; /* tenths of a second, for the customer and for the device */
enum { READY = 0, ERROR = 2, READY_PAYIN_DISABLED = 3 };

/* Events come on a thread of the device's library. They note what they hear and call nothing back. */
static atomic_int paidIn, deviceStatus;

static void onStatus(int32_t amount, uint16_t status, uint16_t mode)
{
    printf("  status %d, mode %d, amount %d\n", status, mode, (int)amount);
    paidIn = amount;
    deviceStatus = status;
}

static void onError(int32_t code, const char* text, const char* info)
{
    printf("  error %d: %s (%s)\n", (int)code, text, info);
}

static void onWarning(uint16_t type, int32_t denomination, uint16_t left, const char* word, const char* name,
                      const char* text, const char* info)
{
    (void)type, (void)denomination, (void)left, (void)word, (void)name;
    printf("  level: %s (%s)\n", text, info);
}

static void onInformation(const char* text)
{
    printf("  the device says: %s\n", text); /* what it can't pay, too */
}

static void onSession(uint16_t type, int32_t amount, const char* info)
{
    printf("  session %d, amount %d: %s\n", type, (int)amount, info);
}

static char message[1024];

/* True if the call went well; says so if it didn't. */
static int done(const char* call, int16_t status)
{
    if (status != TL_STATUS_OK)
        printf("%s: %d, %s\n", call, status, message);
    return status == TL_STATUS_OK;
}

static void waitATenth(void)
{
    const struct timespec tenth = {0, 100000000};
    nanosleep(&tenth, NULL);
}

static int deviceIsReady(void)
{
    return deviceStatus == READY || deviceStatus == READY_PAYIN_DISABLED;
}

static int customerHasPaid(void)
{
    return deviceStatus == READY && paidIn >= DUE;
}

static int waitUntil(int (*isTrue)(void))
{
    for (int tenths = 0; tenths < PATIENCE && deviceStatus != ERROR; ++tenths, waitATenth())
        if (isTrue())
            return 1;
    return 0;
}

static int64_t valueOf(CashCountRecord* records, int32_t count)
{
    int64_t value = 0;
    for (int32_t i = 0; i < count; ++i)
        value += (int64_t)records[i].nDenomination *
                 (records[i].nTotal != 0 ? records[i].nTotal : records[i].nCount);
    tlFreeArray(records);
    return value;
}

/* What the device holds, once it is at rest; negative if it can't tell. */
static int64_t countDevice(void)
{
    CashCountRecord *coins = NULL, *notes = NULL;
    int32_t nCoins = 0, nNotes = 0;
    if (!waitUntil(deviceIsReady) &&
        !(done("resetTL", resetTL(message)) && (waitATenth(), waitUntil(deviceIsReady))))
        return -1;
    if (!done("cashCountTL", cashCountTL(&coins, &nCoins, &notes, &nNotes, message)))
        return -1;
    return valueOf(coins, nCoins) + valueOf(notes, nNotes);
}

/* True if the sale was made, and nobody is owed anything. */
static int sell(void)
{
    int32_t rest = 0;
    int sold = 0;
    const int64_t before = countDevice();
    if (before < 0 || !done("enablePayinTL", enablePayinTL(message)))
        return 0;
    printf("Please pay %d.\n", DUE);
    if (waitUntil(customerHasPaid)) {
        /* Once, whatever it answers: a second call could pay a second time. */
        const int16_t status = amountDueTL(DUE, "receipt 1", &rest, message);
        sold = done("amountDueTL", status) || status == TL_STATUS_TIMEOUT ||
               status == TL_STATUS_SEND_FAILED || (status == TL_STATUS_ERROR && message[0] == '\0');
    }
    if (!sold)
        done("regretTL", regretTL(1, message)); /* refused, or not enough: the customer's money goes back */

    const int64_t after = countDevice();
    if (after < 0)
        return printf("Nobody knows what came out: open the device and count by hand.\n"), 0;
    printf("The device kept %lld of %d.\n", (long long)(after - before), DUE);
    if (after - before != (sold ? DUE : 0))
        printf("Settle by hand: %lld to the customer.\n", (long long)(after - before - (sold ? DUE : 0)));
    return sold && after - before == DUE;
}

int main(int argc, char** argv)
{
    const char* const port = argc > 1 ? argv[1] : "Type:RS232;Name:COM1;";
    int sold = 0;
    /* Pay-in stays closed until the first count is done. A payment returns when the device is ready again,
     * and has a minute for it. */
    if (!done("registerEvents4TL",
              registerEvents4TL(onStatus, onError, onWarning, onInformation, onSession, message)) ||
        !done("initTL",
              initTL(port, "AutoDisable:1;PayOutOkCheck:1;RegretOkCheck:1;StatusOkTimeout:60;", message)))
        return 1;
    if (done("loginTL", loginTL(1, 1, message))) {
        sold = sell();
        waitUntil(deviceIsReady); /* not while it still pays */
        done("logoutTL", logoutTL(message));
    }
    done("exitTL", exitTL(message));
    return sold ? 0 : 1;
}
