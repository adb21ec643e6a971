#include "examples/till/counter.h"

#include "examples/till/machine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <tuple>

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr std::size_t MOST_LINES = 300;
constexpr std::array<const char*, 5> ACTIONS{"settle", "regret", "change", "count", "reset"};
constexpr int READY = 0, BUSY = 1, ERROR_STATUS = 2, CLOSED_MODE = 0;

std::int64_t timeOfDay()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

/// The library's texts are of one byte a character, and any.
std::string dumped(const json& object)
{
    return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace

Counter::Counter(SessionOptions options)
    : m_options(std::move(options)),
      m_printer([this](LineKind kind, const std::string& text) { hear(kind, text); }),
      m_worker([this] { work(); }), m_watcher([this] { watch(); })
{}

Counter::~Counter()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ended = true;
        m_sinks.clear();
    }
    m_changed.notify_all();
    m_worker.join();
    m_watcher.join();
}

// ---- Those who look on ----

int Counter::subscribe(EventSink sink)
{
    const std::lock_guard lock(m_mutex);
    sink(dumped({{"kind", "state"}, {"state", describe()}}));
    for (const json& line : m_lines)
        sink(dumped(line));
    m_sinks[++m_lastNumber] = std::move(sink);
    return m_lastNumber;
}

void Counter::unsubscribe(int number)
{
    const std::lock_guard lock(m_mutex);
    m_sinks.erase(number);
}

std::string Counter::state()
{
    const std::lock_guard lock(m_mutex);
    return dumped(describe());
}

void Counter::tell(const json& event)
{
    for (const auto& [number, sink] : m_sinks)
        sink(dumped(event));
}

/// Tells of every new state, be it a call or the device that has changed it.
void Counter::watch()
{
    std::unique_lock lock(m_mutex);
    while (!m_ended) {
        const std::string now = dumped(describe());
        if (now != m_toldState) {
            m_toldState = now;
            tell({{"kind", "state"}, {"state", describe()}});
        }
        m_changed.wait_for(lock, 40ms);
    }
}

void Counter::hear(LineKind kind, const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    if (text.starts_with("... "))
        return; // the page shows by itself that a call goes on
    const bool answers = text.starts_with("status ") && (kind == LineKind::Good || kind == LineKind::Bad);
    json line{{"kind", "line"}, {"time", timeOfDay()}, {"text", text}, {"bad", kind == LineKind::Bad}};
    line["who"] = answers                  ? "answer"
                  : kind == LineKind::Call ? "till"
                  : kind == LineKind::Note ? "note"
                                           : "event";
    if (kind == LineKind::Call) {
        m_call = text;
        m_callStart = std::chrono::steady_clock::now();
    }
    if (answers) {
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - m_callStart;
        line["took"] = fmt::format("{:.2f} s", took.count());
        m_call.clear();
    }
    if (kind == LineKind::Bad && text.starts_with("error "))
        m_error = text;
    m_untold.push_back(std::move(line));
    if (!m_holdsLines)
        flushLines();
    m_changed.notify_all();
}

void Counter::flushLines()
{
    for (json& line : m_untold) {
        tell(line);
        m_lines.push_back(std::move(line));
        if (m_lines.size() > MOST_LINES)
            m_lines.pop_front();
    }
    m_untold.clear();
}

// ---- What the cashier does ----

std::string Counter::setDue(const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    const std::int64_t amount = text.empty() ? 0 : parseMoney(text);
    if (amount < 0 || amount > 99'999'999)
        return "\"" + text + "\" is no amount";
    if (!m_action.empty() || m_unknown)
        return "the last one is not over";
    m_due = amount;
    m_outcome = {};
    return "";
}

bool Counter::isAction(const std::string& name)
{
    return std::find(ACTIONS.begin(), ACTIONS.end(), name) != ACTIONS.end();
}

std::string Counter::begin(const std::string& action)
{
    const std::lock_guard lock(m_mutex);
    std::string why = whyNot(action);
    if (why.empty())
        m_action = action;
    m_changed.notify_all();
    return why;
}

