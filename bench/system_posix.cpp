#include "bench/system.h"

#include <fcntl.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

namespace bench {

const char* const BARE_APPEND = "write";

BareFile::BareFile(const std::string& path)
    : m_handle(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_TRUNC | O_CLOEXEC, 0600))
{}

BareFile::~BareFile()
{
    close(static_cast<int>(m_handle));
}

void BareFile::append(std::string_view text) const
{
    if (write(static_cast<int>(m_handle), text.data(), text.size()) < 0)
        abort();
}

void bareSleep()
{
    const timespec time{0, 10'000'000};
    nanosleep(&time, nullptr);
}

void setEnvironment(const char* name, const std::string& value)
{
    setenv(name, value.c_str(), 1);
}

} // namespace bench
