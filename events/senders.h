// Delivery of events to the application's callbacks or its window. Called on the communication library's
// thread, except for the status event of a login that was given up. The results end in the log.
#pragma once

#include <cstdint>
#include <string>

std::int16_t sendStatusEvent(std::int32_t amountOrRest, std::int32_t nStatus, std::int32_t nMode);
/// "errorCode" 0: the code is taken from the text.
std::int16_t sendErrorEvent(const std::string& strMessage, std::int32_t errorCode);
std::int16_t sendCashLevelEvent(const std::string& strMessage, std::int32_t code);
std::int16_t sendCashSessionEvent(const std::string& strMessage);
std::int16_t sendInformationEvent(const std::string& strMessage, std::int32_t code);
