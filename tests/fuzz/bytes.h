// An input read piece by piece. Behind its end everything is 0 and empty.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

/// One input. A finding ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process, as the sanitizers do, if what must be so isn't.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

    bool atEnd() const { return m_rest.empty(); }

    unsigned char byte()
    {
        if (m_rest.empty())
            return 0;
        const char first = m_rest.front();
        m_rest.remove_prefix(1);
        return static_cast<unsigned char>(first);
    }

    /// One byte for the small ones, five for any.
    std::int32_t number()
    {
        const unsigned char first = byte();
        if (first < 0xFF)
            return first - 2;
        std::uint32_t number = 0;
        for (int i = 0; i < 4; ++i)
            number = number << 8 | byte();
        return static_cast<std::int32_t>(number);
    }

    /// Up to the next line end, which goes too.
    std::string line()
    {
        const std::size_t end = std::min(m_rest.find('\n'), m_rest.size());
        std::string text(m_rest.substr(0, end));
        m_rest.remove_prefix(std::min(end + 1, m_rest.size()));
        return text;
    }

    std::string_view rest() const { return m_rest; }

private:
    std::string_view m_rest;
};

} // namespace fuzz
