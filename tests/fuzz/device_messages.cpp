// What a device says, in both forms, the state of one message carried on to the next. A line of the input is
// a message; the first byte tells who listens.
#include "fuzz/library.h"

#include "logic/shared_state.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    const unsigned char how = input.byte();
    fuzz::begin(fuzz::Log::Silent);
    fuzz::listen((how & 1) != 0);
    g_TLState = (how & 32) == 0 ? STATE_LOGGED_OUT : STATE_PAYIN_ENABLED;
    if ((how & 2) != 0)
        g_nApiVersionKind = API_VERSION_KIND_LONG;
    fuzz::deliverLines(input);
    return 0;
}
