#include "platform/end_process.h"

#include <cstdlib>

namespace platform {

void endProcess()
{
    std::abort();
}

} // namespace platform
