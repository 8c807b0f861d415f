#include "shellsession.h"

#include "modalwatch.h"
#include "offline.h"
#include "platformkey.h"

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <QtTest>

bool ShellSession::start(const QStringList& simArguments)
{
    static int count = 0;
    qputenv("LIBIPC_LOCAL_ADDR", "/orvane-test-shell-" + QByteArray::number(QCoreApplication::applicationPid()) + "-"
                                     + QByteArray::number(++count));
    m_sim = startUnitSim(QStringList{"--no-tcp"} + simArguments, QProcessEnvironment::systemEnvironment());
    if (!m_sim)
        return false;
    m_window = std::make_unique<MainWindow>();
    // An existing file: no touch-screen calibration starts when the link is ready.
    m_window->setPointerCalibrationFile(QCoreApplication::applicationFilePath());
    return QTest::qWaitFor([this] { return m_window->isVisible() && !m_window->offlineScreen().isVisible(); }, 20000)
        && showActive(m_window.get());
}

void ShellSession::key(int keycode)
{
    QWidget* top = QApplication::activeModalWidget() ? QApplication::activeModalWidget() : m_window.get();
    for (bool press : {true, false})
        sendPlatformKey(top, press, keycode);
    QCoreApplication::processEvents();
}

void ShellSession::type(const QString& text)
{
    for (const QChar c : text) {
        for (bool press : {true, false})
            sendPlatformKey(m_window.get(), press, c.toUpper().unicode(), Qt::NoModifier, QString(c));
    }
}

bool ShellSession::pressUntil(int keycode, const std::function<bool()>& done, int most)
{
    for (int i = 0; i < most && !done(); ++i)
        key(keycode);
    return done();
}

QString ShellSession::answerQuestion(const std::function<void()>& open, const QList<int>& keys)
{
    QString text;
    QTimer poll;
    answerEveryModal<QMessageBox>(poll, [&](QMessageBox& box) {
        poll.stop();
        text = box.text();
        for (int keycode : keys)
            key(keycode);
    });
    open();
    // The offscreen platform leaves no window active once the question has closed.
    QApplication::setActiveWindow(m_window.get());
    return text;
}

QString ShellSession::simCommand(const QString& line)
{
    m_sim->writeLine(line);
    return m_sim->waitForLine(QStringLiteral("ok "), kCommandMs);
}
