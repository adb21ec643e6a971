// What a line of the log costs, on disk when the call returns.
#include "bench/log_folder.h"
#include "diag/log.h"

int main()
{
    bench::useLogFolder();
    setLogSubfolder("");
    const auto line = [] {
        logLine("ctllogics.callbackfunc: a line as long as most", LOG_DEBUG, LOG_FILE_LOGIC);
    };
    const bench::BareWrites bare(line);
    bench::printHeader();
    bench::compare("a log line", bare.name(), line, std::cref(bare), 1.2);
}
