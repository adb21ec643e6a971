#include "simulation/replay/log_replay.h"

#include "api/tllogics.h"
#include "simulation/replay/invoke.h"

#include <algorithm>
#include <map>
#include <utility>

namespace simulation {

namespace {

using nlohmann::json;

constexpr const char* LOGIN_FAILED = "!! CTLLogics::login: COstrivane::login failed";
constexpr const char* LOGOUT_BUSY = "== CTLLogics::logout: Tellarion was Busy";
constexpr const char* MESSAGE = "== ctllogics.callbackfunc: Started with message = ";

/// What stands between two marks; from the start or to the end where a mark is empty.
std::string between(const std::string& text, const std::string& before, const std::string& after)
{
    const std::size_t start = before.empty() ? 0 : text.find(before);
    if (start == std::string::npos)
        return "";
    const std::size_t from = start + before.size();
    const std::size_t end = after.empty() ? std::string::npos : text.find(after, from);
    return text.substr(from, end == std::string::npos ? end : end - from);
}

/// As the communication library answers, by the status that became of it.
char answerFor(int status)
{
    switch (status) {
    case 0:
        return '0';
    case 1:
        return '1';
    case 2:
        return '2';
    case 5:
        return '3';
    default:
        return 'Z';
    }
}

/// Line ends as they were before the log escaped them. A text that had the two characters themselves is
/// rarer.
std::string unescaped(std::string text)
{
    for (const auto& [escaped, character] : {std::pair("\\r", '\r'), std::pair("\\n", '\n')})
        for (std::size_t at = 0; (at = text.find(escaped, at)) != std::string::npos; ++at)
            text.replace(at, 2, 1, character);
    return text;
}

std::vector<std::string> splitAt(const std::string& text, const std::string& separator)
{
    std::vector<std::string> pieces;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(separator, start)) != std::string::npos;
         start = end + separator.size())
        pieces.push_back(text.substr(start, end - start));
    pieces.push_back(text.substr(start));
    return pieces;
}

} // namespace

LogReplay::LogReplay(LoggedDays days, const std::string& language, std::string until)
    : m_days(std::move(days)), m_until(std::move(until))
{
    VirtualSystem& system = virtualSystem();
    if (!language.empty())
        system.files["./tllang.ini"] = language;
    setCommunicationLibrary(this);
    system.onSleep = [this](Milliseconds time) {
        const Milliseconds end = virtualSystem().now() + time;
        const Milliseconds local = virtualSystem().localTime() + time;
        // One whose event stands behind the end of the call comes after it.
        while (isMessage(next(LOGIC_LINES)) && next(LOGIC_LINES)->time <= local && m_difference.empty() &&
               (!raisesEvent(0) || isEvent(next(API_LINES))))
            deliverNext();
        virtualSystem().setNow(end);
    };
    // What was written while the library was loaded is compared too.
    const auto stampLength = [](Stream stream) { return stream == ERROR_LINES ? std::size_t{32} : 17; };
    system.onLine = [this, stampLength](const VirtualSystem::LogFile& file, std::string_view line) {
        const Stream stream = file.name.starts_with("tlapi")     ? API_LINES
                              : file.name.starts_with("tllogic") ? LOGIC_LINES
                                                                 : ERROR_LINES;
        compare(stream, line.substr(stampLength(stream), line.size() - stampLength(stream) - 1));
    };
    system.tellEarlyLines();
}

LogReplay::~LogReplay()
{
    setCommunicationLibrary(nullptr);
    virtualSystem().onLine = nullptr;
    virtualSystem().onSleep = [](Milliseconds) {};
}

const LoggedLine* LogReplay::next(Stream stream, std::size_t further) const
{
    const Lines& lines = m_days.lines[stream];
    return m_at[stream] + further < lines.size() ? &lines[m_at[stream] + further] : nullptr;
}

bool LogReplay::isMessage(const LoggedLine* line) const
{
    return line != nullptr && line->text.starts_with(MESSAGE);
}

