#include "bench/memory_posix.h"

#include <malloc.h>

namespace {

thread_local std::size_t count = 0;

} // namespace

// The program's allocation comes before the C library's, for the libraries too. All C++ allocation, that of
// a library that has its own run-time inside included, ends here.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size)
{
    ++count;
    return __libc_malloc(size);
}

namespace bench {

std::size_t allocations()
{
    return count;
}

std::size_t heapInUse()
{
    return mallinfo2().uordblks;
}

} // namespace bench
