#include "simulation/replay/log_lines.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>

namespace simulation {

namespace {

using namespace std::chrono;
using std::filesystem::directory_entry;

constexpr const char* LOADED = "## C API Loaded";

struct Stamp {
    int week;
    std::int64_t ofDay; // milliseconds
    std::size_t length;
};

/// "w47 14:05:06.007 "
std::optional<Stamp> readStamp(const std::string& line)
{
    int week = 0, hour = 0, minute = 0, second = 0, millisecond = 0, length = 0;
    if (std::sscanf(line.c_str(), "w%2d %2d:%2d:%2d.%3d %n", &week, &hour, &minute, &second, &millisecond,
                    &length) != 5 ||
        length == 0)
        return std::nullopt;
    return Stamp{week, ((hour * 60 + minute) * 60 + second) * std::int64_t{1000} + millisecond,
                 static_cast<std::size_t>(length)};
}

/// The day of a week as "%W" counts weeks: the first one begins with the year's first Monday.
sys_days dayOf(year inYear, int week, int fromMonday)
{
    const sys_days firstMonday{inYear / January / Monday[1]};
    return firstMonday + days{(week - 1) * 7 + fromMonday};
}

struct File {
    Stream stream;
    int fromMonday; // of the API's and the logic's files
    std::filesystem::path path;
};

std::optional<File> fileOf(const directory_entry& entry)
{
    static const std::vector<std::string> DAYS{"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    const std::string name = entry.path().filename().string();
    static const std::map<std::string, Stream> FAMILIES{
        {"tlapi_", API_LINES}, {"tllogic_", LOGIC_LINES}, {"tlerror_", ERROR_LINES}};
    for (const auto& [prefix, stream] : FAMILIES) {
        if (!name.starts_with(prefix) || !name.ends_with(".log"))
            continue;
        const auto day = std::find(DAYS.begin(), DAYS.end(), name.substr(prefix.size(), 3));
        return File{stream, static_cast<int>(day - DAYS.begin()), entry.path()};
    }
    return std::nullopt;
}

std::vector<File> filesOf(const std::filesystem::path& directory)
{
    std::vector<File> files;
    std::vector<std::filesystem::path> places{directory};
    for (const directory_entry& entry : std::filesystem::directory_iterator(directory))
        if (entry.is_directory())
            places.push_back(entry.path());
    for (const auto& place : places)
        for (const directory_entry& entry : std::filesystem::directory_iterator(place))
            if (const auto file = fileOf(entry))
                files.push_back(*file);
    std::sort(files.begin(), files.end(), [](const File& a, const File& b) { return a.path < b.path; });
    return files;
}

std::vector<std::string> linesOf(const std::filesystem::path& path)
{
    std::vector<std::string> lines;
    std::ifstream stream(path, std::ios::binary);
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        lines.push_back(std::move(line));
    }
    return lines;
}

/// The year that the error files tell, else that of a login's line, else this one.
year yearOf(const std::vector<File>& files)
{
    for (const File& file : files) {
        for (const std::string& line : linesOf(file.path)) {
            const std::size_t at = file.stream == ERROR_LINES ? 0 : line.find(", date: ");
            int number = 0;
            if (at != std::string::npos &&
                std::sscanf(line.c_str() + (at == 0 ? 0 : at + 8), "%4d-", &number) == 1)
                return year{number};
        }
    }
    return year_month_day{floor<days>(system_clock::now())}.year();
}

} // namespace

LoggedDays LoggedDays::read(const std::string& directory)
{
    if (!std::filesystem::is_directory(directory))
        throw std::runtime_error(directory + " is no directory");
    const std::vector<File> files = filesOf(directory);
    const year inYear = yearOf(files);
    LoggedDays logged;
    for (const File& file : files) {
        int number = 0;
        for (const std::string& line : linesOf(file.path)) {
            ++number;
            const std::size_t dated = file.stream == ERROR_LINES ? std::size_t{15} : 0; // "2026-11-22 Sun "
            const auto stamp = line.size() > dated ? readStamp(line.substr(dated)) : std::nullopt;
            if (!stamp)
                continue; // torn, or somebody else's
            sys_days day =
                file.stream == ERROR_LINES ? sys_days{} : dayOf(inYear, stamp->week, file.fromMonday);
            if (int y = 0, m = 0, d = 0;
                file.stream == ERROR_LINES && std::sscanf(line.c_str(), "%4d-%2d-%2d", &y, &m, &d) == 3)
                day = sys_days{year{y} / m / d};
            logged.lines[file.stream].push_back(
                {day.time_since_epoch().count() * 86'400'000 + stamp->ofDay,
                 line.substr(dated + stamp->length),
                 file.path.filename().string() + ":" + std::to_string(number)});
        }
    }
    for (auto& lines : logged.lines)
        std::stable_sort(lines.begin(), lines.end(),
                         [](const LoggedLine& a, const LoggedLine& b) { return a.time < b.time; });

    auto& api = logged.lines[API_LINES];
    const auto loaded =
        std::find_if(api.rbegin(), api.rend(), [](const LoggedLine& line) { return line.text == LOADED; });
    if (loaded == api.rend())
        throw std::runtime_error(
            "can't be replayed: no \"C API Loaded\" in the files, so nobody knows how it was then");
    const Milliseconds since = loaded->time;
    // The line before it belongs to it.
    api.erase(api.begin(), loaded.base() - 2);
    for (const std::size_t stream : {LOGIC_LINES, ERROR_LINES})
        std::erase_if(logged.lines[stream], [since](const LoggedLine& line) { return line.time < since; });
    // In the same millisecond the lines of a former process may stand.
    auto& logic = logged.lines[LOGIC_LINES];
    const auto starting = std::find_if(logic.rbegin(), logic.rend(), [](const LoggedLine& line) {
        return line.text == "## Session Starting";
    });
    if (starting != logic.rend())
        logic.erase(logic.begin(), starting.base() - 1);
    return logged;
}

} // namespace simulation
