#include "controlconsole.h"

#include "callhandlers.h"
#include "chathandlers.h"
#include "codec.h"
#include "ipcendpoint.h"
#include "logger.h"
#include "networkmanager.h"
#include "simulator.h"

#include <cerrno>
#include <cstdlib>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

const char* const kPasswordOption = "netmgr.remote.password";
const char* const kEntered = "has entered chat.";
const long kMaxRateMs = 3600000;

// Splits off the first blank-separated word; `rest` is what follows the blanks after it.
std::string firstWord(const std::string& text, std::string& rest)
{
    const std::string::size_type start = text.find_first_not_of(' ');
    if (start == std::string::npos) {
        rest.clear();
        return std::string();
    }
    const std::string::size_type end = text.find(' ', start);
    if (end == std::string::npos) {
        rest.clear();
        return text.substr(start);
    }
    const std::string::size_type next = text.find_first_not_of(' ', end);
    rest = next == std::string::npos ? std::string() : text.substr(next);
    return text.substr(start, end - start);
}

std::string sentTo(const std::string& what, std::size_t sessions)
{
    return "ok " + what + " sent to " + std::to_string(sessions) + " session(s)";
}

} // namespace

ControlConsole::ControlConsole(Simulator& simulator, int fd) : m_simulator(simulator), m_fd(fd)
{
    if (fcntl(m_fd, F_GETFD) < 0)
        return;
    m_reading = true;
    m_simulator.manager().watch_fd(m_fd, [this] { readInput(); });
}

ControlConsole::~ControlConsole()
{
    stopReading();
}

void ControlConsole::stopReading()
{
    if (m_reading)
        m_simulator.manager().unwatch_fd(m_fd);
    m_reading = false;
}

void ControlConsole::readInput()
{
    char buffer[4096];
    const ssize_t count = read(m_fd, buffer, sizeof buffer);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count <= 0) {
        g_log.log(LOG_INFO, "control input closed; still running");
        stopReading();
        return;
    }
    m_pending.append(buffer, static_cast<std::size_t>(count));
    std::string::size_type end;
    while ((end = m_pending.find('\n')) != std::string::npos) {
        std::string line = m_pending.substr(0, end);
        m_pending.erase(0, end + 1);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.find_first_not_of(' ') == std::string::npos)
            continue;
        std::printf("%s\n", execute(line).c_str());
        std::fflush(stdout);
    }
}

// Every command: its name, what follows it, and what it does.
struct ControlConsole::Command {
    const char* name;
    const char* arguments;
    std::string (ControlConsole::*run)(const std::string& rest);
};

const std::vector<ControlConsole::Command>& ControlConsole::commands()
{
    static const std::vector<Command> table = {
        {"drop", "", &ControlConsole::drop},
        {"update", "start|progress|finish [TEXT]", &ControlConsole::update},
        {"unso", "XMLS", &ControlConsole::unso},
        {"notify", "ID XMLS", &ControlConsole::notify},
        {"defpwd", "on|off", &ControlConsole::setPasswordDefaulted},
        {"say", "TEXT", &ControlConsole::say},
        {"presence", "[TEXT]", &ControlConsole::presence},
        {"ring", "[ID]", &ControlConsole::ring},
        {"burst", "ID [PERIODS]", &ControlConsole::burst},
        {"braid", "health green|yellow|red|phases | drop N", &ControlConsole::braid},
        {"rate", "MS", &ControlConsole::rate},
        {"plug", "DEVICE", &ControlConsole::plug},
        {"unplug", "DEVICE", &ControlConsole::unplug},
        {"device", "add ID wired|wifi|3g | remove ID", &ControlConsole::device},
        {"quit", "", &ControlConsole::quit},
    };
    return table;
}

std::string ControlConsole::usage()
{
    std::string text = "Control commands on standard input, one per line:\n";
    for (const Command& command : commands())
        text += std::string("  ") + command.name + (*command.arguments ? " " : "") + command.arguments + "\n";
    return text;
}

std::string ControlConsole::execute(const std::string& line)
{
    std::string rest;
    const std::string name = firstWord(line, rest);
    for (const Command& command : commands()) {
        if (name == command.name)
            return (this->*command.run)(rest);
    }
    return "error: unknown command '" + name + "'";
}

