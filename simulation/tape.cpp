#include "simulation/tape.h"

#include "simulation/virtual_system.h"

#include <stdexcept>

namespace simulation {

namespace {

/// JSON is UTF-8, messages are any bytes: each becomes the character of its number.
std::string asText(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes) {
        const auto number = static_cast<unsigned char>(byte);
        if (number < 0x80) {
            text += byte;
        } else {
            text += static_cast<char>(0xC0 | (number >> 6));
            text += static_cast<char>(0x80 | (number & 0x3F));
        }
    }
    return text;
}

} // namespace

Tape::Tape(const std::string& path) : m_file(std::fopen(path.c_str(), "wb"))
{
    if (m_file == nullptr)
        throw std::runtime_error(path + " can't be written");
}

Tape::~Tape()
{
    std::fclose(m_file);
}

void Tape::write(nlohmann::ordered_json line)
{
    nlohmann::ordered_json whole{{"at", virtualSystem().now()}};
    whole.update(line);
    const std::string text = whole.dump() + "\n";
    std::fwrite(text.data(), 1, text.size(), m_file);
}

void Tape::environment(const std::string& name, const std::string& value)
{
    write({{"environment", {{name, value}}}});
}

void Tape::file(const std::string& name, const std::string& text)
{
    write({{"file", name}, {"text", asText(text)}});
}

void Tape::call(const std::string& name, const nlohmann::json& arguments)
{
    write({{"call", name}, {"args", arguments}});
}

void Tape::returned(int status, const std::string& message)
{
    write({{"returned", status}, {"message", asText(message)}});
}

void Tape::opened(int code)
{
    write({{"opened", code}});
}

void Tape::sent(const std::string& command)
{
    write({{"sent", asText(command)}});
}

void Tape::answered(const std::string& answer)
{
    write({{"answered", asText(answer)}});
}

void Tape::said(const std::string& message)
{
    write({{"said", asText(message)}});
}

} // namespace simulation
