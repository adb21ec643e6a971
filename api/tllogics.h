/*
 * tllogics: drives a Tellarion, a closed cash unit that takes in, holds and pays out money.
 *
 * Calling order: register events, initTL, loginTL, the day's work, logoutTL, exitTL.
 *
 * Calls. One thread at a time may call, on any thread, and none from inside an event; exitTL alone may be
 * called there, and a call that it overtakes ends as TL_STATUS_BUSY, TIMEOUT, SEND_FAILED or
 * NOT_SUPPORTED. A call runs on the caller's thread and returns one of the TL_STATUS_ codes; only initTL
 * may pass on a code of the communication library's own. To end a thread inside a call, by
 * pthread_cancel or TerminateThread, ends the process or leaves the log locked.
 *
 * Texts are narrow characters ended by NUL. A null text reads as empty and a null result is not handed
 * out, except where TL_STATUS_INPUT_PARAM_ERROR is the answer. The library keeps no pointer to a text.
 * - "message", and every text that infoTL and the get...InfoTL hand out, needs a buffer of 1024 bytes:
 *   longer texts are cut at 1023 bytes and ended; the log has all of them. "message" is the language
 *   file's text for the outcome, "Done" on success, and is written on every return but the one that
 *   reports it null.
 * - transactionId and the login texts go to the device as they are, the library sets no limit but that of
 *   loginStrTL. Letters, digits, blanks and punctuation are safe; the byte 0x1C would begin another field
 *   and must not be in them. All of them, login texts included, stand readable in the log files.
 *
 * Amounts are in the currency's smallest unit, 0 to 99999999.
 *
 * Statuses. Each function lists those that it can return: "+" says that money moved, "?" that it may have
 * moved, and without either none did. docs/statuses.md tells of each what it means there, whether one may
 * try again, what to ask the device and what to tell the cashier.
 * - TL_STATUS_TIMEOUT and TL_STATUS_SEND_FAILED of a payment: it may have been made. The library never
 *   sends a payment a second time by itself, and the same transactionId sent again pays again. Count,
 *   don't retry.
 * - TL_STATUS_ERROR with an empty message: out of memory, and a call that pays may have paid. Every call
 *   that lists TL_STATUS_ERROR can answer this.
 * - TL_STATUS_INPUT_PARAM_ERROR also means that "message" is null; the log alone says so.
 *
 * States. Where a call is not allowed the answer is TL_STATUS_CLOSED or TL_STATUS_NOT_SUPPORTED.
 *   not initiated     at first, after exitTL                          initTL leads out
 *   closed            after initTL, logoutTL, a login that failed     loginTL
 *   pay-in enabled    after loginTL, enablePayinTL                    disablePayinTL, logoutTL
 *   pay-in disabled   after loginTL if the device says so or with     enablePayinTL, depositTL, logoutTL
 *                     AutoDisable 1, after disablePayinTL,
 *                     dispenseTL, dispenseSpecifiedTL, purgeTL
 *   cash deposited    after depositTL; pay-in can neither be          dispenseTL, with 0 too;
 *                     enabled nor disabled                            dispenseSpecifiedTL, purgeTL, logoutTL
 * Administration mode is the device's: it is told by the status event, and comes with "pay-in disabled".
 * After resetTL out of an error the device's next message says whether pay-in is enabled or disabled. Not
 * initiated, all but the registrations, initTL and changeSettingsTL answer TL_STATUS_ERROR with "Not
 * initiated".
 *
 * Times. "At worst" is what a silent or busy device costs with the default settings. It counts rounds of
 * 10 ms, which Windows may stretch to 16, and what the communication library takes for each command comes
 * on top: nothing bounds that. Most calls wait 15 s for a busy device first; for one in its error status
 * they answer TL_STATUS_ERROR with "Tellarion has error(s)" at once, and resetTL is the way out.
 *
 * Late answers. Messages carry no number: an answer that comes after its call gave up is taken for that
 * of the next call of its kind, which returns with it at once. The next count hands out the count before,
 * the next askPayoutTL answers for the amount before, and so on until another message comes between. So
 * after a TL_STATUS_TIMEOUT of these wait a few seconds, and call informTotalAmountTL, which has the
 * device say something else, before the next one.
 *
 * Version kind: what the device tells at login. Kind 1, the newer one, has codes, information texts and
 * login texts in its messages; infoTL tells it by level 2. Where a function says nothing of it there is
 * no difference.
 *
 * Unloading without exitTL can hang on Windows, where the device's library waits for its own thread
 * inside FreeLibrary: call exitTL first.
 */
