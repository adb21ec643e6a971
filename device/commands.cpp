// The command texts. Fields stand behind the letter, each led by the separator.
#include "device/ostrivane.h"

#include "api/tllogics.h"
#include "diag/language.h"
#include "diag/log.h"
#include "platform/clock.h"
#include "platform/end_process.h"
#include "text/compose.h"
#include "text/dates.h"
#include "text/numbers.h"

#include <ctime>

namespace {

constexpr char FS = '\x1C';

/// Eight digits; a longer number is not cut.
std::string wholeAmount(std::int32_t amount)
{
    return leftPadded(amount, 8);
}

/// Eight characters of the number, whatever is lost.
std::string cutAmount(std::int32_t amount)
{
    const std::string digits = std::to_string(amount < 0 ? -static_cast<std::int64_t>(amount) : amount);
    const std::size_t room = amount < 0 ? 7 : 8;
    const std::string zeros(digits.size() < room ? room - digits.size() : 0, '0');
    return compose(amount < 0 ? "-" : "", zeros, digits).substr(0, 8);
}

/// A last field that is left out with its separator when it is empty.
std::string optionalField(const std::string& text)
{
    return text.empty() ? "" : compose(FS, text);
}

} // namespace

std::int16_t COstrivane::send(const std::string& command, std::string& message)
{
    std::string answer;
    return my_tl_002(command, answer, message);
}

/// Sends, and logs the exchange if it failed or is always to be logged.
std::int16_t COstrivane::sendAndLog(LogExchange when, const char* method, const std::string& command,
                                    std::string& message)
{
    if (when == LogExchange::Always)
        logDebug(pieces("COstrivane::", method, ": Calling my_tl_002"));
    std::string answer;
    const std::int16_t result = my_tl_002(command, answer, message);
    const bool failed = result != TL_STATUS_OK;
    if (failed || when == LogExchange::Always) {
        logDebug(pieces("COstrivane::", method, ": sent command: ", command));
        logDebug(pieces("COstrivane::", method, ": return value: ", result, ", message: ", message));
        logDebug(pieces("COstrivane::", method, ": received ans: ", answer));
    }
    if (failed)
        logDebug(pieces("COstrivane::", method, ": the ", method, " command failed"));
    return result;
}

std::int16_t COstrivane::queryCommandSet(const char* stamp, std::string& message)
{
    return sendAndLog(LogExchange::Always, "queryCommandSet", compose('x', FS, stamp), message);
}

std::int16_t COstrivane::versionTL(std::string& message)
{
    return sendAndLog(LogExchange::Always, "versionTL", compose('v', FS), message);
}

std::int16_t COstrivane::login(std::int32_t number, std::int32_t digits, std::string& message)
{
    const std::tm now = platform::localTime().calendar;
    return send(compose('a', FS, leftPadded(number, 2), FS, leftPadded(digits, 2), FS,
                        leftPadded(now.tm_hour, 2), leftPadded(now.tm_min, 2)),
                message);
}

std::int16_t COstrivane::login(const std::string& loginText, std::string& message)
{
    static constexpr std::size_t BUFFER_SIZE = 80; // of the device's login record, with its NUL
    static constexpr std::size_t TEXT_START = 15;
    if (TEXT_START + loginText.size() >= BUFFER_SIZE)
        platform::endProcess(); // by contract: no status tells of a login text that long
    const std::tm now = platform::localTime().calendar;
    return send(compose('a', dateText(now), leftPadded(now.tm_hour, 2), leftPadded(now.tm_min, 2),
                        leftPadded(static_cast<std::int64_t>(loginText.size()), 2), loginText),
                message);
}

std::int16_t COstrivane::logout(std::string& message)
{
    std::string answer;
    const std::int16_t result = my_tl_002("b", answer, message);
    if (result != TL_STATUS_OK) {
        logDebug(pieces("COstrivane::logout: received ans: ", answer, ", message: ", message));
        logDebug(pieces("COstrivane::logout: returning not ok: ", result));
    }
    return result;
}

