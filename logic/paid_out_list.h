// Recent pay-outs, for the limit on money paid per time.
#pragma once

#include <cstdint>
#include <list>
#include <mutex>

struct PaidOutEntry {
    std::int64_t tPaidOut; // wall clock, seconds
    std::int32_t nAmount;
};

/// The most that may be paid out within a time.
struct PayOutLimit {
    std::int32_t amount;
    std::int32_t seconds;
};

/// Newest at the front. Nothing but a purge removes entries: a failed pay-out may have been paid.
class PaidOutList {
public:
    void add(std::int64_t now, std::int32_t amount);
    /// Removes from the oldest end what is more than "seconds" old, up to the first entry that isn't.
    void purge(std::int64_t now, std::int32_t seconds);
    /// In 32 bits, wrapping around.
    std::int32_t sum() const;

private:
    mutable std::mutex m_lock;
    std::list<PaidOutEntry> m_entries;
};