#ifndef TLLOGICS_H
#define TLLOGICS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Version of this header and its library ---- */

/* The version's three numbers, and its text. */
#define TLLOGICS_VERSION_MAJOR 1
#define TLLOGICS_VERSION_MINOR 0
#define TLLOGICS_VERSION_PATCH 0
#define TLLOGICS_VERSION "1.0.0"

/* ---- Status codes ---- */

#define TL_STATUS_OK 0                /* done, or what is to be done was begun */
#define TL_STATUS_BUSY 1              /* the device is busy */
#define TL_STATUS_ERROR 2             /* the device is in its error status, or the library not initiated */
#define TL_STATUS_WARNING 3           /* initTL on a library that is initiated already */
#define TL_STATUS_INPUT_PARAM_ERROR 4 /* a parameter is wrong */
#define TL_STATUS_CLOSED 5            /* nobody is logged in */
#define TL_STATUS_TIMEOUT 6           /* the device did not report in time */
#define TL_STATUS_SEND_FAILED 7       /* the link can't tell whether the command got through */
#define TL_STATUS_NOT_POSSIBLE 8      /* the amount can't be paid exactly */
#define TL_STATUS_AMOUNT_TOO_BIG 10   /* more to deposit than was paid in */
#define TL_STATUS_PAYOUT_LIMIT 11     /* more paid out than the settings allow per time */
#define TL_STATUS_NOT_SUPPORTED 12    /* the state or the device doesn't allow the call */
#define TL_STATUS_FAILED_TO_COMPLY 13 /* the device took the command and did not do as told */

/* ---- Events as callbacks ----
 *
 * They run on the communication library's thread; until one returns, no further event comes. The one
 * exception: a login that fails raises its status event (error, closed) on the caller's thread, inside
 * loginTL, so a lock held around loginTL and taken in the event hangs. The texts are the library's own,
 * valid during the call only, and cut to the lengths told below. A callback must not throw: what it throws
 * is lost, and with it what the library still had to do for the message.
 *
 * Events belong to no call. What a call set off comes while it runs or after it has returned: after
 * enablePayinTL, depositTL, resetTL and adminModeTL the status event that tells how it went, and after a
 * payment, unless PayOutOkCheck is 1, all that tells of its end: ready, the rest, levels, session texts.
 * While a payment's command is being handed over, a status message raises no event.
 */

/* The device's status changed. amountOrRest: what the customer has paid in so far. While the device pays
 * (status 1) it is also what it can't pay: after dispenseTL any amount but 0 is a rest; after payoutTL
 * and amountDueTL the first such event repeats what was paid in, and one with another amount but 0 is the
 * rest. The information event says it in words. nStatus: 0 ready, 1 busy, 2 error, 3 ready with pay-in
 * disabled. nMode: 0 closed, 1 open, 2 not opened after a login, 3 administration mode. */
typedef void (*TLStatusEvent)(int32_t amountOrRest, uint16_t nStatus, uint16_t nMode);

/* The device turned to its error status. errorText: the language file's text for "Error Code
 * <errorCode>", or the device's own words, at most 127 bytes. extInfo: always "ErrorInfo Not set".
 * Further errors before a resetTL are no error events. */
typedef void (*TLErrorEvent)(int32_t errorCode, const char* errorText, const char* extInfo);

/* A denomination is low, empty or high. denomination: in the smallest unit; where the device writes 0,50 or
 * 1,50 it is 50 in both cases. numberOf: how many are left, 0 for none, 999 for high. extInfo: the device's
 * own text, at most 63 bytes. */
typedef void (*TLCashLevelEvent)(int32_t denomination, uint16_t numberOf, const char* extInfo);

/* The same, with words to show. warningType: 1 empty, 2 low, 3 high. typeString: its word, and
 * denominationString: as the device writes it, at most 19 bytes each. warningMessage: a whole sentence,
 * at most 63 bytes. */
typedef void (*TLLevelWarningEvent)(uint16_t warningType, int32_t denomination, uint16_t numberOf,
                                    const char* typeString, const char* denominationString,
                                    const char* warningMessage, const char* extInfo);

/* The device has something to tell, such as what it could not pay; at most 98 bytes. Devices of version
 * kind 1 alone raise it, and registerEvents4TL alone delivers it. A window gets a message without the
 * text. */
