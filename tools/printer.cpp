#include "tools/printer.h"

#include "tools/system.h"

#include <array>
#include <cstdio>
#include <utility>

namespace tllog {

namespace {

constexpr std::size_t FULL = 64 * 1024;
constexpr std::size_t NARROWEST = 40;

const char* colourOf(Tone tone)
{
    switch (tone) {
    case Tone::Strong:
        return "\x1b[1m";
    case Tone::Dim:
        return "\x1b[2m";
    case Tone::Good:
        return "\x1b[32m";
    case Tone::Bad:
        return "\x1b[1;31m";
    case Tone::Device:
        return "\x1b[36m";
    case Tone::Command:
        return "\x1b[33m";
    default:
        return "";
    }
}

/// Bytes that fit in "columns", at a space if one is near. Bytes inside a character count nothing.
std::size_t fitting(std::string_view text, std::size_t columns)
{
    std::size_t used = 0;
    std::size_t at = 0;
    std::size_t space = 0;
    for (; at < text.size(); ++at) {
        const bool inside = (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
        if (!inside && used++ == columns)
            break;
        if (text[at] == ' ')
            space = at;
    }
    if (at == text.size())
        return at;
    return space > at / 2 ? space : at;
}

/// The length of the UTF-8 character that the text begins with; 0 if it is none.
std::size_t characterLength(std::string_view text)
{
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const std::size_t length = byte(0) < 0x80                      ? 1
                               : byte(0) >= 0xC2 && byte(0) < 0xE0 ? 2
                               : byte(0) < 0xE0                    ? 0
                               : byte(0) < 0xF0                    ? 3
                               : byte(0) < 0xF5                    ? 4
                                                                   : 0;
    if (length == 0 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    const bool overlong = (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xF0 && byte(1) < 0x90);
    const bool surrogate = (byte(0) == 0xED && byte(1) >= 0xA0) || (byte(0) == 0xF4 && byte(1) >= 0x90);
    return length > 2 && (overlong || surrogate) ? 0 : length;
}

bool isPlain(unsigned char code)
{
    return code >= 0x20 && code < 0x7F && code != '"' && code != '\\';
}

void appendQuoted(std::string& text, std::string_view value)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    text += '"';
    for (std::size_t at = 0; at < value.size();) {
        const auto code = static_cast<unsigned char>(value[at]);
        if (isPlain(code)) {
            const std::size_t from = at;
            while (++at < value.size() && isPlain(static_cast<unsigned char>(value[at])))
                ;
            text += value.substr(from, at - from);
            continue;
        }
        if (code == '"' || code == '\\') {
            text += '\\';
            text += value[at++];
            continue;
        }
        const std::size_t length = code < 0x80 ? 0 : characterLength(value.substr(at));
        if (length > 1) {
            text += value.substr(at, length);
            at += length;
            continue;
        }
        text += "\\u00";
        text += DIGITS[code >> 4];
        text += DIGITS[code & 15];
        ++at;
    }
    text += '"';
}

} // namespace

Printer::Printer(const Options& options)
{
    const std::size_t terminal = terminalWidth();
    m_width = options.width != 0 ? options.width : terminal;
    if (m_width != 0 && m_width < NARROWEST)
        m_width = NARROWEST;
    if (options.json)
        m_width = 0;
    m_colour = !options.json && (options.colour == Colour::Always ||
                                 (options.colour == Colour::Auto && terminal != 0 && enableColours()));
    m_tellsProgress = errorsGoToTerminal();
    plainLineEnds();
    m_lastProgress = std::chrono::steady_clock::now();
}

Printer::~Printer()
{
    flush();
}

void Printer::line(std::string_view front, std::string_view text, Tone tone, std::string_view frontBelow)
{
    const bool coloured = m_colour && tone != Tone::Plain;
    std::string_view lead = front;
    do {
        const std::size_t room = m_width > lead.size() + 10 ? m_width - lead.size() : 10;
        const std::size_t taken = m_width == 0 ? text.size() : fitting(text, room);
        m_buffer += lead;
        if (coloured)
            m_buffer += colourOf(tone);
        m_buffer += text.substr(0, taken);
        if (coloured)
            m_buffer += "\x1b[0m";
        m_buffer += '\n';
        text.remove_prefix(taken);
        while (text.starts_with(' '))
            text.remove_prefix(1);
        lead = frontBelow.empty() ? front : frontBelow;
    } while (!text.empty());
    if (m_buffer.size() >= FULL)
        flush();
}

void Printer::raw(std::string_view text)
{
    m_buffer += text;
    if (m_buffer.size() >= FULL)
        flush();
}

void Printer::flush()
{
    if (m_buffer.empty())
        return;
    hideProgress();
    if (std::fwrite(m_buffer.data(), 1, m_buffer.size(), stdout) != m_buffer.size() ||
        std::fflush(stdout) != 0)
        m_heard = false;
    m_buffer.clear();
}

void Printer::progress(std::uint64_t bytes, std::uint64_t all)
{
    if (!m_tellsProgress || all == 0)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now - m_lastProgress < std::chrono::milliseconds(300))
        return;
    m_lastProgress = now;
    std::fprintf(stderr, "\r%3d %% of %llu MB ", static_cast<int>(bytes * 100 / all),
                 static_cast<unsigned long long>(all / 1'000'000));
    std::fflush(stderr);
    m_progressShown = true;
}

void Printer::hideProgress()
{
    if (!m_progressShown)
        return;
    std::fputs("\r                              \r", stderr);
    std::fflush(stderr);
    m_progressShown = false;
}

JsonLine::JsonLine(std::string_view type)
{
    m_text.reserve(400);
    m_text = "{\"type\":";
    appendQuoted(m_text, type);
}

void JsonLine::key(std::string_view name)
{
    m_text += ",\"";
    m_text += name;
    m_text += "\":";
}

JsonLine& JsonLine::text(std::string_view name, std::string_view value)
{
    key(name);
    appendQuoted(m_text, value);
    return *this;
}

JsonLine& JsonLine::number(std::string_view name, std::int64_t value)
{
    key(name);
    m_text += std::to_string(value);
    return *this;
}

JsonLine& JsonLine::number(std::string_view name, const std::optional<std::int64_t>& value)
{
    key(name);
    m_text += value ? std::to_string(*value) : "null";
    return *this;
}

JsonLine& JsonLine::flag(std::string_view name, bool value)
{
    key(name);
    m_text += value ? "true" : "false";
    return *this;
}

JsonLine& JsonLine::time(std::string_view name, Time value)
{
    key(name);
    m_text += '"';
    appendStamp(m_text, value);
    m_text += '"';
    return *this;
}

std::string JsonLine::finished()
{
    m_text += "}\n";
    return std::move(m_text);
}

} // namespace tllog
