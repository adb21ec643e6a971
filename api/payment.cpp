// Exports of the money operations.
#include "api/frame.h"

#include "logic/ctllogics.h"

namespace {

/// The method of an export that has no other parameters.
using PlainMethod = std::int16_t (CTLLogics::*)(std::string& message);

std::int16_t plainCall(const char* name, PlainMethod method, char* message)
{
    return Call(name, pieces(name, "(message)"), message).initiated().run([&](std::string& text) {
        return (g_logic.*method)(text);
    });
}

} // namespace

std::int16_t enablePayinTL(char* message)
{
    return plainCall("enablePayinTL", &CTLLogics::enablePayin, message);
}

std::int16_t disablePayinTL(char* message)
{
    return plainCall("disablePayinTL", &CTLLogics::disablePayin, message);
}

std::int16_t depositTL(const char* transactionId, char* message)
{
    const std::string_view id = textOf(transactionId);
    return Call("depositTL", pieces("depositTL(\"", id, "\", message)"), message)
        .initiated()
        .run([&](std::string& text) { return g_logic.deposit(std::string(id), text); });
}

std::int16_t dispenseTL(std::int32_t amountDispense, const char* transactionId, std::int32_t* amountRest,
                        char* message)
{
    const std::string_view id = textOf(transactionId);
    const OutVariable rest(amountRest);
    return Call("dispenseTL", pieces("dispenseTL(", amountDispense, ", \"", id, "\", amountRest, message)"),
                message)
        .initiated()
        .run(
            [&](std::string& text) { return g_logic.dispense(amountDispense, std::string(id), *rest, text); },
            withRest(*rest)); // the rest is not told on success
}

std::int16_t askPayoutTL(std::int32_t amount, char* message)
{
    return Call("askPayoutTL", pieces("askPayoutTL(", amount, ", message)"), message)
        .initiated()
        .run([&](std::string& text) { return g_logic.askPayout(amount, text); });
}

std::int16_t askPayout2TL(std::int32_t amount, std::int32_t* amountRest, char* message)
{
    const OutVariable rest(amountRest);
    return Call("askPayout2TL", pieces("askPayout2TL(", amount, ", amountRest, message)"), message)
        .required("amountRest parameter is null", amountRest)
        .initiated()
        .run([&](std::string& text) { return g_logic.askPayout(amount, *rest, text); }, withRest(*rest),
             withRest(*rest));
}

std::int16_t informTotalAmountTL(std::int32_t amountTotal, char* message)
{
    return Call("informTotalAmountTL", pieces("informTotalAmountTL(", amountTotal, ", message)"), message)
        .initiated()
        .run([&](std::string& text) { return g_logic.informTotalAmount(amountTotal, text); });
}

std::int16_t payoutTL(std::int32_t amountDispense, std::int32_t amountDeposit, const char* transactionId,
                      char* message)
{
    const std::string_view id = textOf(transactionId);
    return Call("payoutTL",
                pieces("payoutTL(", amountDispense, ", ", amountDeposit, ", \"", id, "\", message)"), message)
        .initiated()
        .run([&](std::string& text) {
            return g_logic.payout(amountDispense, amountDeposit, std::string(id), text);
        });
}

std::int16_t payout2TL(std::int32_t amountDispense, std::int32_t amountDeposit, const char* transactionId,
                       std::int32_t* amountRest, char* message)
{
    const std::string_view id = textOf(transactionId);
    const OutVariable rest(amountRest);
    return Call("payout2TL",
                pieces("payout2TL(", amountDispense, ", ", amountDeposit, ", \"", id,
                       "\", amountRest, message)"),
                message)
        .required("amountRest parameter is null", amountRest)
        .initiated()
        .run(
            [&](std::string& text) {
                return g_logic.payout(amountDispense, amountDeposit, std::string(id), *rest, text);
            },
            withRest(*rest), withRest(*rest));
}

std::int16_t amountDueTL(std::int32_t amountDue, const char* transactionId, std::int32_t* amountRest,
                         char* message)
{
    const std::string_view id = textOf(transactionId);
    const OutVariable rest(amountRest);
    return Call("amountDueTL", pieces("amountDueTL(", amountDue, ", \"", id, "\", amountRest, message)"),
                message)
        .required("amountRest parameter is null", amountRest)
        .initiated()
        .run([&](std::string& text) { return g_logic.amountDue(amountDue, std::string(id), *rest, text); },
             withRest(*rest), withRest(*rest));
}

std::int16_t changeTL(char* message)
{
    return plainCall("changeTL", &CTLLogics::change, message);
}

std::int16_t regretTL(std::int16_t regretType, char* message)
{
    return Call("regretTL", pieces("regretTL(", regretType, ", message)"), message)
        .initiated()
        .run([&](std::string& text) { return g_logic.regret(regretType, text); });
}

std::int16_t resetTL(char* message)
{
    return plainCall("resetTL", &CTLLogics::reset, message);
}
