#ifndef ICONNAME_H
#define ICONNAME_H

#include <QDir>
#include <QPixmap>

// The name of the icon (":/icons/NAME.png") a label or button shows: "none" for no picture.
inline QString iconName(const QPixmap& pixmap)
{
    if (pixmap.isNull())
        return QStringLiteral("none");
    const QImage image = pixmap.toImage();
    for (const QString& file : QDir(QStringLiteral(":/icons")).entryList()) {
        if (QPixmap(":/icons/" + file).toImage() == image)
            return file.section('.', 0, 0);
    }
    return QStringLiteral("unknown");
}

#endif
