// The file in which a machine keeps its money. It is replaced as a whole and only once the new text has
// reached the disk, so that whoever reads it finds the old text or the new one, wherever the process dies.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace simulator {

class StateFile {
public:
    /// Takes the file for this machine alone, to the end of this object or of the process. Throws
    /// std::runtime_error with a text that names the file.
    explicit StateFile(std::string path);
    ~StateFile();

    const std::string& path() const { return m_path; }

    /// Empty if there is no file yet. Throws if it can't be read.
    std::optional<std::string> read() const;

    /// Throws if it can't be written; the old text is then still there.
    void write(const std::string& text) const;

private:
    class Lock; // a file of its own beside it, since the file itself is replaced

    std::string m_path;
    std::unique_ptr<Lock> m_lock;
};

} // namespace simulator
