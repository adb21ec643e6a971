// The four functions of the communication library, as this stand-in offers them. What they answer comes
// back through the buffers.
#pragma once

#include <cstdint>

extern "C" {

/// Opens the link. "answer" has 64 bytes at least; "returnCode" gets 0 on success, else a code of the README
/// and "answer" the reason. The port's name "127.0.0.1:<port>" or "localhost:<port>" is that of a machine of
/// its own; every other one is the device inside.
void tl_initiate2(int (*callback)(const char* message), const char* portName, char* answer,
                  std::int16_t* returnCode);

/// Closes the link. No callback runs or comes after it, but for the one that it may be called from.
void tl_dini(void* object, char* message);

/// Sends a command. "answer" has 80 bytes at least: command letter, separator, status character, a word.
void tl_002(const char* command, char* answer);

/// The caller has given up the session.
void tl_loggedout(const char* text, char* answer);
}
