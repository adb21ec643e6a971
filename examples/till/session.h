// One session of the till with the device, from initialising to the exit.
#pragma once

#include "examples/till/drawer_book.h"
#include "examples/till/events.h"

#include <optional>
#include <stdexcept>

struct SessionOptions {
    std::string port = "sim";
    int user = 7;
    int patience = 600; // seconds that a customer may take
};

/// Tells where the log files of a session are.
void showLogDirectory(Printer& printer, const std::string& port);

using LibraryCall = std::function<std::int16_t(char* message)>;

struct CallFailed : std::runtime_error {
    CallFailed(std::int16_t status, bool saysWhy, const std::string& text)
        : std::runtime_error(text),
          isUnknown(status == TL_STATUS_TIMEOUT || status == TL_STATUS_SEND_FAILED ||
                    (status == TL_STATUS_ERROR && !saysWhy))
    {}

    bool isUnknown; // a call that moves money may have moved some
};

/// A call that moves money failed in a way that doesn't tell how much of it moved.
struct UnknownOutcome : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Shows and makes one call of the library, and that the device works as long as it does; "function" gets
/// the message buffer. Throws CallFailed if it fails.
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

/// Whether the device is a machine of its own, on a port of this computer, where others are the customer.
bool isMachineOfItsOwn(const std::string& port);

class Session {
public:
    /// Initialises the library and logs in. Throws, as all here, if a call doesn't end well.
    Session(Printer& printer, const SessionOptions& options);

    void call(const std::string& what, const LibraryCall& function) { showCall(m_printer, what, function); }

    /// Waits for a status event.
    void expect(const std::string& what, const std::function<bool(const StatusReport&)>& answers);

    /// As call, for a call that moves money, with a count before it. Throws UnknownOutcome if it can't be
    /// known what it did.
    void move(const std::string& what, const LibraryCall& function);

    /// The same for a call that waits for the device, with a count after it, too. The amount that came out.
    std::int64_t pay(const std::string& what, const LibraryCall& function);

    /// The same, and tells if it was another amount. False then.
    bool payExactly(std::int64_t amount, const std::string& what, const LibraryCall& function);

    /// The customer puts pieces in, and the device has told of all of them.
    void payIn(const std::vector<std::int64_t>& denominations);

    /// The customer pays at least "due": with these pieces, or as others do at a machine of its own. The
    /// amount that is paid in then.
    std::int64_t collect(std::int64_t due, const std::vector<std::int64_t>& pieces);

    /// Logs out and exits, and answers whether the money adds up.
    bool finish();

    /// The same as well as may be after a failure. First the customer gets everything back.
    void callOff();

    /// The same after an unknown outcome, where giving back might pay twice: counts, and tells what came out.
    void clarify();

    /// Makes the device take commands again: a reset if it is in error, a login if it was away. False if it
    /// doesn't.
    bool makeReady();

    /// Counts what the device holds; false if it can't.
    bool count();

    /// By the last count, and what came out since the one before the last payment.
    std::int64_t counted() const { return m_counted; }
    std::int64_t cameOut() const { return m_countedBefore - m_counted; }

    Printer& printer() { return m_printer; }
    Events& events() { return m_events; }
    DrawerBook& book() { return *m_book; }

private:
    void showDevice();
    bool attempt(const std::string& what, const LibraryCall& function);
    void leave();

    Printer& m_printer;
    const SessionOptions m_options;
    Events m_events;
    Library m_library;
    std::optional<DrawerBook> m_book; // there is a device once the library is initialised
    std::int64_t m_counted = 0;       // by the last count
    std::int64_t m_countedBefore = 0; // before the last payment
};
