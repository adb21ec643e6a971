// The rows of the table that a till's session is measured for.
#pragma once

#include <cstdint>

namespace bench {

/// An initiated library and an open session.
class Session {
public:
    /// With the settings of initTL.
    explicit Session(const char* settings = "");
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();
};

/// For calls whose message nobody reads.
extern char message[1024];

/// Ends the program unless the status is 0: nothing else is worth measuring.
void expectOk(std::int16_t status);

void measureIsOpen(const char* name, double aim);
void measureOtherCalls();
void measureMessages();
void measureOpening();
void measureWaits();

} // namespace bench
