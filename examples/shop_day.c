/* A day in a shop: sales, changes of cashier, and in the evening what is above the float taken out. A journal
 * knows what was begun, so that a till that ends in mid-sale, however it ends, settles it when it starts
 * again. Called as: shop_day <port settings> <journal> [login <cashier> | sale <amount due> | collect]... A
 * shift that is open when the steps are over ends there; without steps what an earlier run left open is
 * settled. */
#include "shop_day.h"
#include "tllogics.h"
#include "tllogics_arrays.h"

#include <stdatomic.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

enum { SECOND = 50, PATIENCE = 120 * SECOND }; /* in moments; the customer's and the device's */
enum { READY = 0, BUSY = 1, ERROR = 2, READY_PAYIN_DISABLED = 3, NOT_HEARD = 4 };
enum { CLOSED = 0, OPEN = 1, ADMINISTRATION = 3 };

/* ---- What the device says ---- */

/* Events come on a thread of the device's library. They note what they hear and call nothing back. */
static atomic_int deviceStatus = NOT_HEARD, deviceMode = CLOSED, paidIn;

static void onStatus(int32_t amount, uint16_t status, uint16_t mode)
{
    if (status == READY || status == READY_PAYIN_DISABLED)
        paidIn = amount; /* while it pays, the amount may be a rest */
    deviceMode = mode;
    deviceStatus = status;
}

static int32_t due; /* of the sale at work */

static int isReady(void)
{
    return deviceStatus == READY || deviceStatus == READY_PAYIN_DISABLED;
}

static int isNotBusy(void)
{
    return deviceStatus != BUSY;
}

static int isAdministration(void)
{
    return isReady() && deviceMode == ADMINISTRATION;
}

static int isOpen(void)
{
    return isReady() && deviceMode == OPEN;
}

static int isPaidOrGone(void)
{
    return (deviceStatus == READY && paidIn >= due) || deviceStatus == ERROR || deviceMode == CLOSED;
}

/* ---- What else it says ---- */

static void onError(int32_t code, const char* text, const char* info)
{
    printf("  error %d: %s (%s)\n", (int)code, text, info);
}

static void onWarning(uint16_t type, int32_t denomination, uint16_t left, const char* word, const char* name,
                      const char* text, const char* info)
{
    (void)type, (void)denomination, (void)left, (void)word, (void)name, (void)info;
    printf("  level: %s\n", text);
}

static void onInformation(const char* text)
{
    printf("  the device says: %s\n", text);
}

static void onSession(uint16_t type, int32_t amount, const char* info)
{
    (void)type, (void)amount, (void)info;
}

/* ---- Calls ---- */

static int waitUntil(int (*isTrue)(void), int moments)
{
    for (; !isTrue() && moments > 0; --moments)
        waitAMoment();
    return isTrue();
}

static char message[1024];

/* True if the call went well; says so if it didn't. */
static int done(const char* call, int16_t status)
{
    if (status != TL_STATUS_OK)
        printf("%s: %d, %s\n", call, status, message);
    return status == TL_STATUS_OK;
}

/* ---- The journal ---- */

/* One line for each of these, written through to the disk before anything else is done:
 *   login <cashier> 0 <held>     sale <number> <due> <held>     collect <number> 0 <held>
 *   logout <cashier> <takings> <held>                           end <number> <sold> <held>
 * "held" is what the device holds by a count, so the money moved by what was begun is the difference. */
struct Entry {
    char word[8];
    int number;
    int32_t amount;
    int64_t held;
};

static FILE* journal;
static struct Entry last = {"end", 0, 0, -1}; /* sale, collect or end; "held" of any line */
static int cashier;                           /* 0: nobody's shift */
static int64_t takings;                       /* of the shift */

/* ---- What the journal says ---- */

static void apply(const struct Entry* entry)
{
    last.held = entry->held;
    if (!strcmp(entry->word, "login")) {
        cashier = entry->number;
        takings = 0;
    } else if (!strcmp(entry->word, "logout")) {
        cashier = 0;
    } else {
        last = *entry;
        takings += !strcmp(entry->word, "end") ? entry->amount : 0;
    }
}

/* A line that a power cut has cut began nothing. It is marked here, and passed over from then on. */
static int openJournal(const char* path)
{
    char line[128], end = '\n';
    struct Entry entry;
    journal = fopen(path, "a+");
    if (journal == NULL)
        return printf("The journal %s can't be opened.\n", path), 0;
    rewind(journal);
    while (fgets(line, sizeof line, journal) != NULL) {
        long long held;
        int amount;
        const int fields = sscanf(line, "%7s %d %d %lld%c", entry.word, &entry.number, &amount, &held, &end);
        if (fields == 5 && end == '\n') {
            entry.amount = amount;
            entry.held = held;
            apply(&entry);
        }
        end = line[strlen(line) - 1];
    }
    fseek(journal, 0, SEEK_END);
    return end == '\n' || fputs(" cut\n", journal) >= 0;
}

