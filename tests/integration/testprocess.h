#ifndef TESTS_INTEGRATION_TESTPROCESS_H
#define TESTS_INTEGRATION_TESTPROCESS_H

#include <QProcess>
#include <QStringList>

#include <memory>

// A program of the build run as a child, read line by line on one of its output channels; the
// other channel goes to the test's own output.
class TestProcess {
public:
    TestProcess(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment,
                QProcess::ProcessChannel readChannel);
    TestProcess(const TestProcess&) = delete;
    TestProcess& operator=(const TestProcess&) = delete;
    ~TestProcess() { stop(); }

    bool start();
    // Reads lines until one contains `text` and returns it; an empty string on time-out or exit.
    QString waitForLine(const QString& text, int timeoutMs);
    void writeLine(const QString& line);
    // SIGTERM, then SIGKILL if it lingers. True when it ended by itself with exit code 0.
    bool stop();
    // Every line read so far, for failure messages.
    QString transcript() const { return m_lines.join('\n'); }

private:
    QProcess m_process;
    QString m_program;
    QStringList m_arguments;
    QStringList m_lines;
};

// The simulated unit, once it listens; null if it did not come up.
std::unique_ptr<TestProcess> startUnitSim(const QStringList& arguments, const QProcessEnvironment& environment);

#endif
