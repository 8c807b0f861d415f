#include "deviceclassicons.h"

#include <QPixmap>

namespace {
constexpr int kInstalledKey = 1;
constexpr int kEnabledKey = 16;
constexpr int kIconSize = 32;

QMap<QString, QMap<int, QIcon>>& table()
{
    static QMap<QString, QMap<int, QIcon>> icons;
    return icons;
}

int keyOf(bool enabled, bool installed)
{
    return (installed ? kInstalledKey : 0) + (enabled ? kEnabledKey : 0);
}

// A device whose hardware is missing shows its usual icon greyed out.
QIcon missingHardware(const QIcon& present)
{
    return QIcon(present.pixmap(kIconSize, kIconSize, QIcon::Disabled, QIcon::Off));
}
} // namespace

namespace deviceclassicons {

void fill()
{
    const struct {
        const char* deviceClass;
        const char* image;
    } classes[] = {{"wired", "wired"}, {"wifi", "wifi"}, {"wifi_ap", "wifi"}, {"phone", "phone"}, {"3g", "3g"}};
    for (const auto& entry : classes) {
        const QIcon enabled(QStringLiteral(":/icons/%1.png").arg(QLatin1String(entry.image)));
        const QIcon disabled(QStringLiteral(":/icons/%1_x.png").arg(QLatin1String(entry.image)));
        QMap<int, QIcon>& icons = table()[QLatin1String(entry.deviceClass)];
        icons[keyOf(true, true)] = enabled;
        icons[keyOf(false, true)] = disabled;
        icons[keyOf(true, false)] = missingHardware(enabled);
        icons[keyOf(false, false)] = missingHardware(disabled);
    }
}

QIcon lookup(const QString& deviceClass, bool enabled, bool installed)
{
    return table().value(deviceClass).value(keyOf(enabled, installed));
}

} // namespace deviceclassicons