typedef void (*TLInformationEvent)(const char* message);

/* The device began or ended a cash session. infoType: 0 to 3 for the texts BO/WD, BO/RF, CR/WD and
 * CR/RF with their amount, 4 for a text that begins with "Tella". extInfo: the device's own text, at most
 * 19 bytes. Not with registerEventsTL. */
typedef void (*TLCashSessionEvent)(uint16_t infoType, int32_t amount, const char* extInfo);

/* ---- Events as messages to a window or a socket ----
 *
 * Windows: five registered messages; get their numbers with RegisterWindowMessage and these names.
 * Linux: the handle is a connected socket's descriptor, and an event is one 24-byte record
 * { uint32_t message; uint32_t reserved; uint64_t wParam; int64_t lParam } in the machine's byte
 * order, sent without waiting: a record that finds the socket full is lost. A datagram or
 * sequenced-packet socket keeps records whole.
 *
 *   message            wParam                 lParam                 the text is fetched with
 *   STATUS             nMode * 100 + nStatus  amount                 -
 *   ERROR              0                      error code             getErrorInfoTL
 *   CASHLEVEL          numberOf               denomination           getCashLevelInfoTL or
 *                                                                    getLevelWarningInfoTL
 *   CASHSESSION        infoType               amount                 getCashSessionInfoTL
 *   INFORMATION        4                      0                      -
 */

/* A window's handle, or a socket's descriptor cast to a pointer. */
typedef void* TLWindowHandle;

/* The names for RegisterWindowMessage. */
#define TL_MESSAGE_NAME_CASHLEVEL "WM_TL_CALLBACK_CASHLEVEL"
#define TL_MESSAGE_NAME_CASHSESSION "WM_TL_CALLBACK_CASHSESSION"
#define TL_MESSAGE_NAME_ERROR "WM_TL_CALLBACK_ERROR"
#define TL_MESSAGE_NAME_INFORMATION "WM_TL_CALLBACK_INFORMATION"
#define TL_MESSAGE_NAME_STATUS "WM_TL_CALLBACK_STATUS"

/* The numbers on Linux. */
#define TL_MESSAGE_CASHLEVEL 0xC000
#define TL_MESSAGE_CASHSESSION 0xC001
#define TL_MESSAGE_ERROR 0xC002
#define TL_MESSAGE_INFORMATION 0xC003
#define TL_MESSAGE_STATUS 0xC004

/* ---- Cash counts ---- */

/* So many coins or notes of one denomination. */
typedef struct CashCountRecord {
    int32_t nDenomination; /* in the smallest unit */
    int32_t nCount;        /* the device's first count */
    int32_t nRecycle;      /* its second count; 0 if it gives one only */
    int32_t nTotal;        /* both together; 0 if it gives one only */
} CashCountRecord;

/* ---- Registration, before initTL ----
 *
 * Callbacks or a window, never both. initTL needs the status and error events and one of the two shapes
 * of the cash level event, or a window. No callback may be null. A later registration replaces what it
 * names and keeps the rest. exitTL forgets all of them.
 *
 * Callbacks, and delegates or closures behind them, must stay alive until exitTL has returned, and if it
 * was called inside an event, until that event has returned too: a runtime that moves or collects them
 * sooner crashes. Only registerEvents4TL delivers information texts; its warnings are
 * TLLevelWarningEvent.
 */

/* Registers the events that the parameters name.
 * Allowed always. Returns at once.
 * Statuses: 0 2 4.
 */
int16_t registerEventsTL(TLStatusEvent statusEvent, TLErrorEvent errorEvent, TLCashLevelEvent cashLevelEvent,
                         char* message);
int16_t registerEvents2TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent, TLCashLevelEvent cashLevelEvent,
                          TLCashSessionEvent cashSessionEvent, char* message);
int16_t registerEvents3TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                          TLLevelWarningEvent levelWarningEvent, TLCashSessionEvent cashSessionEvent,
                          char* message);
int16_t registerEvents4TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                          TLLevelWarningEvent levelWarningEvent, TLInformationEvent informationEvent,
                          TLCashSessionEvent cashSessionEvent, char* message);
int16_t registerEvents23TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                           TLCashLevelEvent cashLevelEvent, TLLevelWarningEvent levelWarningEvent,
                           TLCashSessionEvent cashSessionEvent, char* message);