void LogReplay::differ(const std::string& place, const std::string& what)
{
    if (m_difference.empty() && !m_stopped)
        m_difference = place + ": " + what;
}

/// As exactly as the log has it, back too: a till's clock may have been set.
void LogReplay::setClock(const LoggedLine& line)
{
    VirtualSystem& system = virtualSystem();
    system.setNow(system.now() + line.time - system.localTime());
}

void LogReplay::compare(Stream stream, std::string_view text)
{
    const LoggedLine* const expected = next(stream);
    if (expected == nullptr || !m_difference.empty() || m_stopped)
        return; // the log ends here
    if (expected->place == m_until) {
        m_stopped = true;
        return;
    }
    if (expected->text != text) {
        const bool escaped = expected->text.find("\\n") != std::string::npos ||
                             expected->text.find("\\r") != std::string::npos;
        differ(expected->place,
               "\"" + expected->text + "\", and now \"" + std::string(text) + "\"" +
                   (escaped ? " (a text with an escaped line end can't be told from one with a backslash)"
                            : ""));
        return;
    }
    ++m_at[stream];
    if (stream == LOGIC_LINES)
        setClock(*expected);
}

void LogReplay::deliverNext()
{
    const LoggedLine line = *next(LOGIC_LINES);
    setClock(line);
    if (m_callback == nullptr)
        return differ(line.place, "a message, and the link is not open");
    const std::size_t before = m_at[LOGIC_LINES];
    m_callback(unescaped(line.text.substr(std::string_view(MESSAGE).size())).c_str());
    if (m_at[LOGIC_LINES] == before)
        differ(line.place, "the message was not logged: LoggEveryCallback is not 1 here");
}

int LogReplay::open(Callback callback)
{
    for (std::size_t i = 0; const LoggedLine* const line = next(LOGIC_LINES, i); ++i) {
        const std::string& text = line->text;
        if (text.starts_with("!! COstrivane::initialize: my_tl_initiate returned error, portName")) {
            m_openAnswer = between(text, ", ans: ", ", nReturn: ");
            return std::atoi(between(text, ", nReturn: ", "").c_str());
        }
        if (text.starts_with("== COstrivane::initialize: Returning TL_STATUS_OK") || text.starts_with("=>"))
            break;
    }
    m_callback = callback;
    return 0;
}

/// Whether the message that comes next came before the communication library had answered. It matters where
/// the operation goes on without a wait, and where money moves: then its status raised no event.
bool LogReplay::cameWhileSending(std::string_view command) const
{
    const bool pays = command[0] == 'c' || command[0] == 'f' || (command[0] == 'e' && command[2] != '3');
    const bool endsAtOnce = command[0] == 'h' || command[0] == 'k' ||
                            (command[0] == 'e' && command[2] == '3') || m_call == "depositTL";
    if (endsAtOnce && raisesEvent(0) && isEvent(next(API_LINES)))
        return true;
    // A status that was new and was read, and raised no event.
    bool quietStatus = false;
    std::string last; // a command makes the first message after it count as new
    for (std::size_t i = 0; const LoggedLine* const line = next(LOGIC_LINES, i); ++i) {
        const std::string& said = line->text;
        if (said.starts_with("->") || said.starts_with("=>"))
            break;
        if (said.find(": sent command: ") != std::string::npos ||
            said.ends_with(": Waiting for a message ...") || said.starts_with("== start wait for CALLBACK") ||
            said == LOGIN_FAILED || said.starts_with(LOGOUT_BUSY))
            return true;
        if (said.starts_with("!! CTLLogics::")) {
            const int status = std::atoi(between(said, " failed, return code = ", "").c_str());
            return (pays && quietStatus) ||
                   (status != 0 && status != TL_STATUS_TIMEOUT && status != TL_STATUS_NOT_POSSIBLE);
        }
        if (isMessage(line)) {
            if (pays && quietStatus)
                return true;
            quietStatus = false;
        }
        if (said.starts_with("<- "))
            quietStatus = said[3] == 'a' && said != "<- " + std::exchange(last, said.substr(3));
        if (said.starts_with("<= sendStatusEvent"))
            quietStatus = false;
    }
    return pays && quietStatus;
}

