// One session of the till with the device, from initialising to the exit.
#pragma once

#include "examples/till/drawer_book.h"
#include "examples/till/events.h"

#include <optional>

struct SessionOptions {
    std::string port = "sim";
    int user = 7;
};

/// Tells where the log files of a session are.
void showLogDirectory(Printer& printer, const std::string& port);

using LibraryCall = std::function<std::int16_t(char* message)>;

/// Shows and makes one call of the library; "function" gets the message buffer. Throws if it fails.
void showCall(Printer& printer, const std::string& what, const LibraryCall& function);

/// Leaves the library at the end if nobody did before. To be made after whatever events go to, which then
/// outlives the link.
class Library {
public:
    Library() = default;
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// As initTL and exitTL.
    std::int16_t init(const std::string& port, const char* settings, char* message);
    std::int16_t exit(char* message);

private:
    bool m_initialised = false;
};

/// What initTL takes for a port.
std::string portSettings(const std::string& name);

class Session {
public:
    /// Initialises the library and logs in. Throws, as all here, if a call doesn't end well.
    Session(Printer& printer, const SessionOptions& options);

    void call(const std::string& what, const LibraryCall& function) { showCall(m_printer, what, function); }

    /// Waits for a status event.
    void expect(const std::string& what, const std::function<bool(const StatusReport&)>& answers);

    /// The customer puts pieces in, and the device has told of all of them.
    void payIn(const std::vector<std::int64_t>& denominations);

    /// Logs out and exits, and answers whether the money adds up.
    bool finish();

    /// The same as well as may be after a failure. First the customer gets everything back.
    void callOff();

    Printer& printer() { return m_printer; }
    Events& events() { return m_events; }
    DrawerBook& book() { return *m_book; }

private:
    void showDevice();
    void attempt(const std::string& what, const LibraryCall& function);

    Printer& m_printer;
    Events m_events;
    Library m_library;
    std::optional<DrawerBook> m_book; // there is a device once the library is initialised
};