/* The window, or on Linux the socket, that gets the events. On Linux the library keeps a duplicate of the
 * descriptor until exitTL: the application may close its own, and a peer sees the end of file only after
 * exitTL. A bad handle is not noticed; nothing is posted to it.
 * Allowed always. Returns at once.
 * Statuses: 0 2 4.
 */
int16_t registerHwndTL(TLWindowHandle hwndMessageTo, char* message);

/* ---- Lifecycle ---- */

/* Reads the settings, loads the communication library and opens the link to the device, which is not
 * asked anything yet. portSettings: "Type:RS232;Name:<port>;", tags as written here, no ";" in a value;
 * for a network link the port is "<host>:<port>". initSettings: settings in the form of changeSettingsTL,
 * or empty. Windows looks for Ostrivane.dll beside the program, in the system's directories, in the
 * current directory and in PATH: start the till where nobody else can write.
 * Allowed: not initiated; leads to closed. Returns when the communication library has opened the link,
 * and a failure may be that library's own code, with its text in "message".
 * Statuses: 0 2 3 4.
 */
int16_t initTL(const char* portSettings, const char* initSettings, char* message);

/* Closes the link and forgets the registered events. Does not log out: the device may stay open for cash.
 * May wait for an event that is running, so hold no lock that an event takes.
 * Allowed: all but not initiated, also inside an event; leads to not initiated. Returns when the
 * communication library has closed the link. On TL_STATUS_ERROR with "Failed to free library" call it
 * again.
 * Statuses: 0 2 4.
 */
int16_t exitTL(char* message);

/* ---- Session ---- */

/* Opens the device for cash. loginNumber, loginDigits: two numbers of which the device gets the last two
 * digits. The device is asked for its commands and its version first, and a refusal or silence there is
 * no failure: then what needs its extended command set answers TL_STATUS_NOT_SUPPORTED until the next
 * login.
 *
 * TL_STATUS_FAILED_TO_COMPLY: the device did not open, silent or not, told by a status event on this
 * thread (error, closed). A message left over from before can be taken for the device's answer: on a
 * legacy system (LegacySystem 1), or with a device that refuses the question for its commands, that
 * happens to the second login of a process, and to the first one if the device had said something before.
 * The device opens all the same a moment later: wait for the status event, and log in again. On an open
 * session it waits for the device to be ready, and can answer 0 though the device stays silent.
 *
 * Allowed always but not initiated; leads to pay-in enabled or disabled, as the device says. An open
 * session stays in its state, unless the device is in its error status. Returns when the device has said
 * that it is open. At worst: 35 s, with AutoDisable 55 s; 30 s more if it gets busy again.
 * Kind 1: the device gets the whole login text instead of the numbers.
 * Statuses: 0 1 2 4 5 6 7 13.
 */
int16_t loginTL(int16_t loginNumber, int16_t loginDigits, char* message);

/* The same with texts; of each the last two characters count if they are digits.
 * Allowed, returns and at worst as loginTL.
 * Kind 1: the device gets loginText as it is, and a loginText of 65 characters or more ends the process.
 * Statuses: 0 1 2 4 5 6 7 13.
 */
int16_t loginStrTL(const char* loginNumberText, const char* loginText, char* message);

/* Closes the device. A busy device is waited for StatusOkTimeout seconds and asked once more; to be sure
 * that a payment is over, wait for its status event first.
 * Allowed always but not initiated; leads to closed on 0 only. Returns when the device has said that it
 * is closed. At worst: 15 s.
 * Statuses: 0 1 2 4 5 6 7.
 */
int16_t logoutTL(char* message);

/* open: 1 if the device's last message says that it is open for cash and not busy, else 0; also 0 when
 * not initiated and in administration mode. Between initTL and the device's first message it is what the
 * link before said last.
 * Allowed: all but not initiated. Returns at once.
 * Statuses: 0 2 4.
 */
int16_t isOpenTL(uint32_t* open, char* message);

/* What is known of the device since login. level: 0 nothing, 1 its commands, 2 its version text too (kind
 * 1). commands: its command letters. master: its version "NN.NN". info: its version text. If the device
 * refused the question at login, these are what the login before heard.
 * Allowed: all but closed, where nothing is written. Not initiated, level is 0 and the texts are empty.
 * Returns at once.
 * Statuses: 0 2 4 5.
 */
int16_t infoTL(uint32_t* level, char* commands, char* master, char* info, char* message);

