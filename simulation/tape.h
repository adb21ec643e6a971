// The transcript of a run, from which tlreplay runs it again: a JSON object a line, in the order in which
// things happened, each with its time.
//     {"at":0,"environment":{"TLLOGS":"logs"}}
//     {"at":0,"file":"./tllogics.ini","text":"[Operation]..."}       what the file is from here on
//     {"at":0,"call":"dispenseTL","args":[120,"R1","out"]}            till "returned"; "out": a result
//     {"at":0,"opened":0}                                             what the opening of the link answered
//     {"at":0,"sent":"c\\u001c00000120\\u001cR1"}  {"at":5,"answered":"c\\u001c0Ok"}
//     {"at":20,"said":"a00000120110000000"}
//     {"at":20,"returned":0,"message":"Done"}
#pragma once

#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>

namespace simulation {

class Tape {
public:
    /// Throws std::runtime_error if the file can't be made.
    explicit Tape(const std::string& path);
    Tape(const Tape&) = delete;
    Tape& operator=(const Tape&) = delete;
    ~Tape();

    void environment(const std::string& name, const std::string& value);
    void file(const std::string& name, const std::string& text);
    void call(const std::string& name, const nlohmann::json& arguments);
    void returned(int status, const std::string& message);
    void opened(int code);
    void sent(const std::string& command);
    void answered(const std::string& answer);
    void said(const std::string& message);

private:
    void write(nlohmann::ordered_json line);

    std::FILE* m_file;
};

} // namespace simulation
