#include "simulator/script.h"

#include "simulator/json_places.h"
#include "simulator/object_reader.h"

#include <chrono>
#include <cstdio>

namespace simulator {

namespace {

using Clock = std::chrono::steady_clock;

constexpr Milliseconds PATIENCE = 60'000; // of steps that wait for something
constexpr Milliseconds USUAL_WITHIN = 5000;

const std::vector<std::string>& states()
{
    static const std::vector<std::string> words{"login", "logout", "till",   "no-till", "ready",
                                                "busy",  "error",  "closed", "off"};
    return words;
}

const std::vector<std::string>& amounts()
{
    static const std::vector<std::string> words{"payout", "paid-in", "tray", "drawer"};
    return words;
}

bool has(const std::vector<std::string>& words, const std::string& word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// "payout 12.00" into its two words.
std::pair<std::string, std::string> split(const std::string& text)
{
    const std::size_t space = std::min(text.find(' '), text.size());
    return {text.substr(0, space), space < text.size() ? text.substr(space + 1) : ""};
}

void checkWhat(const ObjectReader& reader, const char* key, const std::string& what)
{
    const auto [word, amount] = split(what);
    const bool isAmount = has(amounts(), word) && parseMoney(amount, 3);
    if (isAmount || (has(states(), word) && amount.empty()))
        return;
    std::vector<std::string> all = states();
    all.insert(all.end(), amounts().begin(), amounts().end());
    const std::string nearest = nearestName(word, all);
    reader.fail(key, has(amounts(), word) ? "must name an amount, like \"" + word + " 12.00\""
                     : nearest.empty()
                         ? "is nothing to wait for: " + word
                         : "is nothing to wait for: " + word + "; did you mean " + nearest + "?");
}

/// A number of pieces; empty for a time.
std::optional<int> piecesOf(const std::string& after)
{
    const auto [number, unit] = split(after);
    return unit == "piece" || unit == "pieces" ? parseNumber(number) : std::nullopt;
}

} // namespace

Script::Script(const std::string& text, std::string file) : m_file(std::move(file))
{
    readPlaced(text, m_file, [this](const json& document) {
        if (!document.is_array())
            throw JsonFault("", "", "must be a list of steps", &document);
        for (const json& object : document)
            m_steps.push_back(parseStep(object));
    });
}

Script::Step Script::parseStep(const json& object)
{
    ObjectReader reader(object, "step");
    Step step;
    reader.read("on", step.on, 40);
    reader.read("expect", step.expect, 40);
    reader.read("do", step.verb, 20);
    if (step.on.empty() && step.expect.empty())
        reader.read("after", step.after, 40); // else it is a fault's
    step.within = step.expect.empty() ? PATIENCE : USUAL_WITHIN;
    reader.readTime("within", step.within);

    if (!step.on.empty() && !step.expect.empty())
        reader.fail("expect", "goes without \"on\"; make two steps of it");
    if (step.on.empty() && step.expect.empty() && step.after.empty() && step.verb.empty())
        reader.fail("", "must have \"on\", \"after\", \"expect\" or \"do\"");
    if (!step.on.empty())
        checkWhat(reader, "on", step.on);
    if (!step.expect.empty())
        checkWhat(reader, "expect", step.expect);
    if (!step.after.empty() && !piecesOf(step.after) && !parseDuration(step.after))
        reader.fail("after", "must be like \"2 pieces\" or \"500ms\"");
    if (!step.verb.empty() && (step.verb == "wait" || !has(controlVerbs(), step.verb)))
        reader.fail("do", "is no verb: " + step.verb + "; the verbs are those of the customer's hand");
    if (step.verb.empty())
        reader.refuseUnknown();

    step.members = object;
    for (const char* key : {"on", "expect", "do", "within"})
        step.members.erase(key);
    if (!step.after.empty())
        step.members.erase("after");
    return step;
}

bool Script::play(Machine& machine)
{
    const auto say = [this](const std::string& text) {
        std::puts((m_file + ": " + text).c_str());
        std::fflush(stdout);
    };
    const int number = machine.subscribe([this](const std::string& event) {
        const std::lock_guard lock(m_mutex);
        m_heard.push_back(event);
        m_changed.notify_all();
    });
    int failed = 0;
    bool stopped = false;
    const auto start = Clock::now();
    for (std::size_t i = 0; i < m_steps.size() && !stopped; ++i) {
        const std::string why = carryOut(machine, m_steps[i]);
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
        say("step " + std::to_string(i + 1) + " at " + moneyText(time, 3) + " s, " + wordsOf(m_steps[i]) +
            ": " + (why.empty() ? "ok" : "FAILED, " + why));
        failed += why.empty() ? 0 : 1;
        const std::lock_guard lock(m_mutex);
        stopped = m_stopped;
    }
    machine.unsubscribe(number);
    say(std::to_string(m_steps.size()) + " steps, " + std::to_string(failed) + " failed" +
        (stopped ? ", stopped before its end" : ""));
    return failed == 0 && !stopped;
}

std::string Script::wordsOf(const Step& step)
{
    std::string words = !step.expect.empty()  ? "expect " + step.expect
                        : !step.on.empty()    ? "on " + step.on
                        : !step.after.empty() ? "after " + step.after
                                              : "";
    return words + (words.empty() || step.verb.empty() ? "" : ", ") + step.verb;
}

void Script::stop()
{
    const std::lock_guard lock(m_mutex);
    m_stopped = true;
    m_changed.notify_all();
}

/// Empty, or why it failed.
std::string Script::carryOut(Machine& machine, const Step& step)
{
    if (const std::string why = waitFor(step); !why.empty())
        return why;
    m_pieces = 0;
    if (split(step.expect).first == "payout")
        m_paidOut = 0;
    if (step.verb.empty())
        return "";
    const ControlResult result = machine.control(step.verb, step.members.dump());
    hearAll();
    m_pieces = 0; // those that it moved itself don't count
    return result.status == 200 ? "" : json::parse(result.body).value("why", "refused");
}

std::string Script::waitFor(const Step& step)
{
    const auto pieces = piecesOf(step.after);
    const bool isPause = !step.after.empty() && !pieces;
    const Milliseconds time = isPause ? *parseDuration(step.after) : step.within;
    const auto deadline = Clock::now() + std::chrono::milliseconds(time);
    const std::string& what = step.expect.empty() ? step.on : step.expect;
    const auto isOver = [&] {
        return isPause ? false : pieces ? m_pieces >= *pieces : what.empty() || isSo(what);
    };
    hearAll();
    while (!isOver()) {
        std::unique_lock lock(m_mutex);
        const bool more =
            m_changed.wait_until(lock, deadline, [this] { return m_stopped || !m_heard.empty(); });
        if (m_stopped)
            return "stopped";
        if (!more && isPause)
            return "";
        if (!more)
            return "not in " + durationText(time) +
                   (split(what).first == "payout"
                        ? "; " + moneyText(m_paidOut, m_state.value("decimals", 2)) + " came out"
                        : "; it is " + m_state.value("status", ""));
        const std::string event = std::move(m_heard.front());
        m_heard.pop_front();
        lock.unlock();
        hear(json::parse(event));
    }
    return "";
}

bool Script::isSo(const std::string& what) const
{
    if (m_state.empty())
        return false;
    const auto [word, text] = split(what);
    const std::string status = m_state.at("status");
    const std::string mode = m_state.at("mode");
    const Amount amount = parseMoney(text, m_state.at("decimals")).value_or(-1);
    if (word == "login")
        return mode == "open" && status == "ready";
    if (word == "logout")
        return mode == "closed";
    if (word == "till" || word == "no-till")
        return m_state.at("till") == (word == "till");
    if (word == "payout")
        return m_paidOut == amount && status != "busy";
    if (word == "paid-in")
        return m_state.at("paidIn") == amount;
    if (word == "tray" || word == "drawer")
        return m_state.at(word).at("amount") == amount;
    return status == word;
}

void Script::hearAll()
{
    std::deque<std::string> heard;
    {
        const std::lock_guard lock(m_mutex);
        heard.swap(m_heard);
    }
    for (const std::string& event : heard)
        hear(json::parse(event));
}

void Script::hear(const json& event)
{
    if (event.at("kind") == "state")
        m_state = event.at("state");
    if (event.at("kind") != "piece")
        return;
    ++m_pieces;
    if (event.at("way") == "out")
        m_paidOut += event.at("value").get<Amount>();
}

} // namespace simulator
