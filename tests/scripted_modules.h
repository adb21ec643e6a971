// Stands in for the platform's dynamic libraries: the communication library is one that the test writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

struct ScriptedOstrivane {
    static constexpr std::size_t BUFFER = 1024; // what an answer has room for

    // What it is like. Commands are shown with "|" for the separator.
    bool canBeLoaded = true;
    bool canBeFreed = true;
    std::set<std::string> missingFunctions;
    std::int16_t openCode = 0;
    std::string openAnswer;
    std::function<std::string(const std::string& command)> onCommand; // hands back the whole answer
    std::function<void()> onOpening;                                  // while the link is being opened
    std::function<void(const char* message)> onDelivery;              // sees each message before the library
    std::function<void(const std::string& call)> onCall; // hears of loading, freeing and all but commands

    // What was done with it.
    int references = 0;
    std::vector<std::string> calls; // "tl_initiate2 COM7", "tl_loggedout", "tl_dini"
    std::vector<std::string> commands;

    /// As its own thread would do it.
    void deliver(const std::string& message) const { deliver(message.c_str()); }
    void deliver(const char* message) const
    {
        if (onDelivery)
            onDelivery(message);
        callback(message);
    }
    int (*callback)(const char* message) = nullptr;

    std::string ownPath; // where this library hears that it lies
    std::string ownVersion = "1.2.3.4";
};

ScriptedOstrivane& ostrivane();