/* ---- A line of the journal ---- */

static int note(const char* word, int number, int64_t amount, int64_t held)
{
    struct Entry entry = {"", number, (int32_t)amount, held};
    snprintf(entry.word, sizeof entry.word, "%s", word);
    if (fprintf(journal, "%s %d %d %lld\n", word, number, (int)entry.amount, (long long)held) < 0 ||
        !writeThrough(journal))
        return printf("The journal can't be written: nothing is begun.\n"), 0;
    apply(&entry);
    return 1;
}

/* ---- Getting ready ---- */

/* Brings the device to rest, logged in, with pay-in closed, whatever it was at, and hears what is paid in. */
static int makeReady(void)
{
    for (const time_t end = time(NULL) + PATIENCE / SECOND; time(NULL) < end; waitAMoment()) {
        waitUntil(isNotBusy, PATIENCE);
        if (deviceStatus == ERROR) {
            done("resetTL", resetTL(message));
            waitUntil(isReady, SECOND);
        } else if (deviceMode == CLOSED) {
            done("loginTL", loginTL((int16_t)cashier, 1, message));
            waitUntil(isReady, SECOND);
        } else if (deviceStatus == READY) {
            /* A device that was busy at the login hasn't told its commands, and is to be asked again. */
            if (disablePayinTL(message) == TL_STATUS_NOT_SUPPORTED)
                done("loginTL", loginTL((int16_t)cashier, 1, message));
            waitUntil(isReady, SECOND);
        } else {
            deviceStatus = NOT_HEARD; /* what was heard before may be old, so it is to say it again */
            const int16_t status = informTotalAmountTL(0, message);
            if (done("informTotalAmountTL", status) && waitUntil(isReady, SECOND) &&
                deviceStatus == READY_PAYIN_DISABLED && deviceMode != CLOSED)
                return 1;
            if (status == TL_STATUS_ERROR)
                deviceStatus = ERROR; /* a message that was lost has told of it */
            if (status == TL_STATUS_CLOSED)
                deviceMode = CLOSED;
        }
    }
    return printf("The device is not ready: look at it, and start again.\n"), 0;
}

/* ---- The count ---- */

static int64_t valueOf(const CashCountRecord* records, int32_t count)
{
    int64_t value = 0;
    for (int32_t i = 0; i < count; ++i)
        value += (int64_t)records[i].nDenomination *
                 (records[i].nTotal != 0 ? records[i].nTotal : records[i].nCount);
    return value;
}

static int64_t countOnce(void)
{
    CashCountRecord *coins = NULL, *notes = NULL;
    int32_t nCoins = 0, nNotes = 0;
    if (!done("cashCountTL", cashCountTL(&coins, &nCoins, &notes, &nNotes, message)))
        return -1;
    const int64_t held = valueOf(coins, nCoins) + valueOf(notes, nNotes);
    tlFreeArray(coins);
    tlFreeArray(notes);
    return held;
}

/* What the device holds, the customer's money included; negative if it can't tell. A message that was lost or
 * came late spoils a count, and the next one: the second of two that say the same is believed. */
static int64_t countDevice(void)
{
    int64_t before = -1;
    for (int tries = 0, paidInBefore = 0; tries < 6 && makeReady(); ++tries) {
        const int paidInNow = paidIn;
        const int64_t held = countOnce();
        if (held >= 0 && held == before && paidInNow == paidInBefore)
            return held;
        before = held;
        paidInBefore = paidInNow;
    }
    return -1;
}

/* ---- The end of a sale ---- */

/* Gives back what is paid in. What can't come out is kept, or the next customer would get it. */
static int giveBack(void)
{
    int32_t rest = 0;
    for (int tries = 0; tries < 2 && paidIn > 0; ++tries)
        if ((done("regretTL", regretTL(1, message)), !makeReady()))
            return 0;
    if (paidIn == 0)
        return 1;
    done("depositTL", depositTL("not given back", message));
    if (!makeReady() || paidIn > 0)
        return 0;
    done("dispenseTL", dispenseTL(0, "", &rest, message)); /* pay-in can be opened again */
    return makeReady();
}

/* Ends the sale or the collection that the journal has open, at once or after a restart. What any call
 * answered doesn't count: what the device holds now, besides what it held before and what is still paid in,
 * it has kept. A payment that was made kept what is due, and more if not all of the change came out. */
static int endWhatIsOpen(void)
{
    if (!strcmp(last.word, "end"))
        return 1;
    const int isSale = !strcmp(last.word, "sale");
    int64_t held = -1;
    if ((held = countDevice()) < 0)
        return 0;
    const int64_t before = last.held;
    const int64_t sold = isSale && held - before - paidIn >= last.amount ? last.amount : 0;
    if (paidIn > 0 && (!giveBack() || (held = countDevice()) < 0))
        return 0;
    if (!note("end", last.number, sold, held))
        return 0;
    if (!isSale)
        return printf("Collected %lld.\n", (long long)(before - held)), 1;
    printf("Sale %d: %lld sold, the device kept %lld.\n", last.number, (long long)sold,
           (long long)(held - before));
    if (held - before != sold)
        printf("Settle by hand: %lld to the customer.\n", (long long)(held - before - sold));
    return 1;
}

