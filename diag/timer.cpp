#include "diag/timer.h"

#include <ctime>

namespace {

double nowInMilliseconds()
{
    return static_cast<double>(std::clock()) * 1000.0 / static_cast<double>(CLOCKS_PER_SEC);
}

} // namespace

void Timer::start()
{
    m_dStart = nowInMilliseconds();
    m_dStop = -1.0;
}

std::string Timer::elapsed()
{
    return sinceStart(nowInMilliseconds());
}

std::string Timer::stop()
{
    m_dStop = nowInMilliseconds();
    const std::string text = sinceStart(m_dStop);
    m_dStart = -1.0;
    m_dStop = -1.0;
    return text;
}

std::string Timer::sinceStart(double now)
{
    if (m_dStart < 0.0) {
        m_dStop = -1.0;
        return "Timer not started";
    }
    return std::to_string(static_cast<long long>(now - m_dStart));
}