/// Empty if it can be done as things are.
std::string Counter::whyNot(const std::string& action) const
{
    if (!m_there || !m_inSession)
        return "the device is not there";
    if (!m_action.empty())
        return "the till is at something";
    if (action == "reset")
        return m_status.status == ERROR_STATUS ? "" : "the device is in no error";
    if (m_unknown)
        return "first it has to be known what came out";
    if (m_status.status == ERROR_STATUS)
        return "the device is in error";
    if (m_status.mode == CLOSED_MODE)
        return "nobody is logged in";
    if (m_status.status == BUSY)
        return "the device is busy";
    if (action == "count")
        return "";
    if (action == "settle" && m_due == 0)
        return "nothing is due";
    if (action == "settle" && m_paidIn < m_due)
        return fmt::format("{} is missing", money(m_due - m_paidIn));
    return m_paidIn == 0 ? "nothing is paid in" : "";
}

void Counter::note(Verdict verdict, const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    m_outcome = {verdict, text};
}

// ---- The thread that calls the library ----

bool Counter::waitFor(std::chrono::milliseconds time)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, time, [this] { return m_ended || (!m_action.empty() && m_inSession); });
    return !m_ended;
}

/// Session after session: one that can't begin, as long as there is no device, is tried again.
void Counter::work()
{
    do {
        {
            const std::lock_guard lock(m_mutex);
            m_holdsLines = true;
        }
        try {
            Session session(m_printer, m_options);
            serve(session);
        } catch (const std::exception& error) {
            const std::lock_guard lock(m_mutex);
            m_holdsLines = false;
            if (m_away == error.what())
                m_untold.clear(); // as before
            flushLines();
            m_away = error.what();
            m_there = m_inSession = false;
            m_call.clear();
        }
    } while (waitFor(1s));
}

void Counter::serve(Session& session)
{
    {
        const std::lock_guard lock(m_mutex);
        m_holdsLines = false;
        flushLines();
        m_away.clear();
        m_inSession = true;
    }
    while (waitFor(50ms))
        step(session);
    try {
        session.call("logoutTL", &logoutTL);
    } catch (const std::exception&) { // nothing is left to be done
    }
}

void Counter::step(Session& session)
{
    std::optional<MachineState> machine;
    try {
        machine = lookAtMachine(); // the library has no way to ask without a command
        setDecimals(machine->decimals);
    } catch (const std::exception&) { // it is not there
    }
    const bool there = machine.has_value();
    const StatusReport status = session.events().status();
    std::string action;
    bool unknown = false;
    {
        const std::lock_guard lock(m_mutex);
        m_there = there;
        m_status = status;
        if (there)
            std::tie(m_currency, m_decimals) = std::pair(machine->currency, machine->decimals);
        if (status.status != BUSY)
            m_paidIn = status.amount;
        if (status.status != ERROR_STATUS)
            m_error.clear();
        action = there ? m_action : "";
        unknown = m_unknown.has_value();
    }
    if (!action.empty())
        carryOut(session, action);
    else if (there && status.mode == CLOSED_MODE && status.status != ERROR_STATUS)
        session.makeReady(); // it was away
    else if (there && unknown && status.status != BUSY && status.status != ERROR_STATUS)
        clarify(session);
}

void Counter::carryOut(Session& session, const std::string& action)
{
    try {
        if (action == "settle")
            settle(session);
        else if (action == "regret")
            giveBack(session);
        else if (action == "change")
            giveChange(session);
        else if (action == "reset")
            session.call("resetTL", &resetTL);
        else if (!session.count())
            note(Verdict::Bad, "the device can't count");
        else
            note(Verdict::Good, fmt::format("the device holds {}", money(session.counted())));
    } catch (const std::exception& error) {
        note(Verdict::Bad, error.what());
    }
    const StatusReport status = session.events().status();
    const std::lock_guard lock(m_mutex);
    m_status = status;
    if (status.status != BUSY)
        m_paidIn = status.amount;
    if (action == "count")
        m_counted = session.counted();
    m_action.clear();
}

void Counter::settle(Session& session)
{
    const std::int64_t paid = session.events().status().amount;
    const std::int64_t change = paid - m_due;
    const std::string number = fmt::format("SALE-{}", ++m_sales);
    pay(session, {"settled", change, paid, true},
        fmt::format("payoutTL({}, {}, \"{}\")", change, paid, number), [&](char* message) {
            return payoutTL(static_cast<std::int32_t>(change), static_cast<std::int32_t>(paid),
                            number.c_str(), message);
        });
}

