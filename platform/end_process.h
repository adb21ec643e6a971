// The process that the library runs in.
#pragma once

namespace platform {

/// Ends the process at once, as a failed range check does: no destructors, no message box.
[[noreturn]] void endProcess();

} // namespace platform
