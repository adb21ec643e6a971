// What the compiler's run-time library needs to be a part of a small shared library.
#include <cstdlib>

namespace __gnu_cxx {

// In place of the one that writes what was thrown, for which it would bring a demangler along.
void __verbose_terminate_handler()
{
    std::abort();
}

} // namespace __gnu_cxx
