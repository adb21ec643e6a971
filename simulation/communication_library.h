// What the library finds where it looks for the communication library.
#pragma once

#include <string>
#include <string_view>

namespace simulation {

class CommunicationLibrary {
public:
    using Callback = int (*)(const char* message);

    virtual ~CommunicationLibrary() = default;

    /// 0, or why the link doesn't open.
    virtual int open(Callback callback) = 0;
    /// The reason in words.
    virtual std::string whyNotOpen() const { return "The device refused"; }
    virtual void close() = 0;
    /// The device's answer.
    virtual std::string command(std::string_view text) = 0;
    /// The session was given up.
    virtual void loggedOut() = 0;
};

/// Null for none.
void setCommunicationLibrary(CommunicationLibrary* library);

} // namespace simulation
