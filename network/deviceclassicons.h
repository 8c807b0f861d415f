#ifndef DEVICECLASSICONS_H
#define DEVICECLASSICONS_H

#include <QIcon>
#include <QMap>
#include <QString>

// Icons of the network device classes ("wired", "wifi", "wifi_ap", "phone", "3g") by whether
// the device is enabled and installed. Filled once by the main window before any device
// arrives; a class not in the table has no icon.
namespace deviceclassicons {

void fill();
QIcon lookup(const QString& deviceClass, bool enabled, bool installed);

} // namespace deviceclassicons

#endif