/* ---- Payment ----
 *
 * transactionId: the till's own mark for the payment; may be null or empty. It protects from nothing.
 * amountRest: receives what the device can't make up when the answer is TL_STATUS_NOT_POSSIBLE, else 0.
 *
 * A payment waits for a busy device, asks it whether it can pay the amount, sends its command, and
 * returns 0 with "Done" once the device has turned busy. With PayOutOkCheck 1 it waits until the device
 * is ready again.
 *
 * "Done", with amountRest 0, does not say that all came out. Less comes out, or nothing, if
 * - the amount was not asked about: one below AskPayOutAmountLimit while no level is low, or one for
 *   which askPayoutTL answered 0 earlier. What is remembered is the amount of the last question and that
 *   some question went well, so a refused one counts too if one before it went well;
 * - the device jams after it turned busy. With PayOutOkCheck 1 that is TL_STATUS_TIMEOUT;
 * - the device was busy for another reason, such as a note that went in, and never got the command.
 * What tells: the status event with status 1 whose amount is the rest, and the information event, which
 * registerEventsTL never delivers. Set PayOutOkCheck 1 and watch both, or count before and after.
 *
 * The settings' limit counts pay-outs less deposits: what dispenseTL, payoutTL and amountDueTL pay out
 * less what these two keep. So takings raise it: it stops a till that runs wild, and is no protection
 * against theft. A payment that failed counts too; dispenseSpecifiedTL, changeTL and regretTL do not.
 */

/* Opens the device for notes and coins.
 * Allowed: pay-in enabled, pay-in disabled; leads to pay-in enabled. Returns as soon as the command is
 * accepted; the device takes money from the status event 0 on. At worst: 15 s.
 * Statuses: 0 1 2 4 5 7 12.
 */
int16_t enablePayinTL(char* message);

/* Closes it.
 * Allowed: pay-in enabled, pay-in disabled; leads to pay-in disabled. Returns when the device says so.
 * At worst: 20 s.
 * Kind 1: answers 0, and counts pay-in as disabled, also if the device is in its error status, refused
 * the command or stayed silent; the status event 3 is the proof. Other kinds answer 2 for an error, the
 * refusal's own status, and 6 for silence.
 * Statuses: 0 1 2 4 5 6 7 12.
 */
int16_t disablePayinTL(char* message);

/* Keeps everything that was paid in.
 * Allowed: pay-in disabled, cash deposited; leads to cash deposited, which dispenseTL leads out of, with
 * 0 too.
 * Returns as soon as the command is accepted: wait for the status event that says ready with amount 0, or
 * the next call finds the device busy. At worst: 15 s.
 * Statuses: 0+ 1 2 4 5 7? 12.
 */
int16_t depositTL(const char* transactionId, char* message);

/* Pays out amountDispense. See above for what "Done" says.
 * Allowed: pay-in disabled, cash deposited; leads to pay-in disabled. Returns once the device is busy,
 * with PayOutOkCheck 1 when it is ready again. At worst: 45 s, with PayOutOkCheck 1 50 s.
 * Statuses: 0+ 1 2 4 5 6? 7? 8 11 12.
 */
int16_t dispenseTL(int32_t amountDispense, const char* transactionId, int32_t* amountRest, char* message);

/* Asks whether an amount can be paid exactly, and pays nothing. An amount above 99999999 is not refused:
 * the device is asked about its first eight digits. A negative one is sent as it is.
 * Allowed: pay-in enabled, pay-in disabled, cash deposited. Returns with the device's answer. At worst:
 * 20 s, if it can't pay 30 s.
 * Statuses: 0 1 2 4 5 6 7 8 12.
 */
int16_t askPayoutTL(int32_t amount, char* message);
int16_t askPayout2TL(int32_t amount, int32_t* amountRest, char* message);

/* Tells the device the sale's total, for its display; an amount above 99999999 as its first eight digits,
 * a negative one as it is. If the device doesn't answer, "message" still says "Done", that of the
 * sending.
 * Allowed: pay-in enabled, pay-in disabled, cash deposited. Returns with the device's next status
 * message.
 * At worst: 20 s.
 * Statuses: 0 1 2 4 5 6 7.
 */
int16_t informTotalAmountTL(int32_t amountTotal, char* message);