std::string ControlConsole::drop(const std::string&)
{
    return "ok dropped " + std::to_string(m_simulator.dropSessions()) + " session(s)";
}

std::string ControlConsole::unso(const std::string& xmls)
{
    return push(IPCEndpointServer::kGenericUnso, xmls);
}

std::string ControlConsole::notify(const std::string& rest)
{
    std::string xmls;
    const std::string id = firstWord(rest, xmls);
    return id.empty() ? "error: notify needs an identifier and a message" : push(id, xmls);
}

std::string ControlConsole::ring(const std::string& argument)
{
    return m_simulator.calls().ring(argument);
}

std::string ControlConsole::burst(const std::string& argument)
{
    return m_simulator.calls().burst(argument);
}

std::string ControlConsole::braid(const std::string& argument)
{
    return m_simulator.calls().braid().command(argument);
}

std::string ControlConsole::rate(const std::string& argument)
{
    char* end = nullptr;
    const long ms = std::strtol(argument.c_str(), &end, 10);
    if (argument.empty() || *end || ms < 0 || ms > kMaxRateMs)
        return "error: rate MS (0 stops the periodic notifications, at most " + std::to_string(kMaxRateMs) + ")";
    m_simulator.setStatsRate(std::chrono::milliseconds(ms));
    return "ok rate " + std::to_string(ms);
}

std::string ControlConsole::plug(const std::string& device)
{
    return m_simulator.network().plug(device, true);
}

std::string ControlConsole::unplug(const std::string& device)
{
    return m_simulator.network().plug(device, false);
}

std::string ControlConsole::quit(const std::string&)
{
    m_simulator.stop();
    return "ok quit";
}

std::string ControlConsole::update(const std::string& rest)
{
    std::string text;
    const std::string step = firstWord(rest, text);
    if (step != "start" && step != "progress" && step != "finish")
        return "error: update start|progress|finish [text]";
    Message status("codeUpdateStatus");
    status.params().set_string("text", text);
    status.params().set_bool("updating", step != "finish");
    return sentTo("update " + step, m_simulator.notify(IPCEndpointServer::kGenericUnso, status));
}

std::string ControlConsole::push(const std::string& id, const std::string& xmls)
{
    Message msg;
    std::string error;
    if (!ipc::decode(ipc::Encoding::Xmls, xmls.data(), xmls.size(), msg, error))
        return "error: bad message: " + error;
    return sentTo(id + " " + msg.name, m_simulator.notify(id, msg));
}

std::string ControlConsole::setPasswordDefaulted(const std::string& state)
{
    if (state != "on" && state != "off")
        return "error: defpwd on|off";
    Message* option = m_simulator.unit().config().findOption(kPasswordOption);
    if (!option)
        return std::string("error: the scenario has no ") + kPasswordOption;
    option->params().set_bool("defaulted", state == "on");
    return "ok defpwd " + state;
}

// "device add ID wired|wifi|3g" or "device remove ID": hardware coming and going.
std::string ControlConsole::device(const std::string& args)
{
    std::string rest;
    const std::string action = firstWord(args, rest);
    std::string deviceClass;
    const std::string id = firstWord(rest, deviceClass);
    if (action == "add" && !id.empty())
        return m_simulator.network().addDevice(id, deviceClass);
    if (action == "remove" && !id.empty())
        return m_simulator.network().removeDevice(id);
    return "error: device add ID wired|wifi|3g, or device remove ID";
}

// The far end's line reaches every user interface of the unit, as any chat line does.
std::string ControlConsole::say(const std::string& text)
{
    if (text.empty())
        return "error: say TEXT";
    const Message line = farEndChatLine(m_simulator.unit(), "message", text);
    return sentTo("say", m_simulator.notify(IPCEndpointServer::kGenericUnso, line));
}

// Someone at the far end opens the chat.
std::string ControlConsole::presence(const std::string& text)
{
    const Message line = farEndChatLine(m_simulator.unit(), "status", text.empty() ? kEntered : text);
    return sentTo("presence", m_simulator.notify(IPCEndpointServer::kGenericUnso, line));
}
