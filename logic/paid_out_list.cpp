#include "logic/paid_out_list.h"

#include "text/numbers.h"

void PaidOutList::add(std::int64_t now, std::int32_t amount)
{
    const std::lock_guard lock(m_lock);
    m_entries.push_front({now, amount});
}

void PaidOutList::purge(std::int64_t now, std::int32_t seconds)
{
    const std::lock_guard lock(m_lock);
    while (!m_entries.empty()) {
        const auto age = static_cast<double>(now - m_entries.back().tPaidOut);
        if (!(age > static_cast<double>(seconds)))
            return;
        m_entries.pop_back();
    }
}

std::int32_t PaidOutList::sum() const
{
    const std::lock_guard lock(m_lock);
    std::int32_t total = 0;
    for (const PaidOutEntry& entry : m_entries)
        total = wrappingAdd(total, entry.nAmount);
    return total;
}
