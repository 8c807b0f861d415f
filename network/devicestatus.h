#ifndef DEVICESTATUS_H
#define DEVICESTATUS_H

#include "params.h"

#include <QPixmap>
#include <QString>
#include <QVector>

// What the device list and the device configuration both show of a device's status.
namespace devicestatus {

// The sentence for enabled / installed / address. A view-only device only tells whether its
// hardware is present.
QString primaryText(const Params& status, bool viewOnly = false);
// The five bars icons, none to full.
QVector<QPixmap> loadSignalIcons();
// 0 → 0, 1..25 → 1, 26..50 → 2, 51..75 → 3, 76..100 → 4; past the table for more than 100.
int signalIconIndex(unsigned int signal);
// The icon for a signal; an empty pixmap past the table.
QPixmap signalIcon(const QVector<QPixmap>& icons, unsigned int signal);

} // namespace devicestatus

#endif