/// Whether the message whose lines begin "further" on raised an event.
bool LogReplay::raisesEvent(std::size_t further) const
{
    for (std::size_t i = further + 1; const LoggedLine* const line = next(LOGIC_LINES, i); ++i) {
        if (isMessage(line) || line->text.starts_with("->") || line->text.starts_with("=>"))
            break;
        if (line->text.starts_with("<= "))
            return true;
    }
    return false;
}

bool LogReplay::isEvent(const LoggedLine* line) const
{
    return line != nullptr && line->text.starts_with("<= ");
}

/// The answer stands in the log only where something went wrong, or where the exchange is told in full.
std::string LogReplay::command(std::string_view text)
{
    while (isMessage(next(LOGIC_LINES)) && cameWhileSending(text) && m_difference.empty())
        deliverNext();
    const std::string head{text.front(), '\x1C'};
    int status = 0;
    for (std::size_t i = 0; const LoggedLine* const line = next(LOGIC_LINES, i); ++i) {
        const std::string& said = line->text;
        if (const std::string told = between(said, "COstrivane::unlock status = ", ","); !told.empty()) {
            status = std::atoi(told.c_str());
            break;
        }
        if (said.starts_with("->") || said.starts_with("=>"))
            break;
        if (isMessage(line) && line->time > virtualSystem().localTime())
            break;
        if (const std::string answer = between(said, "received ans: ", "");
            said.starts_with("==") && !answer.empty())
            return answer.substr(0, answer.find(", message: "));
        if (said == LOGIN_FAILED) {
            status = std::atoi(between(outcomeOf("login"), "Returning ", ":").c_str());
            break;
        }
        if (said.starts_with(LOGOUT_BUSY)) {
            status = 1;
            break;
        }
        // What the operation says first tells of the sending; lines between are messages'.
        if (said.starts_with("!! CTLLogics::")) {
            status = std::atoi(between(said, " failed, return code = ", "").c_str());
            break;
        }
        if (said.starts_with("== CTLLogics::"))
            break;
    }
    // Messages that came while it was being sent stand before what follows it.
    return head + answerFor(status);
}

/// The line with which the call that runs ended.
std::string LogReplay::outcomeOf(const std::string& name) const
{
    for (std::size_t i = 0; const LoggedLine* const line = next(API_LINES, i); ++i) {
        if (line->text.starts_with("=>") && i > 0)
            break; // the first one may be its own
        if (line->text.find(name) != std::string::npos && line->text.find(" Returning ") != std::string::npos)
            return line->text;
    }
    return "";
}

bool LogReplay::hasOutcome(const std::string& name, const char* words) const
{
    return outcomeOf(name).find(words) != std::string::npos;
}

