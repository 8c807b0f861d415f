#ifndef CACHEFEEDER_H
#define CACHEFEEDER_H

#include "codec.h"
#include "ipcinstances.h"
#include "screentest.h"

#include <QComboBox>
#include <QMutexLocker>
#include <QPixmap>
#include <QTreeWidget>
#include <QtTest>

#include <initializer_list>
#include <string>
#include <vector>

// Answers from the backend, fed straight into the shared client's cache, the requests that leave
// it, and the keypad.
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

// A message in short: its params in the text syntax of Params, then its children.
inline Message msg(const std::string& name, const std::string& params = "", std::initializer_list<Message> children = {})
{
    Message message(name, Params(params.c_str()));
    for (const Message& child : children)
        message.add_child(child);
    return message;
}

// A message on one line, "name key=value ... {child} ...", keys in order, every value as text.
inline std::string line(const Message& message, bool withSeq = false)
{
    std::string text = message.name;
    for (const auto& entry : message.params().values()) {
        if (withSeq || entry.first != "seq")
            text += " " + entry.first + "=" + message.params().get_string(entry.first, "");
    }
    for (std::size_t i = 0; i < message.child_count(); ++i)
        text += " {" + line(message.child(i), withSeq) + "}";
    return text;
}

// A data table with a text column each, its rows from textCases() cut at " | " (cells may hold "|").
inline void table(std::initializer_list<const char*> columns, const char* rows)
{
    for (const char* column : columns)
        QTest::addColumn<QString>(column);
    for (QStringList cells : textCases(rows, " | ")) {
        QTestData& data = QTest::newRow(qPrintable(cells.takeFirst()));
        for (int i = 0; i < int(columns.size()); ++i)
            data << cells.value(i);
    }
}

// A text column of the current row of a table().
inline QString cell(const char* column)
{
    return *static_cast<const QString*>(QTest::qData(column, qMetaTypeId<QString>()));
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

// A tree's rows, each child after its parent with a leading blank: "text=value" (no "=" without a
// value), then marks: * bold, ~ grey, ? coloured otherwise, - hidden, + open, # selected.
inline QString treeText(const QTreeWidget* tree)
{
    const auto row = [](const QTreeWidgetItem* item) {
        const QColor colour = item->foreground(0).color();
        const bool same = item->foreground(1).color() == colour;
        const std::pair<bool, const char*> marks[] = {{item->font(0).bold() && item->font(1).bold(), "*"},
            {same && colour == QColor(128, 128, 128), "~"}, {!same || (colour != Qt::black && colour != QColor(128, 128, 128)), "?"},
            {item->isHidden(), "-"}, {item->childCount() && item->isExpanded(), "+"}, {item->isSelected(), "#"}};
        QString text = item->text(0) + (item->text(1).isEmpty() ? "" : "=" + item->text(1));
        for (const auto& [on, mark] : marks)
            text += on ? mark : "";
        return text;
    };
    QStringList rows;
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        rows << row(tree->topLevelItem(i));
        for (int c = 0; c < tree->topLevelItem(i)->childCount(); ++c)
            rows << " " + row(tree->topLevelItem(i)->child(c));
    }
    return rows.join(',');
}

// Keypad keys by name, each pressed and released on `screen`, then the events they posted; "Popup"
// opens `list` first.
template <class Screen>
void pressKeys(Screen& screen, const QString& keys, QComboBox* list = nullptr)
{
    for (const QString& key : keys.split(' ', Qt::SkipEmptyParts)) {
        if (key == "Popup" && list) {
            list->showPopup();
            continue;
        }
        screen.handleKey(keyNamed(key), true, false);
        screen.handleKey(keyNamed(key), false, false);
        QCoreApplication::processEvents();
    }
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

    // Every request, one a line (see line()), joined by "; ".
    QString sent(bool withSeq = false) const
    {
        QStringList lines;
        for (const Message& request : m_requests)
            lines << QString::fromStdString(line(request, withSeq));
        return lines.join("; ");
    }

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

// The network manager's messages as the unit sends them, into the shared client.
namespace netfeeder {

using cachefeeder::msg;

// A notification under its subscription id ("cfgStatus:netmgr.devices.eth0", "wifi:wlan0").
inline void notify(const std::string& id, const Message& msg)
{
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_unso_id(id, msg);
}

// A device's status notification: its fields in the text syntax of Params.
inline void status(const std::string& id, const std::string& fields)
{
    notify("cfgStatus:netmgr.devices." + id, msg("node", "name=" + id + " " + fields));
}

// A change in the configuration tree: "add", "delete" or "value" (with the new display value).
inline void data(const std::string& name, const std::string& type, const std::string& display = "")
{
    notify("cfgData:" + name, msg("data", "name=" + name + " type=" + type, {msg("descr", "display_value=\"" + display + "\"")}));
}

// Which of the five signal bars icons `pixmap` is; -1 for none.
inline int barsOf(const QPixmap& pixmap)
{
    for (int level = 0; level < 5; ++level) {
        if (pixmap.toImage() == QPixmap(QStringLiteral(":/icons/signal_strength_%1.png").arg(level)).toImage())
            return level;
    }
    return -1;
}

} // namespace netfeeder

#endif
