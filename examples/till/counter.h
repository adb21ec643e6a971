// The till that the browser shows: one cashier who makes the library's calls one after the other, on a thread
// of its own, and tells everybody how it stands.
#pragma once

#include "examples/till/session.h"

#include <deque>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

class Counter {
public:
    /// Gets each event as a JSON text and comes back at once.
    using EventSink = std::function<void(const std::string& json)>;

    explicit Counter(SessionOptions options);
    ~Counter();

    /// The first events are the state and what was said lately.
    int subscribe(EventSink sink);
    void unsubscribe(int number);

    std::string state();

    /// What the customer has to pay, as people write it. Empty, or why not.
    std::string setDue(const std::string& amount);

    /// Begins one of the actions; empty, or why not.
    std::string begin(const std::string& action);

    /// "settle", "regret" and so on.
    static bool isAction(const std::string& name);

private:
    enum class Verdict { None, Good, Bad, Unknown };

    struct Outcome {
        Verdict verdict = Verdict::None;
        std::string text = {};
    };

    /// A payment of which it isn't known yet what it did.
    struct Payment {
        std::string what;        // in words, for people
        std::int64_t out = 0;    // that should come out
        std::int64_t paidIn = 0; // before it
        bool settles = false;
    };

    void work();
    void watch();
    void serve(Session& session);
    void step(Session& session);
    void carryOut(Session& session, const std::string& action);
    void settle(Session& session);
    void giveBack(Session& session);
    void giveChange(Session& session);
    void pay(Session& session, const Payment& payment, const std::string& call, const LibraryCall& function);
    void clarify(Session& session);
    void judge(Session& session, const Payment& payment);

    void hear(LineKind kind, const std::string& text);
    void flushLines();
    void tell(const nlohmann::json& event);
    bool waitFor(std::chrono::milliseconds time);
    void note(Verdict verdict, const std::string& text);
    std::string whyNot(const std::string& action) const;
    nlohmann::json describe() const;

    const SessionOptions m_options;
    Printer m_printer;

    std::mutex m_mutex; // guards all below, and is held across no call of the library
    std::condition_variable m_changed;
    bool m_ended = false;

    bool m_there = false; // the machine answers
    std::string m_away;   // why it doesn't
    bool m_inSession = false;
    StatusReport m_status = {};
    std::string m_error; // the last one's text
    std::string m_currency;
    int m_decimals = 2;

    std::int64_t m_due = 0;
    std::int64_t m_paidIn = 0;
    std::optional<std::int64_t> m_counted;
    std::string m_action; // to be carried out, or that is being carried out
    std::string m_call;   // of the library, that has not come back
    std::chrono::steady_clock::time_point m_callStart;
    std::optional<Payment> m_unknown;
    Outcome m_outcome;
    int m_sales = 0;

    std::map<int, EventSink> m_sinks;
    std::deque<nlohmann::json> m_lines;   // the last ones
    std::vector<nlohmann::json> m_untold; // of an opening that may fail as the last one did
    bool m_holdsLines = false;
    std::string m_toldState;
    int m_lastNumber = 0;

    std::thread m_worker;
    std::thread m_watcher;
};
