// The program "tellarion": serves a machine, and is the customer's hand at one that is served.
//
// Exit status: 0 done, 1 refused or timed out, 2 wrong usage, 3 no device there.
#include "simulator/machine_service.h"
#include "simulator/script.h"
#include "web/client.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <thread>

namespace {

using nlohmann::ordered_json;
using namespace std::chrono_literals;

constexpr int DONE = 0;
constexpr int REFUSED = 1;
constexpr int WRONG_USAGE = 2;
constexpr int NO_DEVICE = 3;

constexpr std::uint16_t USUAL_PORT = 7410;

// More than any wait lasts. Whoever isn't there is found out at once.
constexpr auto CONTROL_TIME = 15min;

int complain(int status, const std::string& why)
{
    std::fputs(("tellarion: " + why + "\n").c_str(), stderr);
    return status;
}

struct Arguments {
    std::uint16_t port = USUAL_PORT;
    std::string portFile = {};
    std::string settingsFile = {};
    std::string stateFile = {};
    std::string scriptFile = {};
    std::string checkedFile = {};
    std::string verb = "serve";
    ordered_json body = ordered_json::object(); // of the request, for all other verbs
};

// ---- The command line ----

/// A number, true, false or a list as JSON has it; anything else is a text.
ordered_json valueOf(const std::string& text)
{
    const auto value = ordered_json::parse(text, nullptr, false);
    return value.is_discarded() ? ordered_json(text) : value;
}

/// The verbs and what they take. Each option is a member of the request: amounts and times stay texts, which
/// the machine reads.
class CommandLine {
public:
    explicit CommandLine(Arguments& arguments) : m_arguments(arguments)
    {
        m_app.require_subcommand(0, 1);
        m_app.fallthrough(); // --port may stand behind the verb
        m_app.add_option("--port", arguments.port, "Port of 127.0.0.1; with serve, 0 for any")
            ->envname("TELLARION_PORT")
            ->capture_default_str();
        addServe();
        addVerbs();
    }

    /// The exit status if there is nothing more to do.
    std::optional<int> parse(int count, char** texts)
    {
        try {
            m_app.parse(count, texts);
            const auto chosen = m_app.get_subcommands();
            if (!chosen.empty())
                m_arguments.verb = chosen.front()->get_name();
            if (m_arguments.verb != "serve")
                checkServeOptions();
        } catch (const CLI::CallForHelp& help) {
            return m_app.exit(help);
        } catch (const CLI::ParseError& error) {
            return complain(WRONG_USAGE, std::string(error.what()) + " (tellarion --help tells more)");
        }
        return std::nullopt;
    }

private:
    CLI::App* verb(const char* name, const char* what)
    {
        CLI::App* app = m_app.add_subcommand(name, what);
        app->fallthrough();
        return app;
    }

    /// A member that is one text.
    CLI::Option* text(CLI::App* app, const char* option, const char* key, const char* what)
    {
        const std::function<void(const std::string&)> keep = [this, key](const std::string& value) {
            m_arguments.body[key] = value;
        };
        return app->add_option_function(option, keep, what);
    }

    CLI::Option* value(CLI::App* app, const char* option, const char* key, const char* what)
    {
        const std::function<void(const std::string&)> keep = [this, key](const std::string& value) {
            m_arguments.body[key] = valueOf(value);
        };
        return app->add_option_function(option, keep, what);
    }

    void addServe()
    {
        verb("serve", "Be a machine (the default)");
        m_app.add_option("--port-file", m_arguments.portFile, "With serve: file that gets the port's number");
        m_app.add_option("--settings", m_arguments.settingsFile, "With serve: file with the settings")
            ->envname("TLSIM_CONFIG");
        m_app.add_option("--state", m_arguments.stateFile,
                         "With serve: file that keeps the money and the faults");
        m_app.add_option("--script", m_arguments.scriptFile,
                         "With serve: file with what people do at the machine; it ends with it");
    }

    void checkServeOptions() const
    {
        for (const char* option : {"--port-file", "--state", "--script"})
            if (m_app.count(option) > 0)
                throw CLI::ValidationError(std::string(option) + " is for serve");
    }

