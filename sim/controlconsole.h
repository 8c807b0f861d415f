#ifndef SIM_CONTROLCONSOLE_H
#define SIM_CONTROLCONSOLE_H

#include <string>

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

private:
    void readInput();
    void stopReading();
    std::string update(const std::string& step, const std::string& text);
    std::string push(const std::string& id, const std::string& xmls);
    std::string setPasswordDefaulted(const std::string& state);
    std::string say(const std::string& text);
    std::string device(const std::string& args);

    Simulator& m_simulator;
    int m_fd;
    bool m_reading = false;
    std::string m_pending;
};

#endif
