// What the compiler's run-time library needs to be a part of a shared library, small and on older systems.
#include <dlfcn.h>
#include <link.h>

#include <cstdint>
#include <cstdlib>

namespace __gnu_cxx {

// In place of the one that writes what was thrown, for which it would bring a demangler along.
[[gnu::visibility("hidden")]] void __verbose_terminate_handler()
{
    std::abort();
}

} // namespace __gnu_cxx

#ifdef DLFO_STRUCT_HAS_EH_DBASE

namespace {

struct Search {
    std::uintptr_t address;
    dl_find_object* result;
};

void* at(const dl_phdr_info& object, const ElfW(Phdr) & segment)
{
    return reinterpret_cast<void*>(object.dlpi_addr + segment.p_vaddr);
}

// Not 0 if it is the object that holds the address, which ends the search.
int look(dl_phdr_info* object, std::size_t, void* data)
{
    const auto* search = static_cast<const Search*>(data);
    dl_find_object found{};
    bool holdsAddress = false;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = object->dlpi_phdr[i];
        if (segment.p_type == PT_GNU_EH_FRAME)
            found.dlfo_eh_frame = at(*object, segment);
        if (segment.p_type != PT_LOAD)
            continue;
        const auto start = reinterpret_cast<std::uintptr_t>(at(*object, segment));
        if (search->address - start >= segment.p_memsz)
            continue;
        holdsAddress = true;
        found.dlfo_map_start = at(*object, segment);
        found.dlfo_map_end = reinterpret_cast<void*>(start + segment.p_memsz);
    }
    if (holdsAddress)
        *search->result = found;
    return holdsAddress ? 1 : 0;
}

} // namespace

// The unwinder asks glibc for it, which has it from 2.35 on only. A hidden one of our own keeps the library
// loadable with older ones.
extern "C" [[gnu::visibility("hidden")]] int _dl_find_object(void* address, dl_find_object* result) noexcept
{
    Search search{reinterpret_cast<std::uintptr_t>(address), result};
    const int found = dl_iterate_phdr(look, &search);
    return found != 0 && result->dlfo_eh_frame != nullptr ? 0 : -1;
}

#endif
