#ifndef TESTS_REMOTES_STATSFEED_H
#define TESTS_REMOTES_STATSFEED_H

#include "ipcinstances.h"
#include "message.h"

#include <QEvent>
#include <QMutexLocker>
#include <QStringList>
#include <QWidget>

// Feeds the shared client as the backend would: answers and notifications, each child's
// parameters in the library's "key:type=value" text.
inline Message withChildren(const char* name, const char* childName, const QStringList& children)
{
    Message msg(name);
    for (const QString& child : children)
        msg.add_child(Message(childName, Params(child.toUtf8().constData())));
    return msg;
}

inline void answer(const char* seq, const char* childName, const QStringList& children)
{
    Message msg = withChildren(seq, childName, children);
    msg.params().set_string("seq", seq);
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(msg);
}

inline void notify(const char* id, const char* childName, const QStringList& children)
{
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_unso_id(id, withChildren(id, childName, children));
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
