#include "simulator/state_file.h"

#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr mode_t FOR_THE_OWNER = 0600;

/// A file descriptor that closes itself.
class Descriptor {
public:
    Descriptor(const std::string& path, int flags)
        : m_number(open(path.c_str(), flags | O_CLOEXEC, FOR_THE_OWNER))
    {}
    ~Descriptor()
    {
        if (m_number >= 0)
            close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }

private:
    const int m_number;
};

[[noreturn]] void fail(const std::string& path, const char* what)
{
    throw std::runtime_error("state file " + path + ": " + what);
}

bool writeAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::string directoryOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

} // namespace

class StateFile::Lock {
public:
    explicit Lock(const std::string& path) : m_file(path + ".lock", O_RDWR | O_CREAT)
    {
        if (!m_file.isOpen())
            fail(path, "can't be locked");
        if (flock(m_file.number(), LOCK_EX | LOCK_NB) != 0)
            fail(path, "another machine uses it");
    }

private:
    Descriptor m_file;
};

StateFile::StateFile(std::string path) : m_path(std::move(path)), m_lock(std::make_unique<Lock>(m_path)) {}

StateFile::~StateFile() = default;

std::optional<std::string> StateFile::read() const
{
    const Descriptor file(m_path, O_RDONLY);
    if (!file.isOpen() && errno == ENOENT)
        return std::nullopt;
    struct stat status {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode))
        fail(m_path, "can't be read");
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(file.number(), buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(m_path, "can't be read");
        if (count == 0)
            return text;
        text.append(buffer, static_cast<std::size_t>(count));
    }
}

void StateFile::write(const std::string& text) const
{
    const std::string aside = m_path + ".new";
    {
        const Descriptor file(aside, O_WRONLY | O_CREAT | O_TRUNC);
        if (!file.isOpen() || !writeAll(file.number(), text) || fsync(file.number()) != 0)
            fail(m_path, "can't be written");
    }
    if (rename(aside.c_str(), m_path.c_str()) != 0)
        fail(m_path, "can't be replaced");
    const Descriptor directory(directoryOf(m_path), O_RDONLY | O_DIRECTORY);
    if (directory.isOpen())
        fsync(directory.number());
}

} // namespace simulator
