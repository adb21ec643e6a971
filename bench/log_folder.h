// Where the library under measurement logs, and the bare writes that what it logged makes.
#pragma once

#include "bench/system.h"
#include "bench/table.h"

#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// Has a library that isn't initiated yet log into a fresh folder beside the program.
void useLogFolder();

/// The writes that some work makes in the log, one a line, into files of their own.
class BareWrites {
public:
    /// Runs the work once and sees what it logs.
    explicit BareWrites(const Work& work);

    /// "4 write"
    std::string name() const;
    /// Does the same writes.
    void operator()() const;

private:
    std::list<BareFile> m_files;
    std::vector<std::pair<const BareFile*, std::string>> m_lines;
};

/// Empties the log, so that no row works on large files.
void emptyLogs();

} // namespace bench
