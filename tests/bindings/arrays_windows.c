/* A program on another C run-time than the library's, ucrtbase.dll, releases the library's arrays. */
#include "tllogics_arrays.h"

#include <windows.h>

#include <psapi.h>
#include <stdio.h>

static char message[1024];

static void onStatus(int32_t amount, uint16_t status, uint16_t mode)
{
    (void)amount, (void)status, (void)mode;
}

static void onError(int32_t code, const char* text, const char* info)
{
    (void)code, (void)text, (void)info;
}

static void onCashLevel(int32_t denomination, uint16_t left, const char* info)
{
    (void)denomination, (void)left, (void)info;
}

static SIZE_T memoryInUse(void)
{
    PROCESS_MEMORY_COUNTERS counters = {.cb = sizeof counters};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PagefileUsage;
}

static int isReleased(void)
{
    enum { ROUNDS = 4000, FIRST = 500, LEAST_OF_A_ROUND = 2 * 16 };
    SIZE_T before = 0;
    for (int round = 0; round < ROUNDS; ++round) {
        CashCountRecord *coins = NULL, *notes = NULL;
        int32_t nCoins = 0, nNotes = 0;
        uint32_t rest = 0;
        if (round == FIRST)
            before = memoryInUse();
        purgeTL(1, &coins, &nCoins, &notes, &nNotes, &rest, "", message); /* refused, with empty arrays */
        if (coins == NULL || notes == NULL)
            return 0;
        tlFreeArray(coins);
        tlFreeArray(notes);
    }
    tlFreeArray(NULL);
    return memoryInUse() < before + (ROUNDS - FIRST) * LEAST_OF_A_ROUND;
}

/* The entry: without the start-up code, nothing here comes from msvcrt.dll. */
int start(void);

int start(void)
{
    const char* const quiet = "LogCRToCAPI:0;LogCAPIToCR:0;LogComToCAPI:0;LogCAPIToCom:0;LogDebug:0;";
    int good = registerEventsTL(onStatus, onError, onCashLevel, message) == TL_STATUS_OK &&
               initTL("Type:RS232;Name:COM1;", quiet, message) == TL_STATUS_OK;
    good = good && isReleased();
    good = exitTL(message) == TL_STATUS_OK && good;
    puts(good ? "released" : message);
    ExitProcess(good ? 0 : 1);
}
