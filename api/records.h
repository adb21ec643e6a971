// Coins and notes as the application has them, in arrays, and as the logic has them.
#pragma once

#include "api/tllogics.h"

#include <cstdint>
#include <string>
#include <vector>

/// One of the two lists of an export: an array and its count, both owned by the application. A null
/// pointer to either is not written through, and reads as no records.
class RecordList {
public:
    RecordList(CashCountRecord** records, std::int32_t* count) : m_ppRecords(records), m_pCount(count) {}

    /// The records that the application gave.
    std::vector<CashCountRecord> given() const;

    /// Hands out a new array from the C run-time's heap, not null even if it holds no record.
    void handOut(const std::vector<CashCountRecord>& records) const;

private:
    CashCountRecord** m_ppRecords;
    std::int32_t* m_pCount;
};

/// "<denomination>:<count>,..." of the records.
std::string listOf(const std::vector<CashCountRecord>& records);

/// The amount of the records, at the nearest limit if 32 bits can't hold it.
std::int32_t amountOf(const std::vector<CashCountRecord>& records, const std::vector<CashCountRecord>& more);
