// Events as messages: what a till does that has a window, or a socket, instead of callbacks.
#include "examples/till/commands.h"

#include "examples/till/message_window.h"
#include "examples/till/small_drawer.h"
#include "simulator/tellarion_simulator.h"

#include <fmt/format.h>

#include <array>
#include <set>
#include <stdexcept>

namespace {

using Text = std::array<char, 1024>;

/// The message says what happened; its text is fetched with the call of its kind. What to show.
std::string describe(const EventMessage& event)
{
    Text text{};
    Text info{};
    switch (event.kind) {
    case EventKind::Status:
        return fmt::format("status {}, mode {}, amount {}", event.wParam % 100, event.wParam / 100,
                           money(event.lParam));
    case EventKind::Error:
        getErrorInfoTL(text.data(), info.data());
        return fmt::format("error {}: {}", event.lParam, text.data());
    case EventKind::CashSession:
        getCashSessionInfoTL(info.data());
        return fmt::format("cash session {}, amount {}: {}", event.wParam, money(event.lParam), info.data());
    case EventKind::CashLevel: {
        Text type{};
        Text denomination{};
        std::int32_t warningType = 1; // any number but 0 asks for it
        getLevelWarningInfoTL(&warningType, type.data(), denomination.data(), text.data(), info.data());
        return fmt::format("cash level of {}, {} left: {}", money(event.lParam), event.wParam, text.data());
    }
    case EventKind::Information:
        return "information";
    }
    return "";
}

class MessageTill {
public:
    explicit MessageTill(Printer& printer) : m_printer(printer) {}

    TLWindowHandle handle() const { return m_window.handle(); }

    /// Shows all events until none comes for a while.
    void showEvents()
    {
        while (const auto event = m_window.next(300)) {
            m_kinds.insert(event->kind);
            const std::string text = describe(*event);
            m_complete = m_complete && !text.empty() && text.back() != ' ';
            m_printer.line(LineKind::Event, text);
        }
    }

    bool heardAll() const
    {
        return m_complete && m_kinds == std::set{EventKind::Status, EventKind::Error, EventKind::CashLevel,
                                                 EventKind::CashSession};
    }

private:
    Printer& m_printer;
    MessageWindow m_window;
    std::set<EventKind> m_kinds;
    bool m_complete = true; // every event had its text
};

} // namespace

bool runWindow(Printer& printer, const SessionOptions& options)
{
    printer.heading("Events as messages, with a small drawer of this session's own");
    if (isMachineOfItsOwn(options.port))
        throw std::runtime_error("this is for the device of the till's own process");
    if (tlsim_configure(SMALL_DRAWER) != 0)
        throw std::runtime_error("the simulator refused its settings");
    showLogDirectory(printer, options.port);
    MessageTill till(printer);
    Library library;
    const auto call = [&](const std::string& what, const LibraryCall& function) {
        showCall(printer, what, function);
        till.showEvents();
    };
    const std::string port = portSettings(options.port);
    call("registerHwndTL", [&](char* message) { return registerHwndTL(till.handle(), message); });
    call(fmt::format("initTL(\"{}\", \"PayOutOkCheck:1;\")", port),
         [&](char* message) { return library.init(port, "PayOutOkCheck:1;", message); });
    call("loginTL", [](char* message) { return loginTL(1, 1, message); });
    call("disablePayinTL", &disablePayinTL);
    std::int32_t rest = 0;
    call("dispenseTL(71.00)", [&](char* message) { return dispenseTL(7100, "", &rest, message); });
    tlsim_fail(1);
    till.showEvents();
    call("resetTL", &resetTL);
    call("logoutTL", &logoutTL);
    call("exitTL", [&](char* message) { return library.exit(message); });
    return till.heardAll() && tlsim_balances() == 1;
}
