// What a device says, with the log: every line of it has its form, whatever stands in a message. The first
// byte opens the gates of what is logged.
#include "fuzz/library.h"

#include "config/settings.h"
#include "logic/shared_state.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    const unsigned char how = input.byte();
    fuzz::begin(fuzz::Log::Checked);
    fuzz::listen((how & 1) != 0);
    g_TLState = (how & 32) == 0 ? STATE_LOGGED_OUT : STATE_PAYIN_ENABLED;
    if ((how & 2) != 0)
        g_nApiVersionKind = API_VERSION_KIND_LONG;
    g_nLoggEveryCallback = how >> 2 & 1;
    g_nLoggSendEvents = how >> 3 & 1;
    g_nForwardCallbackChangeOnly = how >> 4 & 1;
    fuzz::deliverLines(input);
    return 0;
}
