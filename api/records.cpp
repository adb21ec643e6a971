#include "api/records.h"

#include "text/compose.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

/// With malloc and not new: the application gives it back with free.
CashCountRecord* newArray(const std::vector<CashCountRecord>& records)
{
    const std::size_t room = std::max<std::size_t>(records.size(), 1);
    auto* const array = static_cast<CashCountRecord*>(std::calloc(room, sizeof(CashCountRecord)));
    if (array == nullptr)
        throw std::bad_alloc();
    std::copy(records.begin(), records.end(), array);
    return array;
}

} // namespace

std::vector<CashCountRecord> RecordList::given() const
{
    if (m_ppRecords == nullptr || *m_ppRecords == nullptr || m_pCount == nullptr || *m_pCount <= 0)
        return {};
    return {*m_ppRecords, *m_ppRecords + *m_pCount};
}

void RecordList::handOut(const std::vector<CashCountRecord>& records) const
{
    if (m_ppRecords != nullptr)
        *m_ppRecords = newArray(records);
    if (m_pCount != nullptr)
        *m_pCount = static_cast<std::int32_t>(records.size());
}

std::string listOf(const std::vector<CashCountRecord>& records)
{
    std::string list;
    for (const CashCountRecord& record : records)
        list += compose(list.empty() ? "" : ",", record.nDenomination, ":", record.nCount);
    return list;
}

std::int32_t amountOf(const std::vector<CashCountRecord>& records, const std::vector<CashCountRecord>& more)
{
    // One product fits 64 bits, many of them need not: the halves are summed apart.
    constexpr std::int64_t HALF = std::int64_t{1} << 32;
    std::int64_t high = 0;
    std::int64_t low = 0;
    for (const auto* const list : {&records, &more}) {
        for (const CashCountRecord& record : *list) {
            const std::int64_t amount = static_cast<std::int64_t>(record.nDenomination) * record.nCount;
            high += amount / HALF;
            low += amount % HALF;
        }
    }
    high += low / HALF;
    low %= HALF;
    constexpr std::int64_t MOST = std::numeric_limits<std::int32_t>::max();
    constexpr std::int64_t LEAST = std::numeric_limits<std::int32_t>::min();
    if (high > 1 || high < -1)
        return static_cast<std::int32_t>(high > 0 ? MOST : LEAST);
    return static_cast<std::int32_t>(std::clamp(high * HALF + low, LEAST, MOST));
}
