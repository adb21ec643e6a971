#include "shop_day.h"

#include <io.h>
#include <windows.h>

int writeThrough(FILE* file)
{
    return fflush(file) == 0 && _commit(_fileno(file)) == 0;
}

void waitAMoment(void)
{
    Sleep(20);
}
