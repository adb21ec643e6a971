/* What the shop's day needs of the system: examples/shop_day_posix.c and examples/shop_day_windows.c. */
#ifndef SHOP_DAY_H
#define SHOP_DAY_H

#include <stdio.h>

/* Writes what was written to the file through to the disk, so that it is there after a power cut too; true if
 * it did. */
int writeThrough(FILE* file);

/* 20 milliseconds. */
void waitAMoment(void);

#endif