/* ---- A sale ---- */

/* The count before anything is begun. Nobody but the till should have moved money since the last one. */
static int begin(const char* word, int32_t amount)
{
    int64_t held = -1;
    if (!makeReady() || !giveBack() || (held = countDevice()) < 0)
        return 0;
    if (last.held >= 0 && held != last.held)
        printf("The device holds %lld, and the journal says %lld.\n", (long long)held, (long long)last.held);
    return note(word, last.number + 1, amount, held);
}

static int sell(int32_t amount)
{
    char id[32];
    int32_t rest = 0;
    if (amount < 1 || cashier == 0 || !begin("sale", amount))
        return 0;
    due = amount;
    snprintf(id, sizeof id, "sale %d", last.number);
    if (done("enablePayinTL", enablePayinTL(message))) {
        printf("Please pay %d.\n", (int)due);
        if (waitUntil(isPaidOrGone, PATIENCE) && paidIn >= due)
            done("amountDueTL", amountDueTL(due, id, &rest, message)); /* once, whatever it answers */
    }
    return endWhatIsOpen() && last.amount == due;
}

/* ---- Shifts ---- */

static int endShift(void)
{
    int64_t held = -1;
    if (cashier == 0)
        return 1;
    if (!endWhatIsOpen() || !makeReady() || !giveBack() || (held = countDevice()) < 0)
        return 0;
    printf("Cashier %d sold %lld, the device holds %lld.\n", cashier, (long long)takings, (long long)held);
    /* The device is at rest and nothing is paid in: now it can be closed. */
    return done("logoutTL", logoutTL(message)) && note("logout", cashier, takings, held);
}

static int beginShift(int number)
{
    int64_t held = -1;
    if (!endShift())
        return 0;
    cashier = number;
    if (makeReady() && giveBack() && (held = countDevice()) >= 0 && note("login", number, 0, held))
        return 1;
    cashier = 0;
    return 0;
}

/* ---- Administration ---- */

static int collect(void)
{
    CashCountRecord *coins = NULL, *notes = NULL;
    int32_t nCoins = 0, nNotes = 0;
    uint32_t rest = 0;
    if (cashier == 0 || !begin("collect", 0))
        return 0;
    if (done("adminModeTL", adminModeTL(1, message)) && waitUntil(isAdministration, 5 * SECOND)) {
        done("collectToCashFloatTL",
             collectToCashFloatTL(1, &coins, &nCoins, &notes, &nNotes, &rest, "evening", message));
        tlFreeArray(coins);
        tlFreeArray(notes);
        makeReady(); /* the call may have returned while the device was still at it */
        done("adminModeTL", adminModeTL(2, message));
        waitUntil(isOpen, 5 * SECOND);
    }
    return endWhatIsOpen();
}

/* ---- The day ---- */

static int takeStep(char*** words)
{
    const char* const word = *(*words)++;
    if (!strcmp(word, "collect"))
        return collect();
    if (**words == NULL || (strcmp(word, "login") != 0 && strcmp(word, "sale") != 0))
        return printf("What is \"%s\"?\n", word), 0;
    const int number = atoi(*(*words)++);
    return !strcmp(word, "login") ? beginShift(number) : sell(number);
}

/* A device may take its time to see that the till before has died, or to start in the morning. */
static int openLink(const char* port)
{
    const char* const settings =
        "AutoDisable:1;PayOutOkCheck:1;RegretOkCheck:1;StatusOkTimeout:60;AskPayOutAmountLimit:0;";
    if (!done("registerEvents4TL",
              registerEvents4TL(onStatus, onError, onWarning, onInformation, onSession, message)))
        return 0;
    for (const time_t end = time(NULL) + 10; !done("initTL", initTL(port, settings, message));) {
        if (time(NULL) >= end)
            return 0;
        for (int moments = 0; moments < SECOND; ++moments)
            waitAMoment();
    }
    return 1;
}

int main(int argc, char** argv)
{
    setvbuf(stdout, NULL, _IONBF, 0);
    if (argc < 3) {
        printf("shop_day <port settings> <journal> [login <cashier> | sale <amount due> | collect]...\n");
        return 2;
    }
    if (!openJournal(argv[2]) || !openLink(argv[1]))
        return 1;
    int isFine = endWhatIsOpen();
    for (char** words = argv + 3; isFine && *words != NULL;)
        isFine = takeStep(&words);
    isFine = endShift() && isFine;
    done("exitTL", exitTL(message));
    return isFine ? 0 : 1;
}