/// Sets the files and places up that the lines of an initTL tell of.
void LogReplay::prepareInit()
{
    VirtualSystem& system = virtualSystem();
    std::string path;
    std::map<std::string, std::string> sections;
    static const std::map<std::string, std::string> SECTION_OF{{"ForwardCallbackChangeOnly", "Events"},
                                                               {"LevelWarningFilter", "Events"},
                                                               {"LoggEveryCallback", "Logging"},
                                                               {"LoggSendEvents", "Logging"},
                                                               {"LogCRToCAPI", "Logging"},
                                                               {"LogCAPIToCR", "Logging"},
                                                               {"LogComToCAPI", "Logging"},
                                                               {"LogCAPIToCom", "Logging"},
                                                               {"LogDebug", "Logging"}};
    for (std::size_t i = 0; const LoggedLine* const line = next(LOGIC_LINES, i); ++i) {
        const std::string& text = line->text;
        const auto value = [&](const char* before) { return between(text, before, ""); };
        if (i > 0 && text.starts_with("=> CTLLogics::init called"))
            break;
        if (text.starts_with("## Library Path: "))
            system.modulePath = value("## Library Path: ") + "tllogics.dll";
        else if (text.starts_with("## Library Version: "))
            system.moduleVersion = value("## Library Version: ");
        else if (text.find("Read environment variable TLCONFIG: ") != std::string::npos)
            system.environment["TLCONFIG"] = value("TLCONFIG: ");
        else if (text.find("About to read settings from configuration file: ") != std::string::npos)
            path = value("configuration file: ");
        else if (text.ends_with(" (from ini file)")) {
            const std::string setting = between(text, "getIniFileSettings: ", " (from ini file)");
            const std::string key = setting.substr(0, setting.find(": "));
            const auto found = SECTION_OF.find(key);
            sections[found == SECTION_OF.end() ? "Operation" : found->second] +=
                key + "=" + setting.substr(std::min(setting.size(), key.size() + 2)) + "\n";
        } else if (text.find("supplied parameter portSettings") != std::string::npos)
            break;
    }
    std::erase_if(system.files, [](const auto& file) { return file.first.ends_with("tllogics.ini"); });
    if (path.empty())
        return;
    std::string content;
    for (const auto& [section, keys] : sections)
        content += "[" + section + "]\n" + keys;
    system.files[path] = content;
}

json LogReplay::argumentsOf(const std::string& name, const std::string& inner, bool& known)
{
    const std::vector<std::string> pieces = splitAt(inner, ", ");
    const auto number = [&](std::size_t i) {
        return json(i < pieces.size() ? std::atoll(pieces[i].c_str()) : 0);
    };
    const std::string quoted =
        inner.find('"') == std::string::npos
            ? ""
            : inner.substr(inner.find('"') + 1, inner.rfind('"') - inner.find('"') - 1);
    const bool restIsNull = hasOutcome(name, "amountRest parameter is null");
    const std::string restTold = between(outcomeOf(name), "amountRest=", ":");
    const json rest = restIsNull ? json() : json{{"in", std::atoi(restTold.c_str())}};
    const json none{{"records", json::array()}};
    const json in{{"in", 0}};
    if (name.starts_with("registerEvents")) {
        json callbacks = json::array();
        for (std::size_t i = 0; i + 1 < pieces.size(); ++i)
            callbacks.push_back(pieces[i] == "NULL" ? json() : json("callback"));
        return callbacks;
    }
    if (name == "registerHwndTL")
        return {hasOutcome(name, "empty Hwnd") ? json() : json("window")};
    if (name == "initTL")
        return {pieces[0], pieces.size() > 2
                               ? inner.substr(pieces[0].size() + 2, inner.size() - pieces[0].size() - 11)
                               : ""};
    if (name == "changeSettingsTL") {
        const std::string cut = inner.substr(0, inner.size() - 9); // ", message"
        const std::size_t at = cut.rfind(", ");
        return {cut.substr(0, at), std::atoi(cut.substr(at + 2).c_str())};
    }
    if (name == "loginStrTL")
        return {pieces[0], pieces.size() > 1 ? pieces[1] : ""};
    if (name == "loginTL")
        return {number(0), number(1)};
    if (name == "depositTL")
        return {quoted};
    if (name == "endReplenishTL")
        return {inner.substr(0, inner.find("\", message"))};
    if (name == "unlockTL")
        return {std::atoll(inner.c_str())};
    if (name == "dispenseTL")
        return {number(0), quoted, rest};
    if (name == "amountDueTL")
        return {number(0), quoted, rest};
    if (name == "askPayoutTL" || name == "informTotalAmountTL" || name == "regretTL" || name == "adminModeTL")
        return {number(0)};
    if (name == "askPayout2TL")
        return {number(0), rest};
    if (name == "payoutTL")
        return {number(0), number(1), quoted};
    if (name == "payout2TL")
        return {number(0), number(1), quoted, rest};
    if (name == "isOpenTL")
        return {in};
    if (name == "infoTL")
        return {in, "out", "out", "out"};
    if (name == "cashCountTL" || name == "completeCashCountTL")
        return {none, in, none, in};
    if (name == "collectToCashFloatTL" || name == "purgeTL")
        return {number(0), none, in, none, in, in, quoted};
    if (name == "getErrorInfoTL")
        return {"out"};
    if (name == "getLevelWarningInfoTL")
        return {json{{"in", 1}}, "out", "out", "out"};
    if (name == "dispenseSpecifiedTL") {
        // The list stands in the command alone.
        for (std::size_t i = 0; const LoggedLine* const line = next(LOGIC_LINES, i); ++i) {
            if (i > 0 && line->text.starts_with("=> CTLLogics::dispenseSpecified"))
                break;
            if (!line->text.starts_with("-> M\x1C"))
                continue;
            const std::string list = between(line->text.substr(6), "", ".");
            json records = json::array();
            if (int value = 0, pieceCount = 0; std::sscanf(list.c_str(), "%d:%d", &value, &pieceCount) == 2)
                records.push_back({value, pieceCount});
            known = list.find(',') == std::string::npos && list.ends_with(';');
            return {number(0), json{{"records", records}}, json{{"in", records.size()}}, none, in, in,
                    quoted};
        }
        known = false;
    }
    return json::array();
}

