/*
 * tllogics: drives a Tellarion, a closed cash unit that takes in, holds and pays out money.
 *
 * Calling order: register events, initTL, loginTL, the day's work, logoutTL, exitTL.
 *
 * For every function:
 * - It returns one of the TL_STATUS_ codes, unless a communication library's own failure code passes
 *   through initTL.
 * - It runs on the caller's thread and blocks until it is done, at the worst for more than 30 seconds.
 *   Only one thread may call at a time, and never from inside an event; exitTL alone may be called there.
 * - "message" is the caller's buffer, written on every return but the one that reports it null. Its
 *   text is the one that the language file gives for the outcome, "Done" on success. No length is
 *   passed: the buffer must hold the longest text of the language file; 1024 bytes are plenty without one.
 * - Amounts are in the currency's smallest unit, 0 to 99999999.
 * - Texts are narrow characters, ended by NUL. A null text reads as an empty one, and a result whose
 *   pointer is null is not handed out, except where TL_STATUS_INPUT_PARAM_ERROR is the answer.
 * - Before initTL, or after exitTL, the answer is TL_STATUS_ERROR with "Not initiated", except from the
 *   registrations, initTL and changeSettingsTL.
 * - Texts handed out besides "message" are the device's own, uncut: a few dozen characters from a working
 *   device. Buffers of 1024 bytes leave ample room.
 *
 * What most operations answer when they can't be carried out:
 *   TL_STATUS_BUSY          the device stayed busy for 15 seconds (regretTL: 10, logoutTL: by the
 *                           settings), or the command itself was answered so
 *   TL_STATUS_ERROR         the device is in its error status; resetTL is the way out
 *   TL_STATUS_CLOSED        nobody is logged in
 *   TL_STATUS_TIMEOUT       the device did not answer in time, or turned to error while it worked
 *   TL_STATUS_SEND_FAILED   the command did not get through
 *   TL_STATUS_NOT_SUPPORTED not allowed in the present state, or the device lacks the command
 */
#ifndef TLLOGICS_H
#define TLLOGICS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Status codes ---- */

#define TL_STATUS_OK 0
#define TL_STATUS_BUSY 1
#define TL_STATUS_ERROR 2
#define TL_STATUS_WARNING 3 /* initTL on a library that is initiated already */
#define TL_STATUS_INPUT_PARAM_ERROR 4
#define TL_STATUS_CLOSED 5
#define TL_STATUS_TIMEOUT 6
#define TL_STATUS_SEND_FAILED 7
#define TL_STATUS_NOT_POSSIBLE 8    /* the amount can't be paid exactly */
#define TL_STATUS_AMOUNT_TOO_BIG 10 /* more to deposit than was paid in */
#define TL_STATUS_PAYOUT_LIMIT 11   /* more paid out than the settings allow per time */
#define TL_STATUS_NOT_SUPPORTED 12
#define TL_STATUS_FAILED_TO_COMPLY 13 /* the device took the command and did not do as told */

/* ---- Events as callbacks ----
 *
 * They run on the communication library's thread; until one returns, no further event comes. The
 * texts are the library's own and valid during the call only.
 */

/* The device's status changed. amountOrRest: what the customer has paid in so far, or while
 * the device pays, what it can't pay. nStatus: 0 ready, 1 busy, 2 error, 3 ready with pay-in disabled.
 * nMode: 0 closed, 1 open, 2 not opened after a login, 3 administration mode. */
typedef void (*TLStatusEvent)(int32_t amountOrRest, uint16_t nStatus, uint16_t nMode);

/* The device reported an error. errorText: the language file's text for "Error Code <errorCode>",
 * or the device's own words. extInfo: always "ErrorInfo Not set". */
typedef void (*TLErrorEvent)(int32_t errorCode, const char* errorText, const char* extInfo);

/* A denomination is low, empty or high. denomination: in the smallest unit. numberOf: how many are
 * left, 0 for none, 999 for high. extInfo: the device's own text. */
typedef void (*TLCashLevelEvent)(int32_t denomination, uint16_t numberOf, const char* extInfo);

/* The same, with words to show. warningType: 1 empty, 2 low, 3 high. typeString: its word.
 * denominationString: as the device writes it. warningMessage: a whole sentence. */
