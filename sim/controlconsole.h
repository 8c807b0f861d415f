#ifndef SIM_CONTROLCONSOLE_H
#define SIM_CONTROLCONSOLE_H

#include <string>
#include <vector>

class Simulator;

// Control commands, one per line on a descriptor (standard input), each answered with one line
// on standard output: "ok ..." or "error: ...". The end of input stops reading, not the process.
class ControlConsole {
public:
    ControlConsole(Simulator& simulator, int fd);
    ControlConsole(const ControlConsole&) = delete;
    ControlConsole& operator=(const ControlConsole&) = delete;
    ~ControlConsole();

    // Runs one command and returns its answer line (without the newline).
    std::string execute(const std::string& line);
    // One line per command, with what follows its name.
    static std::string usage();

private:
    struct Command;
    static const std::vector<Command>& commands();

    void readInput();
    void stopReading();
    std::string push(const std::string& id, const std::string& xmls);

    // The commands, each given what follows its name.
    std::string drop(const std::string& rest);
    std::string update(const std::string& rest);
    std::string unso(const std::string& xmls);
    std::string notify(const std::string& rest);
    std::string setPasswordDefaulted(const std::string& state);
    std::string say(const std::string& text);
    std::string presence(const std::string& text);
    std::string ring(const std::string& argument);
    std::string burst(const std::string& argument);
    std::string braid(const std::string& argument);
    std::string rate(const std::string& argument);
    std::string quit(const std::string& rest);
    std::string plug(const std::string& device);
    std::string unplug(const std::string& device);
    std::string device(const std::string& args);

    Simulator& m_simulator;
    int m_fd;
    bool m_reading = false;
    std::string m_pending;
};

#endif
