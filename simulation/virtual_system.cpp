#include "simulation/virtual_system.h"

#include "platform/clock.h"
#include "platform/end_process.h"
#include "platform/file_reading.h"
#include "platform/files.h"
#include "platform/messages.h"
#include "text/dates.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>

namespace simulation {

VirtualSystem& virtualSystem()
{
    static VirtualSystem& only = *new VirtualSystem;
    return only;
}

std::string VirtualSystem::onDisk(const std::string& path) const
{
    return logDirectory + "/" + path;
}

std::intptr_t VirtualSystem::openLog(const std::string& path)
{
    const auto found = m_logByPath.find(path);
    const std::intptr_t handle =
        found != m_logByPath.end() ? found->second : static_cast<std::intptr_t>(m_logs.size());
    if (found == m_logByPath.end()) {
        m_logByPath[path] = handle;
        LogFile& file = m_logs[handle];
        file.name = path.substr(path.rfind('/') + 1);
        if (!logDirectory.empty()) {
            std::filesystem::create_directories(std::filesystem::path(onDisk(path)).parent_path());
            file.copy = std::fopen(onDisk(path).c_str(), "wb");
        }
    }
    ++m_users[handle];
    ++m_open;
    return handle;
}

void VirtualSystem::closeLog(std::intptr_t handle)
{
    --m_users[handle];
    --m_open;
    if (LogFile& file = log(handle); file.copy != nullptr)
        std::fflush(file.copy);
}

void VirtualSystem::emptyLog(const std::string& path)
{
    const auto found = m_logByPath.find(path);
    if (found == m_logByPath.end())
        return;
    LogFile& file = log(found->second);
    file.beginning.clear();
    if (file.copy != nullptr)
        file.copy = std::freopen(onDisk(path).c_str(), "wb", file.copy);
}

} // namespace simulation

using simulation::virtualSystem;

namespace platform {

// ---- Clock ----

void sleepMilliseconds(unsigned milliseconds)
{
    virtualSystem().onSleep(milliseconds);
}

LocalTime localTime()
{
    using namespace std::chrono;
    static std::int64_t second = -1;
    static std::tm calendar{};
    const std::int64_t time = virtualSystem().localTime();
    if (time / 1000 != second) {
        second = time / 1000;
        const sys_seconds point{seconds{second}};
        const sys_days day = floor<days>(point);
        const year_month_day date{day};
        const hh_mm_ss clock{point - day};
        calendar.tm_year = static_cast<int>(date.year()) - 1900;
        calendar.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
        calendar.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
        calendar.tm_hour = static_cast<int>(clock.hours().count());
        calendar.tm_min = static_cast<int>(clock.minutes().count());
        calendar.tm_sec = static_cast<int>(clock.seconds().count());
        calendar.tm_wday = static_cast<int>(weekday{day}.c_encoding());
        calendar.tm_yday = static_cast<int>((day - sys_days{date.year() / January / 1}).count());
    }
    return {calendar, static_cast<int>(time % 1000)};
}

int localDay()
{
    return dayNumber(localTime().calendar);
}

std::int64_t wallClockSeconds()
{
    return virtualSystem().wallClock();
}

// ---- Files ----

const char* pathSeparator()
{
    return "/";
}

bool isPathSeparator(char character)
{
    return character == '/';
}

const char* defaultLogDirectory()
{
    return "/tmp/";
}

std::string windowsDirectory()
{
    return "/etc";
}

std::optional<std::string> environmentVariable(const char* name)
{
    const auto& environment = virtualSystem().environment;
    const auto found = environment.find(name);
    if (found == environment.end())
        return std::nullopt;
    return found->second;
}

bool makeDirectory(const std::string&)
{
    return true;
}

const char* lineEnd()
{
    return "\n";
}

void clearReadOnly(const std::string&) {}

AppendFile AppendFile::open(const std::string& path)
{
    AppendFile file;
    file.m_handle = virtualSystem().openLog(path);
    return file;
}

void AppendFile::empty(const std::string& path)
{
    virtualSystem().emptyLog(path);
}

std::string AppendFile::beginning(std::size_t most) const
{
    return virtualSystem().log(m_handle).beginning.substr(0, most);
}

void AppendFile::append(std::string_view text) const
{
    simulation::VirtualSystem::LogFile& file = virtualSystem().log(m_handle);
    if (file.beginning.empty())
        file.beginning = text.substr(0, 64);
    if (file.copy != nullptr)
        std::fwrite(text.data(), 1, text.size(), file.copy);
    if (virtualSystem().onLine)
        virtualSystem().onLine(file, text);
}

void AppendFile::close()
{
    if (isOpen())
        virtualSystem().closeLog(release());
}

bool canRead(const std::string& path)
{
    return virtualSystem().files.contains(path);
}

std::optional<std::string> readFile(const std::string& path)
{
    const auto& files = virtualSystem().files;
    const auto found = files.find(path);
    if (found == files.end())
        return std::nullopt;
    return found->second;
}

// ---- The rest ----

std::uint32_t registerWindowMessage(const char*, std::uint32_t fixedNumber)
{
    return fixedNumber;
}

Window::Window(void* handle) : m_handle(reinterpret_cast<std::intptr_t>(handle)) {}

Window::~Window() = default;

void Window::post(std::uint32_t, std::uint64_t, std::int64_t) const
{
    ++virtualSystem().posts;
}

void endProcess()
{
    std::abort();
}

} // namespace platform