typedef void (*TLLevelWarningEvent)(uint16_t warningType, int32_t denomination, uint16_t numberOf,
                                    const char* typeString, const char* denominationString,
                                    const char* warningMessage, const char* extInfo);

/* The device has something to tell. */
typedef void (*TLInformationEvent)(const char* message);

/* The device began or ended a cash session. infoType: 0 to 3 for the texts BO/WD, BO/RF, CR/WD and
 * CR/RF with their amount, 4 for a text that begins with "Tella". extInfo: the device's own text. */
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
typedef void* TLWindowHandle;

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

typedef struct CashCountRecord {
    int32_t nDenomination; /* in the smallest unit */
    int32_t nCount;        /* the device's first count */
    int32_t nRecycle;      /* its second count; 0 if it gives one only */
    int32_t nTotal;        /* both together; 0 if it gives one only */
} CashCountRecord;

/* ---- Registration, before initTL ----
 *
 * Callbacks or a window, never both. initTL needs the status and error events and one of the two
 * shapes of the cash level event, or a window. No callback may be null (TL_STATUS_INPUT_PARAM_ERROR);
 * TL_STATUS_ERROR if the other way is registered. exitTL forgets all of them.
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
int16_t registerHwndTL(TLWindowHandle hwndMessageTo, char* message);

/* ---- Lifecycle ---- */

/* Reads the settings, loads the communication library and opens the link to the device.
 * portSettings: "Type:RS232;Name:<port>;". initSettings: settings in the form of changeSettingsTL, or
 * empty. TL_STATUS_WARNING if it was done already, TL_STATUS_INPUT_PARAM_ERROR for bad port settings. */
int16_t initTL(const char* portSettings, const char* initSettings, char* message);

/* Closes the link, forgets the registered events. Does not log out. May wait for an event that is running,
 * so hold no lock that an event takes. */
int16_t exitTL(char* message);

/* ---- Session ---- */

/* Opens the device for cash. loginNumber, loginDigits: two numbers of which the device gets the last two
 * digits. TL_STATUS_FAILED_TO_COMPLY if the device does not open, silent or not. */
int16_t loginTL(int16_t loginNumber, int16_t loginDigits, char* message);

/* The same with texts; of each the last two characters count if they are digits. Devices of the newer
 * kind get the whole loginText. A loginText of 65 characters or more ends the process on such a device. */
int16_t loginStrTL(const char* loginNumberText, const char* loginText, char* message);

/* Closes the device. Is tried in every state. */
int16_t logoutTL(char* message);

/* open: 1 if the device's last message says that it is open for cash, else 0; also 0 before initTL. */
int16_t isOpenTL(uint32_t* open, char* message);

/* What is known of the device since login. level: 0 nothing, 1 its commands, 2 its version text too.
 * commands: its command letters. master: its version "NN.NN". info: its version text. TL_STATUS_CLOSED, and
 * nothing written, while nobody is logged in. */
int16_t infoTL(uint32_t* level, char* commands, char* master, char* info, char* message);

/* ---- Payment ----
 *
 * transactionId: the till's own mark for the payment; may be null or empty.
 * amountRest: receives what the device can't make up when the answer is TL_STATUS_NOT_POSSIBLE, else 0.
 * A payment that ends in TL_STATUS_TIMEOUT may have been made.
 */

/* Opens and closes the device for notes and coins. disablePayinTL waits until the device says so;
 * enablePayinTL returns as soon as the command is accepted. */
int16_t enablePayinTL(char* message);
int16_t disablePayinTL(char* message);

/* Keeps everything that was paid in; pay-in must be disabled. Returns as soon as the command is accepted:
 * wait for the status event that says the device is ready again, or the next command may find it busy. */
int16_t depositTL(const char* transactionId, char* message);

/* Pays out while pay-in is disabled. */
int16_t dispenseTL(int32_t amountDispense, const char* transactionId, int32_t* amountRest, char* message);

/* Asks whether an amount can be paid exactly, and pays nothing. */
int16_t askPayoutTL(int32_t amount, char* message);
int16_t askPayout2TL(int32_t amount, int32_t* amountRest, char* message);

/* Tells the device the sale's total, for its display. If the device doesn't answer, "message" still says
 * that the command was sent well. */
int16_t informTotalAmountTL(int32_t amountTotal, char* message);