    void addVerbs()
    {
        verb("check", "Look through a file with settings")
            ->add_option("file", m_arguments.checkedFile, "The file")
            ->required();
        verb("defaults", "Write all settings as they are if nothing else is said");
        verb("state", "Tell how the machine is");
        verb("events", "Tell what happens, until the machine ends");

        const std::function<void(const std::vector<std::string>&)> pieces =
            [this](const std::vector<std::string>& values) { m_arguments.body["pieces"] = values; };
        verb("insert", "Put coins and notes in, such as 50 20 0.50")
            ->add_option_function("pieces", pieces, "Their denominations")
            ->required();

        text(verb("take", "Take what lies in the tray"), "from", "from", "tray (the default) or collected")
            ->check(CLI::IsMember({"tray", "collected"}));
        verb("reset", "Start afresh: money, faults and all");
        addFault();
        text(verb("repair", "End a fault, or all of them"), "name", "name", "The fault");
        text(verb("power", "Switch the power"), "how", "power", "on or off")
            ->required()
            ->check(CLI::IsMember({"on", "off"}));
        addSet();
        addRefill();

        CLI::App* stick = verb("stick", "Make pieces immovable; 0 frees them");
        text(stick, "denomination", "value", "Such as 20")->required();
        value(stick, "count", "count", "So many, 1 if left out");

        CLI::App* wait = verb("wait", "Wait for ready, busy, error, closed, till, tray or paid-in AMOUNT");
        text(wait, "for", "for", "What for")->required();
        text(wait, "amount", "amount", "With paid-in: at least so much");
        text(wait, "--timeout", "timeout", "Such as 500ms or 5s");
    }

    void addFault()
    {
        CLI::App* fault = verb("fault", "Begin a fault, at once or later");
        text(fault, "name", "name", "Such as note-jam")->required();
        const std::function<void(const std::vector<std::string>&)> after =
            [this](const std::vector<std::string>& values) {
                m_arguments.body["after"] = values.size() > 1 ? values[0] + " " + values[1] : values[0];
            };
        fault->add_option_function("--after", after, "Begin after so many pieces, such as 2 pieces")
            ->expected(1, 2);
        text(fault, "--command", "command", "Begin at the next command of this letter, or any");
        value(fault, "--chance", "chance", "Begin by this chance, such as 0.01");
        value(fault, "--seed", "seed", "What the chance comes from");
        text(fault, "--for", "for", "End after this time, such as 5s");
        text(fault, "--until", "until", "repair or reset: what ends it");
        value(fault, "--times", "times", "End after so many strikes");
        value(fault, "--code", "code", "The code of device-error or open-refused");
        text(fault, "--by", "by", "How late answer-late or message-late make it");
        value(fault, "--factor", "factor", "How many times as slow");
    }

    void addSet()
    {
        const std::function<void(const std::vector<std::string>&)> settings =
            [this](const std::vector<std::string>& values) {
                for (const std::string& setting : values) {
                    const std::size_t equals = setting.find('=');
                    if (equals == std::string::npos || equals == 0)
                        throw CLI::ValidationError("\"" + setting + "\" is no setting like payOutTime=800");
                    m_arguments.body[setting.substr(0, equals)] = valueOf(setting.substr(equals + 1));
                }
            };
        verb("set", "Change settings, such as payOutTime=800")
            ->add_option_function("settings", settings, "Each a name, = and its value")
            ->required();
    }

    void addRefill()
    {
        CLI::App* refill =
            verb("refill", "Fill the drawer up to what it had at the start, or by some pieces");
        text(refill, "denomination", "value", "Such as 20");
        value(refill, "count", "count", "So many, 1 if left out");
    }

