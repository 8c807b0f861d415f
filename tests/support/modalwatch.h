#ifndef MODALWATCH_H
#define MODALWATCH_H

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QTimer>
#include <QVariant>
#include <QWidget>

#include <functional>

// The visible dialog of that type, wherever it stands among the modal windows (the offline
// screen, say, may have come up over it).
template <typename Dialog>
Dialog* visibleDialog()
{
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* dialog = qobject_cast<Dialog*>(window); dialog && dialog->isVisible())
            return dialog;
    }
    return nullptr;
}

// Runs `answer` once on every modal dialog of type Dialog that opens while `poll` runs. A modal
// dialog runs its own event loop, often from deep inside the code that opened it, so a test or
// the tour can only act on it from a timer.
template <typename Dialog>
void answerEveryModal(QTimer& poll, const std::function<void(Dialog&)>& answer)
{
    QObject::connect(&poll, &QTimer::timeout, [answer] {
        Dialog* dialog = visibleDialog<Dialog>();
        if (!dialog || dialog->property("answered").toBool())
            return;
        dialog->setProperty("answered", true);
        answer(*dialog);
    });
    poll.start(20);
}

// Answers the next question box with `button` once it is up, after `look` has noted what the
// test wants to check. Check after the question returns, never in `look`: a failed check
// returns from the callback, and a question nobody answers hangs the test.
inline void answerNextQuestion(QObject* context, QMessageBox::StandardButton button,
                               const std::function<void(QMessageBox&)>& look = {})
{
    QTimer::singleShot(10, context, [=] {
        QPointer<QMessageBox> box = visibleDialog<QMessageBox>();
        if (!box)
            return answerNextQuestion(context, button, look);
        if (look)
            look(*box);
        if (!box)
            return;
        if (QAbstractButton* answer = box->button(button))
            answer->click();
        else
            box->reject();
    });
}

#endif