/* Settles a sale while pay-in is enabled: keeps amountDeposit of what was paid in and pays out
 * amountDispense. See above for what "Done" says; what is to be kept is kept also if less comes out. It
 * needs the device at status 0: one that goes to status 3 meanwhile costs the whole wait and the answer
 * 1, or 6 at the end.
 * Allowed: pay-in enabled, which stays. Returns once the device is busy, with PayOutOkCheck 1 when it
 * is ready again. At worst: 45 s, with PayOutOkCheck 1 50 s.
 * Statuses: 0+ 1 2 4 5 6? 7? 8 10 11 12.
 */
int16_t payoutTL(int32_t amountDispense, int32_t amountDeposit, const char* transactionId, char* message);
int16_t payout2TL(int32_t amountDispense, int32_t amountDeposit, const char* transactionId,
                  int32_t* amountRest, char* message);

/* The same by the amount due: keeps all that was paid in and pays out what is above amountDue.
 * TL_STATUS_INPUT_PARAM_ERROR, before all other tests and with amountRest untouched, if less was paid in.
 * A negative amountDue is not refused: it pays out that much more than was paid in. What was paid in is
 * what the device's last message says; if it is busy with a further note, wait for its status event
 * first.
 * Allowed, returns and at worst as payoutTL.
 * Statuses: 0+ 1 2 4 5 6? 7? 8 10 11 12.
 */
int16_t amountDueTL(int32_t amountDue, const char* transactionId, int32_t* amountRest, char* message);

/* Has the device give change on what was paid in.
 * Allowed: pay-in enabled, pay-in disabled, cash deposited; the state stays. Returns once the device is
 * busy, at once if nothing is paid in, and with ChangeOkCheck 1 when it is ready again. At worst: 20 s,
 * with ChangeOkCheck 1 30 s.
 * Statuses: 0+ 1 2 4 5 6? 7? 12.
 */
int16_t changeTL(char* message);

/* Gives money back. regretType: 0 the last note, 1 everything.
 * Allowed: pay-in enabled, pay-in disabled, and for the last note cash deposited; the state stays.
 * Returns as changeTL does, by RegretOkCheck. At worst: 15 s, with RegretOkCheck 1 25 s.
 * Statuses: 0+ 1 2 4 5 6? 7? 12.
 */
int16_t regretTL(int16_t regretType, char* message);

/* Brings the device out of its error status.
 * Allowed always but not initiated, closed included; leads to what the device then says. Returns as soon
 * as the command is accepted: wait for the status event. At worst: 15 s.
 * Statuses: 0 1 2 4 5 7.
 */
int16_t resetTL(char* message);

/* ---- Administration ----
 *
 * coins, nCoins, notes, nNotes: arrays that the application gets are its own, on the C run-time's heap;
 * they are never null and are released with tlFreeArray() of tllogics_arrays.h, which is free() on Linux
 * and on Windows the free() of msvcrt.dll, whatever the application was built with. An entry uses
 * nDenomination and nCount only. amountRest: the amount of all entries handed back. The arrays are handed
 * out on every return but those for a null "message", "Not initiated" and an empty message.
 *
 * The device's error status does not keep these calls from sending. collectToCashFloatTL, purgeTL and
 * dispenseSpecifiedTL answer 0 also if the device stayed silent or is still at it after 5 s: wait for the
 * status event that says ready, and count.
 */

/* adminModeType: 1 enters administration mode, any other value leaves it. Needs pay-in disabled and
 * nothing paid in, else TL_STATUS_FAILED_TO_COMPLY; TL_STATUS_BUSY if the command did not get through,
 * for whatever reason.
 * Allowed: pay-in disabled; the state stays. Returns as soon as the command is accepted: the status
 * event tells when the device is there (mode 3). At worst: 15 s.
 * Kind 1: answers 0 also if the command did not get through.
 * Statuses: 0 1 2 4 13.
 */
int16_t adminModeTL(int16_t adminModeType, char* message);

/* Moves what is above the cash float out of the drawer. type: 1, or any other value for the device's
 * other way. With TL_STATUS_FAILED_TO_COMPLY the device named pieces that stayed, and the arrays are
 * empty all the same.
 * Allowed: pay-in disabled in administration mode. Returns with the device's answer. At worst: 20 s.
 * Statuses: 0? 1 2 4 5 7? 12 13+.
 */
int16_t collectToCashFloatTL(int16_t type, CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes,
                             int32_t* nNotes, uint32_t* amountRest, const char* transactionId, char* message);

