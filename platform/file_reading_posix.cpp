#include "platform/file_reading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

/// A regular file, open for reading.
class OpenFile {
public:
    // Without O_NONBLOCK, opening a pipe would wait for its other end.
    explicit OpenFile(const std::string& path)
        : m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK))
    {
        m_bRegular = m_descriptor >= 0 && fstat(m_descriptor, &m_status) == 0 && S_ISREG(m_status.st_mode);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }

    explicit operator bool() const { return m_bRegular; }
    std::int64_t size() const { return m_status.st_size; }

    /// Short if the file is.
    std::string text() const
    {
        std::string text(static_cast<std::size_t>(m_status.st_size), '\0');
        std::size_t filled = 0;
        ssize_t got = 1;
        while (filled < text.size() && got > 0) {
            got = read(m_descriptor, text.data() + filled, text.size() - filled);
            filled += got > 0 ? static_cast<std::size_t>(got) : 0;
        }
        text.resize(filled);
        return text;
    }

private:
    int m_descriptor;
    struct stat m_status = {};
    bool m_bRegular = false;
};

} // namespace

bool canRead(const std::string& path)
{
    // Asked of the name: whoever reads the file opens it once.
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0;
}

std::optional<std::string> readFile(const std::string& path)
{
    const OpenFile file(path);
    if (!file || file.size() > LARGEST_FILE)
        return std::nullopt;
    return file.text();
}

} // namespace platform
