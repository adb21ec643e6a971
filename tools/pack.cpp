#include "tools/pack.h"

#include "tools/log_reader.h"
#include "tools/system.h"
#include "tools/tar.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <stdexcept>

namespace tllog {

namespace {

constexpr Day DAYS = 7;

/// As many characters, the same for the same text; digits stay digits.
std::string mask(std::string_view text, std::uint64_t key)
{
    std::uint64_t state = key;
    for (const char each : text)
        state = (state ^ static_cast<unsigned char>(each)) * 0x100000001B3ULL;
    std::string out;
    for (const char each : text) {
        state ^= state >> 29;
        state *= 0xBF58476D1CE4E5B9ULL;
        state ^= state >> 32;
        out += each >= '0' && each <= '9' ? static_cast<char>('0' + state % 10)
                                          : static_cast<char>('a' + state % 26);
    }
    return out;
}

/// Replaces what lies between two positions.
void maskRange(std::string& line, std::size_t from, std::size_t to, std::uint64_t key)
{
    if (from < to && to <= line.size())
        line.replace(from, to - from, mask(std::string_view(line).substr(from, to - from), key));
}

/// After "before" up to "after", the last one of it.
bool maskBetween(std::string& line, std::size_t start, std::string_view before, std::string_view after,
                 std::uint64_t key)
{
    const std::size_t at = line.find(before, start);
    if (at == std::string::npos)
        return false;
    const std::size_t from = at + before.size();
    const std::size_t to = after.empty() ? line.size() : line.rfind(after);
    maskRange(line, from, to == std::string::npos || to < from ? line.size() : to, key);
    return true;
}

/// The login's numbers keep their form: they are numbers in the calls, and two digits in the command.
void maskDigits(std::string& line, std::size_t from, std::size_t to)
{
    for (std::size_t at = from; at < std::min(to, line.size()); ++at)
        if (line[at] >= '1' && line[at] <= '9')
            line[at] = '1';
}

struct Member {
    std::string name;
    std::filesystem::path path;
    bool isLog = false;
};

/// What the logs say of the files and versions that they were written with.
struct Facts {
    std::set<std::string> files;
    std::set<std::string> versions;
    Day last = 0;
    std::map<std::filesystem::path, Day> newest; // line of each file
};

Facts readFacts(const std::vector<LogFile>& files)
{
    Facts facts;
    LogReader reader(files);
    Entry entry;
    while (reader.next(entry)) {
        if (entry.mark == Mark::Foreign)
            continue;
        const Day day = dayOfTime(entry.time);
        Day& newest = facts.newest[entry.file->path];
        newest = std::max(newest, day);
        facts.last = std::max(facts.last, day);
        if (entry.mark != Mark::Note)
            continue;
        for (const std::string_view head :
             {"About to read settings from configuration file: ", "tllang.ini Path: "})
            if (const std::string_view path = between(entry.text, head, ""); !path.empty())
                facts.files.insert(std::string(path));
        if (const std::string_view version = between(entry.text, "Library Version: ", ""); !version.empty())
            facts.versions.insert(std::string(version));
    }
    return facts;
}

std::int64_t secondsOf(const std::filesystem::path& path)
{
    std::error_code error;
    const auto written = std::filesystem::last_write_time(path, error);
    if (error)
        return 0;
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::file_clock::to_sys(written).time_since_epoch())
        .count();
}

void addFile(TarWriter& tar, const Member& member, bool masking, std::uint64_t key)
{
    std::ifstream stream(member.path, std::ios::binary);
    if (!stream)
        throw std::runtime_error("can't read " + member.path.string());
    tar.begin(member.name, std::filesystem::file_size(member.path), secondsOf(member.path));
    if (!masking || !member.isLog) {
        std::string block(256 * 1024, '\0');
        while (stream.read(block.data(), static_cast<std::streamsize>(block.size())), stream.gcount() > 0)
            tar.write(std::string_view(block).substr(0, static_cast<std::size_t>(stream.gcount())));
    } else {
        std::string line;
        while (std::getline(stream, line)) {
            const bool ended = !stream.eof();
            tar.write(masked(line, key) + (ended ? "\n" : ""));
        }
    }
    tar.end();
}

} // namespace