/* Ends a replenishment. TL_STATUS_BUSY if the device did not answer, or anything else failed.
 * Allowed: pay-in disabled in administration mode. Returns with the device's answer and its status
 * message.
 * At worst: 25 s.
 * Statuses: 0 1 2 4 12.
 */
int16_t endReplenishTL(const char* transactionId, char* message);

/* Unlocks. number is passed on to the device. TL_STATUS_BUSY if the device did not answer, or anything
 * failed.
 * Allowed: pay-in disabled in administration mode. Returns with the device's answer. At worst: 20 s.
 * Kind 1: answers 0 also if the device refused or stayed silent, where other kinds answer 1.
 * Statuses: 0 1 2 4 12.
 */
int16_t unlockTL(uint32_t number, char* message);

/* Empties the device, or a part of it: number is passed on. What stayed comes back in the arrays with
 * TL_STATUS_FAILED_TO_COMPLY. transactionId is logged and not sent.
 * Allowed: pay-in disabled and cash deposited, in administration mode; leads to pay-in disabled. Returns
 * with the device's answer. At worst: 20 s.
 * Statuses: 0? 1 2 4 5 7? 12 13+.
 */
int16_t purgeTL(uint32_t number, CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes,
                int32_t* nNotes, uint32_t* amountRest, const char* transactionId, char* message);

/* Pays out exactly the coins and notes of the arrays. The arrays given stay the application's; the
 * pointers are replaced by arrays of what was not paid: with TL_STATUS_FAILED_TO_COMPLY what the device
 * named, after any other refusal all of it, but nothing if the amount is too big. type is passed on. No
 * question is asked first.
 * Allowed: pay-in disabled, cash deposited; leads to pay-in disabled. Returns with the device's answer.
 * At worst: 20 s.
 * Statuses: 0? 1 2 4 5 7? 12 13+.
 */
int16_t dispenseSpecifiedTL(int16_t type, CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes,
                            int32_t* nNotes, uint32_t* amountRest, const char* transactionId, char* message);

/* ---- Cash count ---- */

/* What the device holds. The arrays are handed out on TL_STATUS_OK only and are released as above. A
 * device in its error status gets the command, and the call answers TL_STATUS_ERROR. After a count that
 * timed out the next one may hold its pieces too, or be answered by it at once (see "Late answers"): call
 * informTotalAmountTL, count twice, and take the second.
 * Allowed always but not initiated. Returns with the device's whole answer. At worst: 25 s.
 * Statuses: 0 1 2 4 5 6 7.
 */
int16_t cashCountTL(CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes, int32_t* nNotes,
                    char* message);
int16_t completeCashCountTL(CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes,
                            int32_t* nNotes, char* message);

/* ---- Texts of events that came as window messages ---- */

/* Each call hands out and removes the oldest text of its kind. At most 100 are kept, over exitTL too; a
 * further one is dropped though its message is posted. With none left the texts are empty and the answer
 * is 0. No text may be null.
 * Allowed: all but not initiated. Returns at once.
 * Statuses: 0 2 4.
 */
int16_t getErrorInfoTL(char* errorText, char* extInfo);
int16_t getCashLevelInfoTL(char* extInfo);
int16_t getCashSessionInfoTL(char* extInfo);

/* As getCashLevelInfoTL, from the same store, with the words of TLLevelWarningEvent. *warningType must
 * hold a value other than 0 when the call is made. A text about a low or empty denomination has the next
 * small payment asked about first.
 * Allowed: all but not initiated. Returns at once.
 * Statuses: 0 2 4.
 */
int16_t getLevelWarningInfoTL(int32_t* warningType, char* chTypeString, char* chDenominationString,
                              char* chWarningMessage, char* extInfo);

/* ---- Settings ---- */

/* Changes settings while the library runs. initSettings: "<key>:<value>;" for any of the keys of
 * tllogics.ini, no ";" in a value. What can't be read is passed over, and the answer is 0. durationType:
 * 0 for good, 1 until the next payoutTL, amountDueTL or dispenseTL that got as far as the device is over.
 * A change for one payment takes the last change for good back with it, initSettings of initTL included;
 * docs/settings.md tells more of that.
 * Allowed always, before initTL too, which then reads the file over it. Returns at once.
 * Statuses: 0 2 4.
 */
int16_t changeSettingsTL(const char* initSettings, int16_t durationType, char* message);

#ifdef __cplusplus
}
#endif

#endif
