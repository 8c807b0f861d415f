#ifndef NETFEEDER_H
#define NETFEEDER_H

#include "cachefeeder.h"

#include <QPixmap>

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
