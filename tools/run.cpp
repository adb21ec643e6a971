#include "tools/run.h"

#include <fmt/format.h>

#include <chrono>
#include <thread>

namespace tllog {

namespace {

constexpr auto LOOKS_APART = std::chrono::milliseconds(200);

// Of each file, for those who follow and don't ask for earlier.
constexpr std::uint64_t LAST_BYTES = 16 * 1024;

void readAll(LogReader& reader, Story& story, View& view, Printer& printer)
{
    Entry entry;
    std::uint64_t lines = 0;
    while (printer.isHeard() && reader.next(entry)) {
        const Told told = story.read(entry);
        view.line(entry, told);
        if ((++lines & 0x3FFF) == 0)
            printer.progress(reader.bytesRead(), reader.bytesInAll());
    }
}

void follow(LogReader& reader, Story& story, View& view, const Options& options, Printer& printer)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(options.followSeconds);
    while (printer.isHeard()) {
        // A new day, or the first session with an address.
        for (const LogFile& file : findLogFiles(options.places))
            if (!reader.has(file.path)) {
                story.know(file);
                reader.add(file);
            }
        reader.lookAgain();
        readAll(reader, story, view, printer);
        printer.flush();
        if (options.followSeconds > 0 && std::chrono::steady_clock::now() >= end)
            break;
        std::this_thread::sleep_for(LOOKS_APART);
    }
    reader.showAll();
    readAll(reader, story, view, printer);
}

} // namespace

bool run(const Options& options, Printer& printer, View& view)
{
    const std::vector<LogFile> files = findLogFiles(options.places);
    if (files.empty() && !options.follow)
        return false;
    Story story(files);
    story.onSale = [&](const Sale& sale) { view.sale(sale); };
    story.onNotice = [&](const Notice& notice) { view.notice(notice); };
    LogReader reader(files, options.follow ? LogReader::Follow::Yes : LogReader::Follow::No);
    for (const std::string& path : reader.unreadable())
        fmt::print(stderr, "tllog: can't read {}\n", path);
    if (reader.unreadable().size() == files.size() && !options.follow)
        return false;
    if (options.follow) {
        if (!options.since)
            reader.skipToEnds(LAST_BYTES);
        follow(reader, story, view, options, printer);
    } else {
        readAll(reader, story, view, printer);
    }
    story.finish();
    view.finish();
    printer.flush();
    return true;
}

} // namespace tllog
