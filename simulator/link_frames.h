// What goes over the network between a till's link and the machine, each a binary message of a WebSocket
// with the path "/link", since the texts of a till may be of any bytes:
//
//   machine  o<code> <text>      the first one: whether the link is open, as an opening's code and text
//   till     c<number> <command> a command
//   machine  a<number> <answer>  its answer
//   machine  m<message>          a message of the device
//   till     l                   the till has given up the session
//   till     b                   the till closes the link
//   machine  b                   it is closed; nothing comes behind it
//
// A till whose link was lost comes back with the query "again".
#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

constexpr const char* LINK_PATH = "/link";
constexpr const char* COMES_BACK = "again";

struct LinkFrame {
    char kind;
    int number = 0; // of "o", "c" and "a"
    std::string text = {};

    std::string bytes() const
    {
        const std::string head(1, kind);
        return isNumbered(kind) ? head + std::to_string(number) + ' ' + text : head + text;
    }

    static std::optional<LinkFrame> parse(std::string_view bytes)
    {
        if (bytes.empty())
            return std::nullopt;
        LinkFrame frame{bytes.front()};
        bytes.remove_prefix(1);
        if (isNumbered(frame.kind)) {
            const char* const end = bytes.data() + bytes.size();
            const auto [rest, error] = std::from_chars(bytes.data(), end, frame.number);
            if (error != std::errc() || rest == end || *rest != ' ')
                return std::nullopt;
            bytes.remove_prefix(static_cast<std::size_t>(rest + 1 - bytes.data()));
        }
        frame.text = bytes;
        return frame;
    }

private:
    static bool isNumbered(char kind) { return kind == 'o' || kind == 'c' || kind == 'a'; }
};

} // namespace simulator
