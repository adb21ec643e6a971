#include "bench/rows.h"

#include "api/tllogics.h"

#include <cstdio>
#include <cstdlib>

namespace bench {

char message[1024];

namespace {

void onStatus(std::int32_t, std::uint16_t, std::uint16_t) {}
void onError(std::int32_t, const char*, const char*) {}
void onCashLevel(std::int32_t, std::uint16_t, const char*) {}

} // namespace

void expectOk(std::int16_t status)
{
    if (status != TL_STATUS_OK) {
        std::fprintf(stderr, "A call that should succeed ended with %d: %s\n", status, message);
        std::exit(1);
    }
}

Session::Session(const char* settings)
{
    expectOk(registerEventsTL(onStatus, onError, onCashLevel, message));
    expectOk(initTL("Type:RS232;Name:instant;", settings, message));
    expectOk(loginTL(1, 1, message));
}

Session::~Session()
{
    expectOk(exitTL(message));
}

} // namespace bench
