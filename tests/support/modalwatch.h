#ifndef MODALWATCH_H
#define MODALWATCH_H

#include <QApplication>
#include <QTimer>
#include <QVariant>
#include <QWidget>

#include <functional>

// Runs `answer` once on every modal dialog of type Dialog that opens while `poll` runs. A modal
// dialog runs its own event loop, often from deep inside the code that opened it, so a test or
// the tour can only act on it from a timer.
template <typename Dialog>
void answerEveryModal(QTimer& poll, const std::function<void(Dialog&)>& answer)
{
    QObject::connect(&poll, &QTimer::timeout, [answer] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible() || dialog->property("answered").toBool())
            return;
        dialog->setProperty("answered", true);
        answer(*dialog);
    });
    poll.start(20);
}

#endif
