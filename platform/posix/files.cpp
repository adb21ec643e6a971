#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace platform {

namespace {

// Without O_NONBLOCK, opening a pipe would wait for its other end.
constexpr int CAREFUL = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

bool isRegular(int descriptor, struct stat& status)
{
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

const char* pathSeparator()
{
    return "/";
}

bool isPathSeparator(char character)
{
    return character == '/';
}

const char* defaultLogDirectory()
{
    return "/tmp/";
}

std::string windowsDirectory()
{
    return "/etc";
}

std::optional<std::string> environmentVariable(const char* name)
{
    const char* value = std::getenv(name);
    if (value == nullptr)
        return std::nullopt;
    return value;
}

bool makeDirectory(const std::string& path)
{
    return mkdir(path.c_str(), 0777) == 0 || errno == EEXIST;
}

void clearReadOnly(const std::string& path)
{
    // By descriptor: between two looks at the path somebody could put a link there.
    const int descriptor = open(path.c_str(), O_RDONLY | O_NOFOLLOW | CAREFUL);
    if (descriptor < 0)
        return;
    struct stat status = {};
    if (isRegular(descriptor, status) && (status.st_mode & S_IWUSR) == 0)
        fchmod(descriptor, (status.st_mode & 07777) | S_IWUSR);
    close(descriptor);
}

std::FILE* openLogFile(const std::string& path, LogOpening opening)
{
    const bool append = opening == LogOpening::Append;
    const int access = append ? O_RDWR | O_APPEND : O_WRONLY;
    const int descriptor = open(path.c_str(), access | O_CREAT | O_NOFOLLOW | CAREFUL, 0600);
    if (descriptor < 0)
        return nullptr;
    struct stat status = {};
    std::FILE* file = nullptr;
    // Emptied only once it is known to be a file: the log directory may be open to all.
    if (isRegular(descriptor, status) && (append || ftruncate(descriptor, 0) == 0))
        file = fdopen(descriptor, append ? "a+" : "w");
    if (file == nullptr)
        close(descriptor);
    return file;
}

} // namespace platform
