// A text that two threads read and write.
#pragma once

#include <mutex>
#include <string>

/// Its lock is held for one copy only.
class SharedText {
public:
    void set(const std::string& text)
    {
        const std::lock_guard lock(m_lock);
        m_text = text;
    }

    void clear() { set(""); }

    /// Adds "text" behind what is there, and "separator" between the two if anything is. The whole.
    std::string append(const std::string& text, const std::string& separator = "")
    {
        const std::lock_guard lock(m_lock);
        m_text += (m_text.empty() ? "" : separator) + text;
        return m_text;
    }

    std::string get() const
    {
        const std::lock_guard lock(m_lock);
        return m_text;
    }

private:
    mutable std::mutex m_lock;
    std::string m_text;
};
