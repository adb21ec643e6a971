#include "api/records.h"

#include "diag/compose.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

std::vector<CashCountRecord> RecordList::given() const
{
    if (m_ppRecords == nullptr || *m_ppRecords == nullptr || m_pCount == nullptr || *m_pCount <= 0)
        return {};
    return {*m_ppRecords, *m_ppRecords + *m_pCount};
}

void RecordList::handOut(const std::vector<CashCountRecord>& records) const
{
    if (m_pCount != nullptr)
        *m_pCount = static_cast<std::int32_t>(records.size());
    if (m_ppRecords == nullptr)
        return;
    // malloc and not new: the application gives it back with free.
    const std::size_t room = std::max<std::size_t>(records.size(), 1);
    auto* const array = static_cast<CashCountRecord*>(std::calloc(room, sizeof(CashCountRecord)));
    if (array == nullptr)
        throw std::bad_alloc();
    std::copy(records.begin(), records.end(), array);
    *m_ppRecords = array;
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
    // One product fits 64 bits, many of them need not: an estimate tells whether the exact sum wrapped.
    using Limits = std::numeric_limits<std::int32_t>;
    double estimate = 0.0;
    std::uint64_t sum = 0;
    for (const auto* const list : {&records, &more}) {
        for (const CashCountRecord& record : *list) {
            const std::int64_t amount = static_cast<std::int64_t>(record.nDenomination) * record.nCount;
            estimate += static_cast<double>(amount);
            sum += static_cast<std::uint64_t>(amount);
        }
    }
    constexpr double SAFE = 4e18;
    if (estimate > SAFE || estimate < -SAFE)
        return estimate > 0 ? Limits::max() : Limits::min();
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(static_cast<std::int64_t>(sum), Limits::min(), Limits::max()));
}
