#include "events/queues.h"

#include "api/tllogics.h"
#include "diag/log.h"

namespace {

constexpr std::size_t MOST_TEXTS = 100;

} // namespace

std::int16_t EventQueue::push(const std::string& text)
{
    const char* refusal = nullptr;
    {
        const std::lock_guard lock(m_lock);
        if (m_texts.size() >= MOST_TEXTS)
            refusal = m_sFullLine;
        else if (text.empty())
            refusal = m_sEmptyTextLine;
        else
            m_texts.push_back(text);
    }
    if (refusal == nullptr)
        return TL_STATUS_OK;
    logError(refusal);
    return TL_STATUS_ERROR;
}

std::int16_t EventQueue::retrieve(std::string& text)
{
    {
        const std::lock_guard lock(m_lock);
        if (!m_texts.empty()) {
            text = std::move(m_texts.front());
            m_texts.pop_front();
            return TL_STATUS_OK;
        }
    }
    logError(m_sNothingLine);
    return TL_STATUS_WARNING;
}

std::int16_t pushToErrorQueue(const std::string& text)
{
    return errorQueue.push(text);
}

std::int16_t pushToCashLevelWarningsQueue(const std::string& text)
{
    return cashLevelWarningsQueue.push(text);
}

std::int16_t pushToCashSessionQueue(const std::string& text)
{
    return cashSessionQueue.push(text);
}

std::int16_t pushToInformationQueue(const std::string& text)
{
    return informationQueue.push(text);
}

std::int16_t retrieveFromErrorQueue(std::string& text)
{
    return errorQueue.retrieve(text);
}

std::int16_t retrieveFromCashLevelWarningsQueue(std::string& text)
{
    return cashLevelWarningsQueue.retrieve(text);
}

std::int16_t retrieveFromCashSessionQueue(std::string& text)
{
    return cashSessionQueue.retrieve(text);
}