std::int16_t COstrivane::loggedOut(std::string& message)
{
    if (const LoggedOutFunction tell = fp_tl_loggedout) {
        AnswerBuffer buffer{};
        tell("", buffer.data());
    }
    message = lookupText("Done");
    return TL_STATUS_OK;
}

std::int16_t COstrivane::enablePayin(std::string& message)
{
    return sendAndLog(LogExchange::OnFailure, "enablePayin", "h", message);
}

std::int16_t COstrivane::disablePayin(std::string& message)
{
    return sendAndLog(LogExchange::OnFailure, "disablePayin", "g", message);
}

std::int16_t COstrivane::dispense(std::int32_t amountDispense, const std::string& transactionId,
                                  std::string& message)
{
    return send(compose('c', FS, wholeAmount(amountDispense), optionalField(transactionId)), message);
}

std::int16_t COstrivane::askPayout(std::int32_t amount, std::string& message)
{
    return send(compose('d', FS, cutAmount(amount)), message);
}

std::int16_t COstrivane::informTotalAmount(std::int32_t amountTotal, std::string& message)
{
    return send(compose('l', FS, cutAmount(amountTotal)), message);
}

std::int16_t COstrivane::doPayOut(std::int32_t amountDispense, std::int32_t amountDeposit,
                                  const std::string& transactionId, std::string& message)
{
    logDebug(pieces("COstrivane::doPayOut: Transaction Id: ", transactionId));
    logDebug(pieces("COstrivane::doPayOut: Amount Deposit: ", amountDeposit));
    logDebug(pieces("COstrivane::doPayOut: Amount Dispense: ", amountDispense));
    logDebug(pieces("COstrivane::doPayOut: Amount Due: ", wrappingSubtract(amountDeposit, amountDispense)));
    return send(compose('f', FS, wholeAmount(amountDispense), FS, wholeAmount(amountDeposit),
                        optionalField(transactionId)),
                message);
}

std::int16_t COstrivane::change(std::string& message)
{
    return send(compose('e', FS, '1'), message);
}

std::int16_t COstrivane::regretLastNote(std::string& message)
{
    return send(compose('e', FS, '2'), message);
}

std::int16_t COstrivane::reset(std::string& message)
{
    return send(compose('e', FS, '3'), message);
}

std::int16_t COstrivane::regretAll(std::string& message)
{
    return send(compose('e', FS, '4'), message);
}

std::int16_t COstrivane::completeCashCount(std::string& message)
{
    return send("i", message);
}

std::int16_t COstrivane::cashCount(std::string& message)
{
    return send("j", message);
}

std::int16_t COstrivane::adminMode(std::int16_t adminModeType, std::string& message)
{
    return send(compose('k', FS, adminModeType == 1 ? '1' : '2'), message);
}

std::int16_t COstrivane::dispenseSpecified(std::int16_t type, const std::string& coinsAndNotes,
                                           const std::string& transactionId, std::string& message)
{
    const char digit = type == 0 ? '0' : type == 1 ? '1' : '2';
    return send(compose('m', FS, digit, coinsAndNotes, FS, '#', transactionId), message);
}

std::int16_t COstrivane::collectToCashFloat(std::int16_t type, const std::string& /*coinsAndNotes*/,
                                            const std::string& transactionId, std::string& message)
{
    return send(compose('n', FS, type == 1 ? '1' : '2', '#', transactionId), message);
}

std::int16_t COstrivane::endReplenish(const std::string& transactionId, std::string& message)
{
    return send(compose('p', FS, FS, '#', transactionId), message);
}

std::int16_t COstrivane::purge(std::uint32_t number, std::string& message)
{
    return send(compose('q', FS, number), message);
}

std::int16_t COstrivane::unlock(std::uint32_t number, std::string& message)
{
    return send(compose('r', FS, number), message);
}