void LogReplay::call(const LoggedLine& entry)
{
    std::string name = between(entry.text, "=> ", "(");
    if (name == "adminModeType")
        name = "adminModeTL"; // its line is headed by the parameter
    const std::size_t open = entry.text.find('(');
    const std::string inner = unescaped(entry.text.substr(open + 1, entry.text.rfind(')') - open - 1));
    setClock(entry);
    if (const LoggedLine* const first = next(LOGIC_LINES))
        setClock(*first);
    if (name == "initTL")
        prepareInit();
    bool known = true;
    const json arguments = argumentsOf(name, inner, known);
    if (!known)
        return differ(entry.place, "can't be replayed: its list of coins and notes stands nowhere");
    ++m_calls;
    m_call = name;
    const std::size_t before = m_at[API_LINES];
    invoke(name, arguments);
    if (m_at[API_LINES] == before)
        differ(entry.place, "the call is not logged any more: the gate LogCRToCAPI is shut");
}

std::string LogReplay::run()
{
    static const std::string LANGUAGE = "## tllang.ini Path: ";
    const bool hasLanguage = virtualSystem().files.contains("./tllang.ini");
    for (const LoggedLine& line : m_days.lines[LOGIC_LINES]) {
        if (!hasLanguage && line.text.starts_with(LANGUAGE) && line.text.size() > LANGUAGE.size())
            return line.place + ": can't be replayed: the language file is missing (--lang)";
    }
    // A gate that was shut keeps lines back that drive the replay.
    for (const LoggedLine& line : m_days.lines[LOGIC_LINES]) {
        for (const char* const gate : {"LogDebug: 0", "LogCRToCAPI: 0", "LogComToCAPI: 0", "LogCAPIToCom: 0",
                                       "LogCAPIToCR: 0", "LoggEveryCallback: 0", "LoggSendEvents: 0"}) {
            if (line.text.starts_with("##") && line.text.find(gate) != std::string::npos)
                return line.place + ": can't be replayed: " + gate + " from here on";
        }
    }
    while (m_difference.empty() && !m_stopped) {
        const LoggedLine* const message = next(LOGIC_LINES);
        const LoggedLine* const entry = next(API_LINES);
        // One that raised an event stands where its event stands among the calls.
        const bool messageFirst = isMessage(message) && (entry == nullptr || isEvent(entry) ||
                                                         (!raisesEvent(0) && message->time <= entry->time));
        if (messageFirst) {
            deliverNext();
        } else if (entry != nullptr && entry->text.starts_with("=>")) {
            call(*entry);
        } else if (isMessage(message)) {
            deliverNext();
        } else {
            if (entry != nullptr && entry->text.starts_with("## C API Loaded"))
                differ(entry->place, "can't be replayed: another process wrote here too");
            break; // the library is unloaded
        }
    }
    return m_difference;
}

} // namespace simulation
