// A text that two threads read and write.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

/// Its lock is held for one copy only.
class SharedText {
public:
    void set(std::string_view text)
    {
        const std::lock_guard lock(m_lock);
        m_text = text;
    }

    void clear() { set(""); }

    /// Adds "text" behind what is there, and "separator" between the two if anything is. The whole; or
    /// nothing, and all is cleared, if it would be longer than "most".
    std::optional<std::string> append(std::string_view text, std::string_view separator, std::size_t most)
    {
        const std::lock_guard lock(m_lock);
        if (m_text.empty())
            separator = {};
        if (m_text.size() + separator.size() + text.size() > most) {
            m_text.clear();
            return std::nullopt;
        }
        m_text += separator;
        m_text += text;
        return m_text;
    }

    /// True if it was another.
    bool change(std::string_view text)
    {
        const std::lock_guard lock(m_lock);
        if (m_text == text)
            return false;
        m_text = text;
        return true;
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
