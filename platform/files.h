// Directories, files and environment variables.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// "\\" on Windows, "/" elsewhere.
const char* pathSeparator();

/// True for every character that separates the parts of a path here.
bool isPathSeparator(char character);

/// Where logs go unless the environment says otherwise, with its final separator.
const char* defaultLogDirectory();

/// The directory of machine-wide settings, without a final separator: the Windows directory, "/etc".
std::string windowsDirectory();

/// Empty if the variable does not exist; an empty text if it exists and is empty.
std::optional<std::string> environmentVariable(const char* name);

/// Makes one level. True if the directory was made or something of that name stood there already.
bool makeDirectory(const std::string& path);

/// "\r\n" on Windows, "\n" elsewhere.
const char* lineEnd();

/// Makes a log file writable for its owner; failure is nobody's concern.
void clearReadOnly(const std::string& path);

/// A log file, shared with other processes that read and append to it. POSIX: created for the user alone and
/// closed in child processes. Only a regular file is taken; and where others than root and this user may put
/// files, only one of this user's, under its one name.
class AppendFile {
public:
    AppendFile() = default;
    AppendFile(AppendFile&& other) noexcept : m_handle(other.release()) {}
    AppendFile& operator=(AppendFile&& other) noexcept
    {
        close();
        m_handle = other.release();
        return *this;
    }
    ~AppendFile() { close(); }

    /// Not open if the file can't be opened or isn't one to take.
    static AppendFile open(const std::string& path);

    /// Empties the file of this name, if it is one to take.
    static void empty(const std::string& path);

    bool isOpen() const { return m_handle != NOTHING; }

    /// The file's first bytes, at most as many.
    std::string beginning(std::size_t most) const;

    /// Adds the text at the end of the file, in one piece. Nobody is told of a failure.
    void append(std::string_view text) const;

    void close();

private:
    static constexpr std::intptr_t NOTHING = -1;

    std::intptr_t release()
    {
        const std::intptr_t handle = m_handle;
        m_handle = NOTHING;
        return handle;
    }

    std::intptr_t m_handle = NOTHING; // a descriptor, or a HANDLE
};

} // namespace platform
