/*
 * The customer's hand at the simulated Tellarion, beside the four functions of the link.
 *
 * Every function may be called from any thread, also from inside a message callback. Amounts are in the
 * currency's smallest unit. Before the link was first opened there is no device: inserting takes nothing,
 * texts are empty and numbers 0. After the link is closed the device stands there to be looked at, until
 * the next opening puts a fresh one in its place.
 *
 * All this is for the device inside this process. At a machine that stands by itself, to which the last
 * opening went if its port was "127.0.0.1:<port>" or "localhost:<port>", tlsim_control alone works.
 *
 * A "text, size" pair is a buffer of "size" bytes that receives a text, cut to fit and ended by NUL; "text"
 * may be null. Lists of money read "100:2,500:1;2000:3", that is denomination and number of pieces, coins
 * before the semicolon and notes behind it.
 */
#ifndef TELLARION_SIMULATOR_H
#define TELLARION_SIMULATOR_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Sets up the devices of all later openings from a JSON text; docs/simulator.md tells the keys, and what is
 * left out has its default. Null goes back to the start: the file that the environment variable TLSIM_CONFIG
 * names, or the defaults. 0, or 1 if the text is refused, which then changes nothing; tlsim_last_error
 * tells why. */
int tlsim_configure(const char* json);

/* Why the last tlsim_configure, or the last opening of the link, failed; empty if it didn't. The length. */
int tlsim_last_error(char* text, int size);

/* Puts "count" pieces of one denomination in. The amount that the device took: 0 unless pay-in is open or
 * the device is in administration mode, where it is replenished, and never more than there is room for. */
int32_t tlsim_insert(int32_t denomination, int32_t count);

/* What is in the device now, the customer's money included. The amount. */
int32_t tlsim_drawer(char* text, int size);

/* What the customer has paid in so far and is not settled. */
int32_t tlsim_paid_in(void);

/* What was paid out or given back since this was last asked. The amount. */
int32_t tlsim_taken(char* text, int size);

/* What was collected or purged since this was last asked. The amount. */
int32_t tlsim_collected(char* text, int size);

/* 1 if all money that ever went in or out is accounted for, else 0. */
int tlsim_balances(void);

/* 1 while the device pays out, gives back or collects, or has yet to tell that it is ready; else 0. */
int tlsim_busy(void);

/* Brings the device into its error status; what it is at stops half-way. code: 1 note path jammed, 2 coin
 * path jammed, 3 door open, up to 99 any other fault. A device in error already changes its code without a
 * message. 0, or 1 for any other code. */
int tlsim_fail(int code);

/* Makes "count" pieces of a denomination stick, so that they can't be paid out or collected; 0 frees all.
 * 0, or 1 if there is no such denomination. */
int tlsim_stick(int32_t denomination, int32_t count);

/* Delivers a text as a message of the device, whatever it says, behind those that are on their way. 0, or
 * 1 if there is no device or no text. */
int tlsim_inject(const char* message);

/* Everything else that can be done at the device. verb: "state", "insert", "take", "fault", "repair",
 * "power", "set", "refill", "stick" or "reset"; json: its arguments, as docs/simulator.md tells them, null
 * for none. The answer is 200 done, 400 wrong, 404 no such verb, 409 refused, 503 no device; "text" gets a
 * JSON object that tells more, or in "why" the reason. */
int tlsim_control(const char* verb, const char* json, char* text, int size);

#ifdef __cplusplus
}
#endif

#endif