    Arguments& m_arguments;
    CLI::App m_app{"A simulated Tellarion, and the customer's hand at it."};
};

// ---- The machine ----

std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("can't open " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Whoever waits for the file finds it whole.
void writePortFile(const std::string& path, std::uint16_t port)
{
    const std::string aside = path + ".new";
    std::ofstream file(aside, std::ios::binary);
    file << port << '\n';
    file.close();
    if (!file)
        throw std::runtime_error("can't write " + aside);
    std::filesystem::rename(aside, path);
}

simulator::Settings readSettings(const std::string& file)
{
    return file.empty() ? simulator::Settings{} : simulator::parseSettings(readFile(file), file);
}

int check(const std::string& file)
{
    for (const std::string& note : readSettings(file).notes)
        std::puts((file + ": note: " + note).c_str());
    std::puts((file + ": can be used").c_str());
    return DONE;
}

int writeDefaults()
{
    std::puts(simulator::describeSettings({}).dump(4).c_str());
    return DONE;
}

int serve(const Arguments& arguments)
{
    const simulator::Settings settings = readSettings(arguments.settingsFile);
    std::optional<simulator::Script> script;
    if (!arguments.scriptFile.empty())
        script.emplace(readFile(arguments.scriptFile), arguments.scriptFile);
    // Lives to the end of the process: a till's command may still be waiting in it.
    auto& machine = *new simulator::Machine(settings, arguments.stateFile);
    simulator::MachineService service(machine);
    web::Server server(arguments.port, service);
    if (!arguments.portFile.empty())
        writePortFile(arguments.portFile, server.port());
    std::printf("Tellarion on http://127.0.0.1:%d/\n", server.port());
    std::fflush(stdout);
    bool wentWell = true;
    std::thread playing([&] {
        if (script)
            wentWell = script->play(machine);
        if (script)
            server.stop();
    });
    server.run();
    if (script)
        script->stop();
    playing.join();
    if (!arguments.portFile.empty())
        std::filesystem::remove(arguments.portFile);
    return wentWell ? DONE : REFUSED;
}

// ---- The customer's hand ----

int statusOf(int httpStatus)
{
    switch (httpStatus) {
    case 200:
        return DONE;
    case 409:
        return REFUSED;
    case 400:
        return WRONG_USAGE;
    default:
        return NO_DEVICE;
    }
}

int noDevice(const Arguments& arguments)
{
    return complain(NO_DEVICE, "no device on 127.0.0.1:" + std::to_string(arguments.port));
}

int control(const Arguments& arguments)
{
    const bool asks = arguments.verb == "state";
    const auto reply =
        web::ask(arguments.port,
                 {asks ? "GET" : "POST", "/api/" + arguments.verb, "", asks ? "" : arguments.body.dump()},
                 CONTROL_TIME);
    if (!reply)
        return noDevice(arguments);
    const auto answer = ordered_json::parse(reply->body, nullptr, false);
    const int status = statusOf(reply->status);
    if (status == NO_DEVICE || !answer.is_object())
        return noDevice(arguments);
    if (status == DONE || answer.size() > 1)
        std::puts(answer.dump(asks ? 2 : -1).c_str());
    return status == DONE ? status : complain(status, answer.value("why", "refused"));
}

int follow(const Arguments& arguments)
{
    struct Following {
        std::atomic<bool> heard = false;
        std::atomic<bool> lost = false;
        std::promise<void> end;
    };
    const auto following = std::make_shared<Following>(); // the client's thread may be the last that has it
    const web::SocketClient client(arguments.port, [] { return "/api/events"; },
                                   {[following](const std::string& event) {
                                        std::puts(event.c_str());
                                        std::fflush(stdout);
                                        following->heard = true;
                                    },
                                    [following] {
                                        if (!following->lost.exchange(true))
                                            following->end.set_value();
                                    }});
    following->end.get_future().wait();
    return following->heard ? DONE : noDevice(arguments);
}

} // namespace

int main(int count, char** texts)
{
    Arguments arguments;
    try {
        CommandLine commandLine(arguments);
        if (const auto status = commandLine.parse(count, texts))
            return *status;
        if (arguments.verb == "serve")
            return serve(arguments);
        if (arguments.verb == "check")
            return check(arguments.checkedFile);
        if (arguments.verb == "defaults")
            return writeDefaults();
        if (arguments.port == 0)
            return complain(WRONG_USAGE, "--port 0 is for serve");
        return arguments.verb == "events" ? follow(arguments) : control(arguments);
    } catch (const simulator::BadSettings& settings) {
        std::fputs((settings.line + "\n").c_str(), stderr);
        return REFUSED;
    } catch (const std::exception& error) {
        return complain(REFUSED, error.what());
    }
}
