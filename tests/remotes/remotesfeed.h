#ifndef TESTS_REMOTES_REMOTESFEED_H
#define TESTS_REMOTES_REMOTESFEED_H

#include "codec.h"
#include "ipcinstances.h"
#include "message.h"

#include <QApplication>
#include <QEvent>
#include <QMutexLocker>
#include <QStringList>
#include <QWidget>
#include <QtTest>

#include <string>
#include <utility>
#include <vector>

// Feeds the shared client as the backend would: answers and notifications, written in the
// library's text forms ("key:type=value" parameters, or whole messages as xmls).
inline Message fromXmls(const std::string& text)
{
    Message msg;
    std::string error;
    if (!ipc::decode(ipc::Encoding::Xmls, text.data(), text.size(), msg, error))
        qFatal("bad xmls in test: %s", error.c_str());
    return msg;
}

inline void respond(const std::string& seq, Message msg)
{
    msg.params().set_string("seq", seq);
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(msg);
}

inline Message withChildren(const char* name, const char* childName, const QStringList& children)
{
    Message msg(name);
    for (const QString& child : children)
        msg.add_child(Message(childName, Params(child.toUtf8().constData())));
    return msg;
}

inline void answer(const char* seq, const char* childName, const QStringList& children)
{
    respond(seq, withChildren(seq, childName, children));
}

inline void notify(const char* id, const char* childName, const QStringList& children)
{
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_unso_id(id, withChildren(id, childName, children));
}

// The requests sent while it exists.
struct SentRequests {
    SentRequests() { g_ipcClient.setRequestTap([this](const Message& request) { sent.push_back(request); }); }
    ~SentRequests() { g_ipcClient.setRequestTap(nullptr); }
    std::vector<Message> sent;
};

// Whether the requests are these: each a name and its parameters in "key:type=value" text.
inline bool sentAre(const std::vector<Message>& sent, const std::vector<std::pair<std::string, std::string>>& expected)
{
    if (sent.size() != expected.size())
        return false;
    for (size_t i = 0; i < sent.size(); ++i) {
        if (sent[i].name != expected[i].first || !(sent[i].params() == Params(expected[i].second.c_str())))
            return false;
    }
    return true;
}

// Shows the screen as the active window, so that focus and painting are real.
inline bool showActive(QWidget& screen)
{
    screen.show();
    QApplication::setActiveWindow(&screen);
    return QTest::qWaitForWindowActive(&screen);
}

// A keypad key pressed and released with focus on the screen's child of that name; the name of
// the widget with focus then.
template <typename Screen>
QString pressOn(Screen& screen, const QString& focus, int key)
{
    screen.template findChild<QWidget*>(focus)->setFocus();
    screen.handleKey(key, true, false);
    screen.handleKey(key, false, false);
    QCoreApplication::processEvents();
    return QApplication::focusWidget()->objectName();
}

// Counts the paint events a widget receives.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

#endif