void Counter::giveBack(Session& session)
{
    const std::int64_t paid = session.events().status().amount;
    pay(session, {"taken back", paid, paid}, "regretTL(1)",
        [](char* message) { return regretTL(1, message); });
}

void Counter::giveChange(Session& session)
{
    const std::int64_t paid = session.events().status().amount;
    pay(session, {"changed", paid, paid}, "changeTL()", &changeTL);
}

/// What a payment answers is not what came of it: the counts before and after it tell.
void Counter::pay(Session& session, const Payment& payment, const std::string& call,
                  const LibraryCall& function)
{
    note(Verdict::None, "");
    try {
        session.pay(call, function);
        return judge(session, payment);
    } catch (const UnknownOutcome&) {
    } catch (const CallFailed&) {
    } // anything else was before the call
    const std::lock_guard lock(m_mutex);
    m_unknown = payment;
    m_outcome = {Verdict::Unknown, "unknown: the device has to be counted"};
}

void Counter::clarify(Session& session)
{
    const auto payment = [this] {
        const std::lock_guard lock(m_mutex);
        return *m_unknown;
    }();
    note(Verdict::Unknown, "unknown: counting \u2026");
    if (!session.makeReady() || !session.count())
        return note(Verdict::Unknown, "unknown: the device can't count yet, somebody has to look at it");
    judge(session, payment);
}

/// By the counts, and by what the device says is paid in now.
void Counter::judge(Session& session, const Payment& payment)
{
    const std::int64_t out = session.cameOut();
    const std::int64_t missing = payment.out - out;
    const std::int64_t left = session.events().status().amount;
    const std::string stays = left == 0 ? "" : fmt::format("; {} is still paid in", money(left));
    const std::lock_guard lock(m_mutex);
    m_unknown.reset();
    m_counted = session.counted();
    if (out == 0 && left == payment.paidIn)
        m_outcome = {Verdict::Bad, fmt::format("not {}: nothing came out{}", payment.what, stays)};
    else if (missing != 0)
        m_outcome = {Verdict::Bad,
                     fmt::format("{}, {} did not come out{}", payment.what, money(missing), stays)};
    else
        m_outcome = {Verdict::Good,
                     fmt::format("{}: {} came out, nothing is missing{}", payment.what, money(out), stays)};
    if (payment.settles && left == 0)
        m_due = 0;
}

// ---- How it stands ----

json Counter::describe() const
{
    constexpr std::array<const char*, 4> IS{"ready", "busy", "error", "ready"};
    constexpr std::array<const char*, 4> VERDICTS{"none", "good", "bad", "unknown"};
    std::string is = "gone";
    std::string words = m_away.empty() ? "device not there" : "no device";
    if (m_there && m_inSession) {
        const bool open = m_status.mode != CLOSED_MODE;
        const auto status = static_cast<std::size_t>(std::clamp(m_status.status, 0, 3));
        is = open || status == ERROR_STATUS ? IS[status] : "closed";
        words = is == "ready"    ? m_status.status == READY ? "ready" : "ready, pay-in closed"
                : is == "closed" ? "logged out"
                : is == "error"  ? m_error.empty() ? "device in error" : m_error
                                 : "busy";
    }
    std::string outcome = m_outcome.text;
    if (m_unknown && is == "error")
        outcome = "unknown: repair the device, then it is counted";
    if (m_unknown && is == "gone")
        outcome = "unknown: when the device is back, it is counted";
    json can;
    for (const char* action : ACTIONS)
        can[action] = whyNot(action);
    return {{"device", {{"is", is}, {"words", words}, {"away", m_away}, {"port", m_options.port}}},
            {"currency", m_currency},
            {"decimals", m_decimals},
            {"due", m_due},
            {"paidIn", m_paidIn},
            {"call", m_call},
            {"counted", m_counted ? json(*m_counted) : json()},
            {"outcome", {{"is", VERDICTS[static_cast<std::size_t>(m_outcome.verdict)]}, {"text", outcome}}},
            {"can", std::move(can)}};
}
