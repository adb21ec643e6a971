// One run: a till, a device and their people, and the steps that the seed makes up. A step depends on the
// seed and its own number alone, so that any of them can be left out.
#pragma once

#include "simulation/random.h"
#include "simulation/surroundings.h"
#include "simulation/till.h"

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace simulation {

struct Plan {
    std::uint64_t seed = 1;
    std::uint64_t sales = 1000;
    std::vector<std::uint64_t> steps = {};    // only these, if there are any
    std::vector<simulator::FaultName> faults; // that may come; all of them if empty
    bool withFaults = true;
    std::string logs = {}; // where to write the logs and the tape to; nowhere if empty
};

class Run {
public:
    explicit Run(const Plan& plan);
    ~Run();

    /// All steps, up to the first violation. The number of the step that it came in.
    std::uint64_t run();

    /// The step's number and what it does, for people.
    std::string describe(std::uint64_t step) const;

private:
    enum class Kind {
        Sale,
        Administration,
        Count,
        Settings,
        AnyCall,
        Session,
        Restart,
        OtherDevice,
        Fault,
        Service,
        Night
    };

    Kind kindOf(std::uint64_t step) const;
    void step(std::uint64_t number);

    void sale(Random& random);
    void administration(Random& random);
    void count(Random& random);
    void changeSettings(Random& random);
    void anyCall(Random& random);
    void session(Random& random);
    void restart(Random& random, bool otherDevice);
    void fault(Random& random);
    void service(Random& random);
    void night(Random& random);

    bool makeReady(bool payIn);
    void customerPays(Random& random, Amount due);
    void customerTakes();

    /// A call that pays: what it promises to pay out and to keep, and what came of it.
    struct Promise {
        Amount out;
        Amount paidInAfter;
        bool asked;    // the device said that it can
        bool possible; // it really can
    };
    void judge(const char* name, const Outcome& outcome, const Promise& promise, Amount outBefore, bool calm);
    void checkMoney();

    simulator::Settings anyDevice(Random& random) const;
    std::string anySettings(Random& random) const;
    std::string settingsFile(Random& random) const;

    void writeFile(const std::string& name, const std::string& text);

    const Plan m_plan;
    std::optional<Tape> m_tape;
    std::ofstream m_money; // what customers paid and got, for those who tell it from the logs
    Surroundings m_surroundings;
    Till m_till;
    std::uint64_t m_sales = 0;
    bool m_countBroke = false; // the next one may hold its pieces
    bool m_troubled = false;   // a fault is about, or may have left something behind
};

} // namespace simulation