std::string masked(std::string_view raw, std::uint64_t key)
{
    std::string line(raw);
    const LogLine parsed = parseLogLine(raw);
    if (parsed.mark == Mark::Foreign)
        return mask(raw, key); // nobody knows what it is
    const auto start = static_cast<std::size_t>(parsed.text.data() - raw.data());
    const std::string_view text = parsed.text;
    const auto begins = [&](std::string_view head) { return text.starts_with(head); };

    if (parsed.mark == Mark::Command) {
        const DeviceCommand command = parseCommand(text);
        switch (command.letter) {
        case 'c':
        case 'f':
        case 'm': {
            const std::string_view receipt = command.receipt();
            if (receipt != "regretAll")
                maskRange(line, line.size() - receipt.size(), line.size(), key);
            break;
        }
        case 'n':
        case 'p':
            maskBetween(line, start, "#", "", key);
            break;
        case 'a':
            if (text.size() > 1 && text[1] == FIELD_SEPARATOR)
                maskDigits(line, start, start + 7); // the time behind them stays
            else if (text.size() > 15)
                maskRange(line, start + 15, line.size(), key);
            break;
        default:
            break;
        }
        return line;
    }
    if (begins("loginTL(") || begins("CTLLogics::login(") || begins("CTLLogics::login calling numeric")) {
        const std::size_t open = line.find('(', start);
        const std::size_t close = line.rfind(text.ends_with(", message)") ? ", message)" : ")");
        const std::size_t comma = line.find(',', open);
        if (comma != std::string::npos && close != std::string::npos && comma < close) {
            const std::size_t second = comma + (line[comma + 1] == ' ' ? 2 : 1);
            maskRange(line, open + 1, comma, key);
            maskRange(line, second, close, key);
        }
        return line;
    }
    if (begins("loginStrTL(")) {
        maskBetween(line, start, "(", ", message)", key);
        return line;
    }
    if (begins("COstrivane::doPayOut: Transaction Id: ")) {
        maskBetween(line, start, "Transaction Id: ", "", key);
        return line;
    }
    for (const std::string_view call :
         {"payoutTL(", "payout2TL(", "amountDueTL(", "depositTL(", "dispenseTL(", "collectToCashFloatTL(",
          "purgeTL(", "dispenseSpecifiedTL(", "CTLLogics::collectToCashFloat(", "CTLLogics::purge(",
          "CTLLogics::dispenseSpecified("})
        if (begins(call)) {
            const std::size_t open = line.find('"', start);
            const std::size_t close = line.rfind('"');
            if (open != std::string::npos && open < close)
                maskRange(line, open + 1, close, key);
            return line;
        }
    if (begins("endReplenishTL(")) {
        maskBetween(line, start, "(", "\", message)", key);
        return line;
    }
    if (begins("CTLLogics::deposit(") || begins("CTLLogics::endReplenish(")) {
        maskBetween(line, start, "(", ")", key);
        return line;
    }
    if (begins("CTLLogics::dispense(")) {
        maskBetween(line, start, ", ", ", amountRest)", key);
        return line;
    }
    if (begins("CTLLogics::amountDue(")) {
        maskBetween(line, start, ",", ", amountRest)", key);
        return line;
    }
    if (begins("CTLLogics::payout(")) {
        // Two forms: (1200,7500,SALE-1) and (1200, 7500, SALE-1, amountRest).
        const std::size_t first = line.find(',', start);
        const std::size_t second = first == std::string::npos ? first : line.find(',', first + 1);
        if (second == std::string::npos)
            return line;
        const bool spaced = line[first + 1] == ' ';
        const std::size_t close = line.rfind(spaced ? ", amountRest)" : ")");
        maskRange(line, second + (spaced ? 2 : 1), close, key);
    }
    return line;
}

void pack(const std::filesystem::path& archive, bool masking, const Options& options, Printer& printer)
{
    const std::vector<LogFile> files = findLogFiles(options.places);
    if (files.empty())
        throw std::runtime_error("no logs in " + options.places.front().string());
    const Facts facts = readFacts(files);

    std::vector<Member> members;
    for (const LogFile& file : files) {
        const auto newest = facts.newest.find(file.path);
        const bool young = newest == facts.newest.end() || newest->second > facts.last - DAYS;
        if (young)
            members.push_back(
                {"logs/" + (file.folder.empty() ? "" : file.folder + "/") + file.name, file.path, true});
    }
    std::string absent;
    for (const std::string& path : facts.files) {
        const std::filesystem::path place(path);
        std::error_code error;
        if (std::filesystem::is_regular_file(place, error))
            members.push_back({"settings/" + place.filename().string(), place, false});
        else
            absent += "not found: " + path + "\n";
    }

    std::string about = fmt::format("tllog {} on {}\n", TLLOGICS_VERSION_TEXT, systemName());
    std::string now;
    appendStamp(now, localNow());
    about += "packed " + now + (masking ? ", receipts and login texts masked" : "") + "\n";
    for (const std::string& version : facts.versions)
        about += "library version " + version + "\n";
    about += absent;

    TarWriter tar(archive);
    tar.begin("about.txt", about.size(), secondsOf(files.front().path));
    tar.write(about);
    tar.end();
    std::random_device chance;
    const std::uint64_t key = (std::uint64_t{chance()} << 32) | chance();
    std::set<std::string> names;
    std::uint64_t bytes = 0;
    for (Member& member : members) {
        for (int i = 2; !names.insert(member.name).second; ++i)
            member.name += "." + std::to_string(i);
        addFile(tar, member, masking, key);
        std::error_code error;
        bytes += std::filesystem::file_size(member.path, error);
    }
    tar.close();
    printer.line("", fmt::format("{}: {} files, {} KB{}", archive.string(), members.size() + 1,
                                 (bytes + about.size() + 1023) / 1024,
                                 masking ? ", masked" : "; receipts and login texts are readable (--mask)"));
}

} // namespace tllog
