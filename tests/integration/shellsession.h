#ifndef TESTS_INTEGRATION_SHELLSESSION_H
#define TESTS_INTEGRATION_SHELLSESSION_H

#include "mainwindow.h"
#include "testprocess.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

// The main window in the test's own process against a simulated unit of its own, over the real
// socket, so that a test sees both what the screens show and what the unit was asked. Keys take
// the hardware keypad's whole path: platform, keypad filter, the main window's routing.
class ShellSession {
public:
    static constexpr int kCommandMs = 10000;

    // The unit, then the window, shown once the link is ready.
    bool start(const QStringList& simArguments = {});

    MainWindow& window() { return *m_window; }
    TestProcess& sim() { return *m_sim; }

    template <typename Screen>
    Screen* screen(int index) const
    {
        return dynamic_cast<Screen*>(m_window->pane().page(index));
    }

    // A keypad key pressed and released, delivered to the window on top.
    void key(int keycode);
    // Letters and digits typed into the widget with focus, as the on-screen keyboard types them.
    void type(const QString& text);
    bool pressUntil(int keycode, const std::function<bool()>& done, int most = 40);
    // Answers the Yes/No question that `open` raises with keypad `keys`; returns its text.
    QString answerQuestion(const std::function<void()>& open, const QList<int>& keys);

    // The simulator's next line containing `text` (its reports of what it was asked).
    QString simEvent(const QString& text) { return m_sim->waitForLine(text, kCommandMs); }
    // A control command, and the console's answer to it.
    QString simCommand(const QString& line);

private:
    // The window goes first: it logs out from a unit still running.
    std::unique_ptr<TestProcess> m_sim;
    std::unique_ptr<MainWindow> m_window;
};

#endif
