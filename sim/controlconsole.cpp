#include "controlconsole.h"

#include "callhandlers.h"
#include "chathandlers.h"
#include "codec.h"
#include "ipcendpoint.h"
#include "logger.h"
#include "networkmanager.h"
#include "simulator.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

const char* const kPasswordOption = "netmgr.remote.password";

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

std::string ControlConsole::execute(const std::string& line)
{
    std::string rest;
    const std::string command = firstWord(line, rest);
    if (command == "drop")
        return "ok dropped " + std::to_string(m_simulator.dropSessions()) + " session(s)";
    if (command == "update") {
        std::string text;
        const std::string step = firstWord(rest, text);
        return update(step, text);
    }
    if (command == "unso")
        return push(IPCEndpointServer::kGenericUnso, rest);
    if (command == "notify") {
        std::string xmls;
        const std::string id = firstWord(rest, xmls);
        return id.empty() ? "error: notify needs an identifier and a message" : push(id, xmls);
    }
    if (command == "defpwd")
        return setPasswordDefaulted(rest);
    if (command == "say")
        return say(rest);
    if (command == "ring")
        return m_simulator.calls().ring(rest);
    if (command == "braid")
        return m_simulator.calls().braid().command(rest);
    if (command == "plug" || command == "unplug")
        return m_simulator.network().plug(rest, command == "plug");
    if (command == "device")
        return device(rest);
    if (command == "quit") {
        m_simulator.stop();
        return "ok quit";
    }
    return "error: unknown command '" + command + "'";
}

std::string ControlConsole::update(const std::string& step, const std::string& text)
{
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
    const Message line = farEndChatLine(m_simulator.unit(), text);
    return sentTo("say", m_simulator.notify(IPCEndpointServer::kGenericUnso, line));
}
