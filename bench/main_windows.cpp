// The one row that differs on Windows.
#include "bench/log_folder.h"
#include "bench/rows.h"

int main()
{
    bench::useLogFolder();
    bench::measureIsOpen("isOpenTL of the DLL under Wine", 1.6);
}
