#ifndef CACHEFEEDER_H
#define CACHEFEEDER_H

#include "codec.h"
#include "ipcinstances.h"

#include <QMutexLocker>
#include <QTreeWidget>
#include <QtTest>

#include <initializer_list>
#include <string>
#include <vector>

// Answers from the backend, fed straight into the shared client's cache, and the requests that
// leave it.
namespace cachefeeder {

// An xmls message, as the scenario files write them.
inline Message parse(const std::string& xmls)
{
    Message msg;
    std::string error;
    if (!ipc::decode(ipc::Encoding::Xmls, xmls.data(), xmls.size(), msg, error))
        qFatal("bad test message: %s", error.c_str());
    return msg;
}

// An option description: xmls, or the params of an "option" in the text syntax.
inline Message option(const std::string& text)
{
    return text.rfind('<', 0) == 0 ? parse(text) : Message("option", Params(text.c_str()));
}

// A list answer such as "systemOpts", one option description per entry.
inline Message optionList(const std::string& name, std::initializer_list<const char*> options)
{
    Message list(name);
    for (const char* text : options)
        list.add_child(option(text));
    return list;
}

// The same tree as RequestLog::lastTree() gives, from xmls text.
inline std::string tree(const std::string& xmls)
{
    return parse(xmls).dump_text();
}

// Caches `msg` as the answer `seq` and raises its signal (direct: the test runs on the GUI thread).
inline void answer(const std::string& seq, Message msg)
{
    msg.params().set_string("seq", seq);
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(msg);
}

inline void answer(const std::string& seq, const std::string& xmls)
{
    answer(seq, parse(xmls));
}

// A settings tree as "Group: Row=Text, ...": "~" before grey rows, "?" before rows neither grey
// nor black, "(b)" after bold ones.
inline QString outline(const QTreeWidget* tree)
{
    const auto mark = [](const QTreeWidgetItem* item) {
        const QColor colour = item->foreground(0).color();
        const bool same = item->foreground(1).color() == colour;
        const QString tint = same && colour == QColor(128, 128, 128) ? "~" : same && colour == Qt::black ? "" : "?";
        const bool bold = item->font(0).bold() && item->font(1).bold();
        return tint + item->text(0) + (item->parent() ? "=" + item->text(1) + (bold ? "(b)" : "") : QString());
    };
    QStringList groups;
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        QStringList rows;
        for (int o = 0; o < tree->topLevelItem(g)->childCount(); ++o)
            rows << mark(tree->topLevelItem(g)->child(o));
        groups << mark(tree->topLevelItem(g)) + ": " + rows.join(", ");
    }
    return groups.join(" | ");
}

// Records every request from construction to destruction.
class RequestLog {
public:
    RequestLog()
    {
        g_ipcClient.setRequestTap([this](const Message& request) { m_requests.push_back(request); });
    }
    ~RequestLog() { g_ipcClient.setRequestTap(nullptr); }
    RequestLog(const RequestLog&) = delete;
    RequestLog& operator=(const RequestLog&) = delete;

    const std::vector<Message>& requests() const { return m_requests; }

    // The last request as a readable tree, without "seq" (the client's own business).
    std::string lastTree() const
    {
        if (m_requests.empty())
            return std::string();
        Message request = m_requests.back();
        request.params().remove("seq");
        return request.dump_text();
    }

private:
    std::vector<Message> m_requests;
};

} // namespace cachefeeder

#endif
