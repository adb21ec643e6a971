// How often initTL opens the settings file.
#include "bench/rows.h"
#include "bench/system.h"
#include "bench/table.h"

#include "api/tllogics.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace bench {

void measureOpening()
{
    namespace fs = std::filesystem;
    const fs::path folder = "bench_config";
    fs::create_directories(folder);
    const fs::path file = folder / "tllogics.ini";
    std::ofstream(file) << "[Operation]\nCurrencyDecimals=2\n[Logging]\nLogDebug=1\n";
    setEnvironment("TLCONFIG", folder.string());

    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (watch < 0 || inotify_add_watch(watch, file.c_str(), IN_OPEN | IN_CLOSE) < 0)
        std::abort();
    {
        const Session session;
    }
    std::array<inotify_event, 64> events{};
    const ssize_t got = read(watch, events.data(), sizeof events);
    close(watch);
    // Closing is watched too: openings that nothing separates would be told as one.
    const auto end = events.begin() + (got > 0 ? static_cast<std::size_t>(got) / sizeof(inotify_event) : 0);
    const auto opens = std::count_if(events.begin(), end,
                                     [](const inotify_event& event) { return (event.mask & IN_OPEN) != 0; });
    printRow({"initTL with a settings file", "opens of the file", "", std::to_string(opens), "", "", "1",
              opens == 1});
}

} // namespace bench
