// Every row.
#include "bench/log_folder.h"
#include "bench/rows.h"

int main()
{
    bench::useLogFolder();
    bench::measureIsOpen("isOpenTL", 1.35);
    bench::measureOtherCalls();
    bench::measureMessages();
    bench::measureOpening();
    bench::measureWaits();
}