/* Settles a sale while pay-in is enabled: pays out amountDispense and keeps amountDeposit of what was
 * paid in. TL_STATUS_AMOUNT_TOO_BIG if less than that was paid in, TL_STATUS_PAYOUT_LIMIT if the settings'
 * limit per time is passed. */
int16_t payoutTL(int32_t amountDispense, int32_t amountDeposit, const char* transactionId, char* message);
int16_t payout2TL(int32_t amountDispense, int32_t amountDeposit, const char* transactionId,
                  int32_t* amountRest, char* message);

/* The same by the amount due: keeps all that was paid in and pays out what is above amountDue.
 * TL_STATUS_INPUT_PARAM_ERROR, and amountRest untouched, if less was paid in. */
int16_t amountDueTL(int32_t amountDue, const char* transactionId, int32_t* amountRest, char* message);

/* Has the device give change on what was paid in. */
int16_t changeTL(char* message);

/* Gives money back. regretType: 0 the last note, 1 everything. */
int16_t regretTL(int16_t regretType, char* message);

/* Brings the device out of its error status. Does not wait for it. */
int16_t resetTL(char* message);

/* ---- Administration ----
 *
 * coins, nCoins, notes, nNotes: arrays that the application gets are its own, on the C run-time's heap;
 * they are never null and are released with free(); on Windows with free() of msvcrt.dll (see the README).
 * An entry uses nDenomination and nCount only. amountRest: the amount of all entries handed back.
 */

/* adminModeType: 1 enters administration mode, any other value leaves it. The status event tells when the
 * device is there (mode 3). TL_STATUS_FAILED_TO_COMPLY unless pay-in is disabled and nothing is paid in;
 * TL_STATUS_BUSY if the command did not get through, for whatever reason. */
int16_t adminModeTL(int16_t adminModeType, char* message);

/* The four that need administration mode. number, type: passed on to the device. What the device could
 * not do comes back with TL_STATUS_FAILED_TO_COMPLY, but for collectToCashFloatTL, whose arrays are empty
 * then. endReplenishTL and unlockTL answer TL_STATUS_BUSY if the device did not answer. */
int16_t collectToCashFloatTL(int16_t type, CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes,
                             int32_t* nNotes, uint32_t* amountRest, const char* transactionId, char* message);
int16_t endReplenishTL(const char* transactionId, char* message);
int16_t unlockTL(uint32_t number, char* message);
int16_t purgeTL(uint32_t number, CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes,
                int32_t* nNotes, uint32_t* amountRest, const char* transactionId, char* message);

/* Pays out exactly the coins and notes of the arrays. The arrays given stay the application's; the
 * pointers are replaced by arrays of what was not paid. */
int16_t dispenseSpecifiedTL(int16_t type, CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes,
                            int32_t* nNotes, uint32_t* amountRest, const char* transactionId, char* message);

/* ---- Cash count ----
 *
 * What the device holds. The arrays are handed out on TL_STATUS_OK only and are released as above.
 */
int16_t cashCountTL(CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes, int32_t* nNotes,
                    char* message);
int16_t completeCashCountTL(CashCountRecord** coins, int32_t* nCoins, CashCountRecord** notes,
                            int32_t* nNotes, char* message);

/* ---- Texts of events that came as window messages ----
 *
 * Each call hands out and removes the oldest text of its kind; at most 100 are kept. With none left the
 * texts are empty and the answer is TL_STATUS_OK. No text may be null.
 */
int16_t getErrorInfoTL(char* errorText, char* extInfo);
int16_t getCashLevelInfoTL(char* extInfo);
int16_t getCashSessionInfoTL(char* extInfo);

/* As getCashLevelInfoTL, from the same store, with the words of TLLevelWarningEvent. *warningType must
 * hold a value other than 0 when the call is made. */
int16_t getLevelWarningInfoTL(int32_t* warningType, char* chTypeString, char* chDenominationString,
                              char* chWarningMessage, char* extInfo);

/* ---- Settings ---- */

/* Changes settings while the library runs. initSettings: "<key>:<value>;" for any of the keys of
 * tllogics.ini. durationType: 0 for good, 1 until the next payout or dispense that got as far as the device
 * is over. Works before initTL too, which then reads the file over it. */
int16_t changeSettingsTL(const char* initSettings, int16_t durationType, char* message);

#ifdef __cplusplus
}
#endif

#endif
