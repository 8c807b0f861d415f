#include "testprocess.h"

#include <QCoreApplication>
#include <QElapsedTimer>

TestProcess::TestProcess(const QString& program, const QStringList& arguments,
                         const QProcessEnvironment& environment, QProcess::ProcessChannel readChannel)
    : m_program(QCoreApplication::applicationDirPath() + '/' + program), m_arguments(arguments)
{
    m_process.setProcessEnvironment(environment);
    m_process.setReadChannel(readChannel);
    m_process.setProcessChannelMode(readChannel == QProcess::StandardOutput ? QProcess::ForwardedErrorChannel
                                                                            : QProcess::ForwardedOutputChannel);
}

bool TestProcess::start()
{
    m_process.start(m_program, m_arguments);
    return m_process.waitForStarted(10000);
}

QString TestProcess::waitForLine(const QString& text, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        while (m_process.canReadLine()) {
            const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
            m_lines << line;
            if (line.contains(text))
                return line;
        }
        const qint64 left = timeoutMs - timer.elapsed();
        if (left <= 0 || m_process.state() == QProcess::NotRunning)
            return QString();
        m_process.waitForReadyRead(static_cast<int>(left));
    }
}

void TestProcess::writeLine(const QString& line)
{
    m_process.write(line.toUtf8() + '\n');
    m_process.waitForBytesWritten(5000);
}

bool TestProcess::stop()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.terminate();
        if (!m_process.waitForFinished(10000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
            return false;
        }
    }
    return m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
}

std::unique_ptr<TestProcess> startUnitSim(const QStringList& arguments, const QProcessEnvironment& environment)
{
    auto sim = std::make_unique<TestProcess>("orvane-unitsim", arguments, environment, QProcess::StandardOutput);
    if (!sim->start() || sim->waitForLine("listening", 10000).isEmpty())
        sim.reset();
    return sim;
}
