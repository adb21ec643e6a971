#include "tools/tar.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace tllog {

namespace {

constexpr std::size_t BLOCK = 512;

struct Header {
    std::array<char, BLOCK> bytes{};

    void text(std::size_t at, std::size_t width, std::string_view value)
    {
        std::memcpy(bytes.data() + at, value.data(), std::min(width, value.size()));
    }
    void octal(std::size_t at, std::size_t width, std::uint64_t value)
    {
        // The last place is for the NUL.
        for (std::size_t i = width - 1; i-- > 0; value /= 8)
            bytes[at + i] = static_cast<char>('0' + value % 8);
    }
};

} // namespace

TarWriter::TarWriter(const std::filesystem::path& path) : m_path(path), m_stream(path, std::ios::binary)
{
    if (!m_stream)
        throw std::runtime_error("can't write " + path.string());
}

void TarWriter::begin(const std::string& name, std::uint64_t size, std::int64_t secondsSince1970)
{
    if (name.size() > 100 || size >= (std::uint64_t{1} << 33))
        throw std::runtime_error(name + " is too long or too big for the archive");
    Header header;
    header.text(0, 100, name);
    header.octal(100, 8, 0600);
    header.octal(108, 8, 0);
    header.octal(116, 8, 0);
    header.octal(124, 12, size);
    header.octal(136, 12, static_cast<std::uint64_t>(std::max<std::int64_t>(0, secondsSince1970)));
    header.text(148, 8, "        ");
    header.bytes[156] = '0';
    header.text(257, 8,
                std::string_view("ustar\0"
                                 "00",
                                 8));
    unsigned sum = 0;
    for (const char byte : header.bytes)
        sum += static_cast<unsigned char>(byte);
    header.octal(148, 7, sum);
    m_stream.write(header.bytes.data(), BLOCK);
    m_left = m_size = size;
}

void TarWriter::write(std::string_view bytes)
{
    const std::size_t taken = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), m_left));
    m_stream.write(bytes.data(), static_cast<std::streamsize>(taken));
    m_left -= taken;
}

void TarWriter::end()
{
    static constexpr std::array<char, BLOCK> ZEROS{};
    // A file that got shorter meanwhile is filled up: its size stands in front.
    while (m_left > 0)
        write(std::string_view(ZEROS.data(), ZEROS.size()));
    if (m_size % BLOCK != 0)
        m_stream.write(ZEROS.data(), static_cast<std::streamsize>(BLOCK - m_size % BLOCK));
    if (!m_stream)
        throw std::runtime_error("can't write " + m_path.string());
}

void TarWriter::close()
{
    static constexpr std::array<char, 2 * BLOCK> END{};
    m_stream.write(END.data(), END.size());
    m_stream.close();
    if (!m_stream)
        throw std::runtime_error("can't write " + m_path.string());
}

} // namespace tllog
