// What a call costs that waits for nothing.
#include "bench/log_folder.h"
#include "bench/rows.h"

#include "api/tllogics.h"

namespace bench {

namespace {

void compareCall(const char* name, double aim, const Work& call)
{
    emptyLogs();
    const BareWrites bare(call);
    compare(name, bare.name(), call, std::cref(bare), aim);
}

} // namespace

void measureIsOpen(const char* name, double aim)
{
    const Session session;
    compareCall(name, aim, [] {
        std::uint32_t open = 0;
        isOpenTL(&open, message);
    });
}

void measureOtherCalls()
{
    const Session session;
    compareCall("enablePayinTL", 1.35, [] { enablePayinTL(message); });
    compareCall("a refused call", 1.35, [] { depositTL("1", message); });
}

} // namespace bench
