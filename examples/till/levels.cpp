#include "examples/till/commands.h"

#include "examples/till/small_drawer.h"
#include "simulator/tellarion_simulator.h"

#include <fmt/format.h>

#include <stdexcept>

bool runLevels(Printer& printer, const SessionOptions& options)
{
    printer.heading("A drawer that runs dry, a small one of this session's own");
    if (isMachineOfItsOwn(options.port))
        throw std::runtime_error("this is for the device of the till's own process");
    if (tlsim_configure(SMALL_DRAWER) != 0)
        throw std::runtime_error("the simulator refused its settings");
    Session session(printer, options);
    session.call("disablePayinTL", &disablePayinTL);

    bool right = true;
    for (const std::int32_t amount : {3600, 3700, 3800, 5100}) {
        std::int32_t rest = 0;
        session.call(fmt::format("dispenseTL({})", money(amount)),
                     [&](char* message) { return dispenseTL(amount, "", &rest, message); });
        right = session.book().cameOut() == amount && right;
    }
    const EventCounts counts = session.events().counts();
    printer.line(LineKind::Note, fmt::format("{} warnings of low and {} of empty", counts.low, counts.empty));
    return session.finish() && right && counts.low > 0 && counts.empty > 0;
}
