#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

namespace platform {

namespace {

// Without O_NONBLOCK, opening a pipe would wait for its other end.
constexpr int CAREFUL = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

bool isRegular(int descriptor, struct stat& status)
{
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// The directory that a path lies in, and what is left of the path.
std::pair<std::string, std::string> splitPath(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return {".", path};
    const std::size_t end = path.find_last_not_of('/', slash);
    return {end == std::string::npos ? "/" : path.substr(0, end + 1), path.substr(slash + 1)};
}

/// True if somebody other than root and this user may put files into such a directory.
bool isOpenToOthers(const struct stat& directory)
{
    return (directory.st_mode & (S_IWGRP | S_IWOTH)) != 0 ||
           (directory.st_uid != 0 && directory.st_uid != geteuid());
}

/// True if the path is a link that somebody else could have put there.
bool isOthersLink(const std::string& path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0)
        return true;
    if (!S_ISLNK(status.st_mode))
        return false;
    const std::string directory = splitPath(path).first;
    return stat(directory.c_str(), &status) != 0 || isOpenToOthers(status) || isOthersLink(directory);
}

/// Opens a log file if it is one to take; else -1.
int openTrusted(const std::string& path, int access)
{
    const auto [directory, name] = splitPath(path);
    // Looked at by descriptor, and the file opened in it: its name may lead elsewhere by now. It need not be
    // one that can be listed.
    const int place = open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (place < 0)
        return -1;
    struct stat status = {};
    const bool careful = fstat(place, &status) != 0 || isOpenToOthers(status) || isOthersLink(directory);
    const int descriptor =
        openat(place, name.c_str(), access | CAREFUL | (careful ? O_NOFOLLOW : 0), S_IRUSR | S_IWUSR);
    close(place);
    if (descriptor < 0)
        return -1;
    if (isRegular(descriptor, status) && (!careful || (status.st_nlink == 1 && status.st_uid == geteuid())))
        return descriptor;
    close(descriptor);
    return -1;
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

const char* lineEnd()
{
    return "\n";
}

void clearReadOnly(const std::string& path)
{
    // By descriptor: between two looks at the path somebody could put a link there.
    const int descriptor = openTrusted(path, O_RDONLY);
    if (descriptor < 0)
        return;
    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && (status.st_mode & S_IWUSR) == 0)
        fchmod(descriptor, (status.st_mode & 07777) | S_IWUSR);
    ::close(descriptor);
}

AppendFile AppendFile::open(const std::string& path)
{
    AppendFile file;
    file.m_handle = openTrusted(path, O_RDWR | O_APPEND | O_CREAT);
    return file;
}

void AppendFile::empty(const std::string& path)
{
    // Emptied only once it is known to be a file to take.
    const int descriptor = openTrusted(path, O_WRONLY);
    if (descriptor < 0)
        return;
    // Nobody could mend a failure: the old lines stay.
    [[maybe_unused]] const int emptied = ftruncate(descriptor, 0);
    ::close(descriptor);
}

std::string AppendFile::beginning(std::size_t most) const
{
    std::string text(most, '\0');
    const ssize_t got = pread(static_cast<int>(m_handle), text.data(), text.size(), 0);
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return text;
}

void AppendFile::append(std::string_view text) const
{
    while (!text.empty()) {
        const ssize_t written = write(static_cast<int>(m_handle), text.data(), text.size());
        if (written > 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (written == 0 || errno != EINTR)
            return;
    }
}

void AppendFile::close()
{
    if (isOpen())
        ::close(static_cast<int>(release()));
}

} // namespace platform
