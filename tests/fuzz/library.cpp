#include "fuzz/library.h"

#include "api/tllogics.h"
#include "diag/language.h"
#include "diag/log.h"
#include "events/decoder.h"
#include "events/event_slots.h"
#include "events/queues.h"
#include "logic/ctllogics.h"
#include "logic/low_level_warning.h"
#include "logic/shared_state.h"
#include "scripted_modules.h"
#include "simulation/virtual_system.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

using simulation::virtualSystem;

std::function<void()> fuzz::duringEvent;
std::string fuzz::nextAnswer;

namespace {

/// Longer than any wait of the library's own. One that the settings make endless is broken off by what
/// nothing else throws here, and the call ends like one that finds no memory.
constexpr int MOST_ROUNDS = 4000;

int rounds = 0;
std::multimap<std::int64_t, std::string> coming;

void sleepOn(std::int64_t milliseconds)
{
    if (++rounds > MOST_ROUNDS)
        throw std::runtime_error("waits without end");
    const std::int64_t end = virtualSystem().now() + milliseconds;
    while (!coming.empty() && coming.begin()->first <= end) {
        const auto first = coming.extract(coming.begin());
        virtualSystem().setNow(std::max(first.key(), virtualSystem().now()));
        fuzz::deliver(first.mapped());
    }
    virtualSystem().setNow(std::max(end, virtualSystem().now()));
}

/// "w47 08:00:00.000 == text", in the error file behind "2026-11-23 Mon ".
void checkLine(const simulation::VirtualSystem::LogFile& file, std::string_view line)
{
    const std::size_t start = file.name.starts_with("tlerror") ? 15 : 0;
    fuzz::require(line.size() >= start + 21 && line.ends_with('\n'));
    fuzz::require(line.find_first_of(std::string_view("\0\r\n", 3)) == line.size() - 1);
    fuzz::require(line[start] == 'w' && line.substr(start + 16, 1) == " ");
}

/// Reads it to its end, which must come in time.
void read(const char* text, std::size_t room)
{
    fuzz::require(std::memchr(text, '\0', room) != nullptr);
}

void happened()
{
    if (fuzz::duringEvent)
        std::exchange(fuzz::duringEvent, nullptr)();
}

} // namespace

void fuzz::begin(Log log)
{
    rounds = 0;
    coming.clear();
    duringEvent = nullptr;
    ScriptedOstrivane& com = ostrivane();
    com = ScriptedOstrivane();
    com.ownPath = "/till/libtllogics.so";
    com.onCommand = [](const std::string& command) {
        const std::string plain{command.empty() ? '?' : command.front(), '\x1C', '0'};
        return nextAnswer.empty() ? plain : nextAnswer;
    };
    nextAnswer.clear();
    virtualSystem().setNow(0);
    virtualSystem().onSleep = sleepOn;
    virtualSystem().onLine = log == Log::Checked ? checkLine : nullptr;
    virtualSystem().files.clear();

    g_pLangFile.reset();
    g_pFormerLogFiles.reset();
    g_pLogFiles.reset();
    g_sLogSubfolder.clear();
    static const CTLSettings defaults;
    for (const SettingRow& row : settingsTable())
        defaults.refreshCopy(row);
    for (std::atomic<bool>* const gate :
         {&g_bLogCRToCAPI, &g_bLogCAPIToCR, &g_bLogComToCAPI, &g_bLogCAPIToCom, &g_bLogDebug})
        *gate = log == Log::Checked;
    for (EventQueue* const queue :
         {&errorQueue, &cashLevelWarningsQueue, &cashSessionQueue, &informationQueue})
        for (std::string text; queue->retrieve(text) == TL_STATUS_OK;)
            continue;
    for (SharedText* const text : {&g_strLevelWarningFilter, &g_sLastDeviceMessage, &g_sApiVersion,
                                   &g_sMasterVersion, &g_sSupportedCommands, &g_sCountParts, &g_sEParts})
        text->clear();
    g_sLastCallbackType.clear();
    g_cashCountResult.coins.clear();
    g_cashCountResult.notes.clear();
    g_hwndMessageTo.set(nullptr);
    g_fnStatusEvent = nullptr;
    g_fnErrorEvent = nullptr;
    g_fnCashLevelEvent = nullptr;
    g_fnLevelWarningEvent = nullptr;
    g_fnInformationEvent = nullptr;
    g_fnCashSessionEvent = nullptr;
    g_nLastEventAmount = g_nLastEventStatus = g_nLastEventMode = -1;
    g_nLastCallbackStatus = DEVICE_UNHEARD;
    g_nLastCallbackMode = MODE_CONSUMED;
    g_bCommandMade = true;
    g_bDeviceOpen = g_bInitiated = g_bAskPayoutDone = g_bSendingPayCommand = false;
    g_nApiVersionKind = g_nAmountPaidIn = g_nAskPayoutRest = g_nAskPayoutAmount = 0;
    g_nCurrentLowLevelWarningState.assumeLow();
}

void fuzz::loadLibrary(Log log)
{
    begin(log);
    std::destroy_at(&g_logic);
    std::construct_at(&g_logic);
    g_bUnloading = false;
}

void fuzz::listen(bool toWindow)
{
    if (toWindow) {
        g_hwndMessageTo.set(reinterpret_cast<TLWindowHandle>(std::intptr_t{99999}));
        return;
    }
    g_fnStatusEvent = onStatus;
    g_fnErrorEvent = onError;
    g_fnCashLevelEvent = onCashLevel;
    g_fnLevelWarningEvent = onLevelWarning;
    g_fnInformationEvent = onInformation;
    g_fnCashSessionEvent = onSession;
}

void fuzz::deliver(const std::string& message)
{
    require(callbackfunc(message.c_str()) == 1);
}

void fuzz::deliverLines(Bytes& input)
{
    while (!input.atEnd()) {
        const std::string line = input.line();
        const bool often = line.starts_with('*');
        for (int i = 0; i < (often ? 20 : 1); ++i)
            deliver(line.substr(often ? 1 : 0));
    }
}

void fuzz::deliverAfter(std::int64_t milliseconds, std::string message)
{
    coming.emplace(virtualSystem().now() + milliseconds, std::move(message));
}

void fuzz::onStatus(std::int32_t amount, std::uint16_t, std::uint16_t)
{
    require(amount >= 0);
    happened();
}

void fuzz::onError(std::int32_t code, const char* text, const char* info)
{
    require(code >= 0);
    read(text, 128);
    read(info, 32);
    happened();
}

void fuzz::onCashLevel(std::int32_t denomination, std::uint16_t, const char* info)
{
    require(denomination >= 0);
    read(info, 64);
    happened();
}

void fuzz::onLevelWarning(std::uint16_t type, std::int32_t denomination, std::uint16_t, const char* word,
                          const char* name, const char* warning, const char* info)
{
    require(type >= 1 && type <= 3 && denomination >= 0);
    read(word, 20);
    read(name, 20);
    read(warning, 64);
    read(info, 64);
    happened();
}

void fuzz::onInformation(const char* text)
{
    read(text, 99);
    happened();
}

void fuzz::onSession(std::uint16_t type, std::int32_t, const char* info)
{
    require(type <= 4);
    read(info, 20);
    happened();
}
