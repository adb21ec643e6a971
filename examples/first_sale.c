/* A first sale: the customer pays 123.00 or more, the till gives change. */
#include "tllogics.h"

#include <stdio.h>

static void onStatus(int32_t amount, uint16_t status, uint16_t mode)
{
    printf("status %d, mode %d, paid in %d\n", status, mode, (int)amount);
}

static void onError(int32_t code, const char* text, const char* info)
{
    printf("error %d: %s (%s)\n", (int)code, text, info);
}

static void onCashLevel(int32_t denomination, uint16_t left, const char* text)
{
    printf("denomination %d: %d left (%s)\n", (int)denomination, left, text);
}

int main(void)
{
    char message[1024];
    int32_t rest = 0;
    if (registerEventsTL(onStatus, onError, onCashLevel, message) != TL_STATUS_OK ||
        initTL("Type:RS232;Name:COM1;", "", message) != TL_STATUS_OK ||
        loginTL(1, 1, message) != TL_STATUS_OK)
        return printf("The device is not open: %s\n", message), 1;
    printf("Press Enter when the customer has paid.\n");
    getchar();
    const int16_t paid = amountDueTL(12300, "receipt 1", &rest, message);
    printf("amountDueTL: %d, %s\n", paid, message);
    logoutTL(message);
    exitTL(message);
    return paid == TL_STATUS_OK ? 0 : 1;
}
