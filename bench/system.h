// What the measurements need of the operating system: the bare calls that the library can't be faster than.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace bench {

/// A file that texts are appended to, by nothing but the system's own call.
class BareFile {
public:
    explicit BareFile(const std::string& path);
    BareFile(const BareFile&) = delete;
    BareFile& operator=(const BareFile&) = delete;
    ~BareFile();

    void append(std::string_view text) const;

private:
    std::intptr_t m_handle;
};

/// The name of that call.
extern const char* const BARE_APPEND;

/// The system's own sleep of 10 ms.
void bareSleep();

void setEnvironment(const char* name, const std::string& value);

} // namespace bench
