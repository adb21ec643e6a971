// HTTP's messages as the server takes and makes them, and who may send them.
#pragma once

#include "web/asio.h"
#include "web/server.h"

#include <algorithm>

namespace web {

inline const char* reasonOf(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 409:
        return "Conflict";
    case 413:
        return "Payload Too Large";
    case 431:
        return "Request Header Fields Too Large";
    case 503:
        return "Service Unavailable";
    default:
        return "Internal Server Error";
    }
}

inline Reply complaint(int status, const std::string& why)
{
    return {status, "{\"why\":\"" + why + "\"}\n"};
}

inline std::string textOf(const Reply& reply, bool keepAlive)
{
    std::string text = "HTTP/1.1 " + std::to_string(reply.status) + " " + reasonOf(reply.status) + "\r\n";
    const auto field = [&](const char* name, const std::string& value) {
        text += std::string(name) + ": " + value + "\r\n";
    };
    field("Content-Type", reply.type);
    field("Content-Length", std::to_string(reply.body.size()));
    field("Cache-Control", "no-store");
    field("X-Content-Type-Options", "nosniff");
    if (!reply.allow.empty())
        field("Allow", reply.allow);
    field("Connection", keepAlive ? "keep-alive" : "close");
    return text + "\r\n" + reply.body;
}

inline std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

/// A name that some other site made to lead here is not ours, and neither is a page of another site, be it
/// one of this machine.
inline bool isForeign(const http::fields& fields)
{
    if (fields.count(http::field::host) != 1)
        return true;
    const std::string host = lowerCase(std::string(fields[http::field::host]));
    const std::string name = host.substr(0, host.find(':'));
    if (name != "127.0.0.1" && name != "localhost")
        return true;
    const auto origins = fields.equal_range(http::field::origin);
    return std::any_of(origins.first, origins.second, [&](const auto& origin) {
        return lowerCase(std::string(origin.value())) != "http://" + host;
    });
}

inline Request requestOf(const http::request<http::string_body>& message)
{
    const std::string target(message.target());
    const std::size_t question = std::min(target.find('?'), target.size());
    return {std::string(message.method_string()), target.substr(0, question),
            question < target.size() ? target.substr(question + 1) : "", message.body()};
}

} // namespace web
