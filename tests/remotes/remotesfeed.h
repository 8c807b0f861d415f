#ifndef TESTS_REMOTES_REMOTESFEED_H
#define TESTS_REMOTES_REMOTESFEED_H

#include "cachefeeder.h"
#include "grapher.h"
#include "platformkey.h"
#include "screentest.h"

#include <QEvent>

using namespace cachefeeder;

// Lists as the backend sends them: one child per "key:type=value" record.
inline Message withChildren(const char* name, const char* childName, const QStringList& children)
{
    Message msg(name);
    for (const QString& child : children)
        msg.add_child(Message(childName, Params(child.toUtf8().constData())));
    return msg;
}

inline void notify(const char* id, const char* childName, const QStringList& children)
{
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_unso_id(id, withChildren(id, childName, children));
}

// The remote list; a directory entry goes with the first record.
inline void feedPeers(const QStringList& records, const QString& directory = QString())
{
    Message list = withChildren("peerList", "peer", records);
    if (!directory.isEmpty())
        list.get_child("peer", 0).add_child(Message("directory", Params(directory.toUtf8().constData())));
    answer("peerList", list);
}

// The two columns of each row shown, as "name=value; name=value".
inline QString treeRows(const QTreeWidget* tree)
{
    QStringList shown;
    for (int row = 0; row < tree->topLevelItemCount(); ++row) {
        if (!tree->topLevelItem(row)->isHidden())
            shown << tree->topLevelItem(row)->text(0) + '=' + tree->topLevelItem(row)->text(1);
    }
    return shown.join("; ");
}

// Whether the requests are these: each a name and its parameters in "key:type=value" text.
inline bool sentAre(const RequestLog& log, const std::vector<std::pair<std::string, std::string>>& expected)
{
    std::vector<std::pair<std::string, Params>> sent, wanted;
    for (const Message& request : log.requests())
        sent.emplace_back(request.name, request.params());
    for (const auto& [name, params] : expected)
        wanted.emplace_back(name, Params(params.c_str()));
    return sent == wanted;
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

// What a graph draws of one key's history.
struct Drawing {
    Drawing(const Grapher& graph, int key) { graph.draw(static_cast<uint32_t>(key), points, rects, &min, &max); }
    Grapher::PointList points[2];
    Grapher::RectList rects[3];
    int min = 0;
    int max = 0;
};

#endif
