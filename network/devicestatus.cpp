#include "devicestatus.h"

namespace {
constexpr int kSignalLevels = 5;
constexpr unsigned int kSignalStep = 25;
} // namespace

namespace devicestatus {

QString primaryText(const Params& status, bool viewOnly)
{
    const bool installed = status.get_bool("installed", false);
    if (viewOnly)
        return installed ? QStringLiteral("Installed.") : QStringLiteral("Not installed.");
    const bool enabled = status.get_bool("enabled", false);
    if (!enabled)
        return installed ? QStringLiteral("Installed but disabled.") : QStringLiteral("Not installed and disabled.");
    if (!installed)
        return QStringLiteral("Enabled but not installed.");
    const std::string address = status.get_string("address", "");
    if (address.empty())
        return QStringLiteral("Installed and enabled.");
    return QStringLiteral("Current address '") + QString::fromStdString(address) + QStringLiteral("'.");
}

QVector<QPixmap> loadSignalIcons()
{
    QVector<QPixmap> icons;
    for (int level = 0; level < kSignalLevels; ++level)
        icons.append(QPixmap(QStringLiteral(":/icons/signal_strength_%1.png").arg(level)));
    return icons;
}

int signalIconIndex(unsigned int signal)
{
    return static_cast<int>((signal + kSignalStep - 1) / kSignalStep);
}

QPixmap signalIcon(const QVector<QPixmap>& icons, unsigned int signal)
{
    return icons.value(signalIconIndex(signal));
}

} // namespace devicestatus
