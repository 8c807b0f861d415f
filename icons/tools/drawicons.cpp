// Rebuilds the icon set: copies the Silk icons the screens use (some under new names),
// derives a few recoloured ones from them, draws the icons Silk has no match for, and
// writes icons.qrc listing every file.
//
//   orvane-drawicons <output-dir> [<silk-16x16-dir>]

#include <QColor>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QRadialGradient>
#include <QStringList>
#include <QTextStream>
#include <QtMath>

#include <cstdio>
#include <functional>
#include <utility>
#include <vector>

namespace {

const char kDefaultSilkDir[] = "/usr/share/icons/silk/16x16";

struct SilkCopy {
    const char *name;
    const char *silkName;
};

const SilkCopy kSilkCopies[] = {
    {"alert_info", "information"},
    {"asterisk_yellow", "asterisk_yellow"},
    {"comment", "comment"},
    {"comment_add", "comment_add"},
    {"connect_creating", "disconnect"},
    {"connect_established", "connect"},
    {"curve_arrow_l", "arrow_turn_left"},
    {"curve_arrow_r", "arrow_turn_right"},
    {"factory", "building"},
    {"keyboard_silk", "keyboard"},
    {"link", "link"},
    {"link_break", "link_break"},
    {"link_error", "link_error"},
    {"link_go", "link_go"},
    {"locked", "lock"},
    {"package", "package"},
    {"unlocked", "lock_open"},
    {"web_back", "arrow_left"},
    {"web_fwd", "arrow_right"},
    {"web_go", "world_go"},
    {"web_home", "house"},
    {"web_reload", "arrow_refresh"},
    {"web_stop", "stop"},
    {"x", "cross"},
};

const QColor kBraidGray(150, 150, 150);
const QColor kBraidGreen(40, 170, 60);
const QColor kBraidYellow(240, 195, 20);
const QColor kBraidRed(215, 40, 40);
const QColor kBarOn(40, 150, 50);
const QColor kDeviceBlue(30, 100, 200);

QImage transparentCanvas(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage painted(int width, int height, const std::function<void(QPainter &)> &draw)
{
    QImage image = transparentCanvas(width, height);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter);
    }
    return image;
}

// Shifts hue and scales saturation and value of every pixel, keeping Silk's shading.
QImage recoloured(const QImage &source, qreal hueShiftDegrees, qreal saturationFactor, qreal valueFactor)
{
    QImage image = source.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            QColor colour = image.pixelColor(x, y);
            if (colour.alpha() == 0)
                continue;
            qreal hue, saturation, value, alpha;
            colour.getHsvF(&hue, &saturation, &value, &alpha);
            hue = hue < 0 ? 0 : hue + hueShiftDegrees / 360.0;
            hue -= qFloor(hue);
            colour.setHsvF(hue, qBound(0.0, saturation * saturationFactor, 1.0),
                           qBound(0.0, value * valueFactor, 1.0), alpha);
            image.setPixelColor(x, y, colour);
        }
    }
    return image;
}

// Four bars rising left to right; the first `level` of them are lit.
QImage signalStrength(int level)
{
    return painted(20, 16, [level](QPainter &p) {
        for (int bar = 0; bar < 4; ++bar) {
            const int height = 4 + 3 * bar;
            const QRectF rect(1.5 + 5 * bar, 14.5 - height, 3, height);
            const bool lit = bar < level;
            p.setPen(lit ? kBarOn.darker(150) : QColor(120, 120, 120, 200));
            p.setBrush(lit ? kBarOn : QColor(210, 210, 210, 160));
            p.drawRect(rect);
        }
    });
}

// Two overlapping sets of bars: several devices report a signal.
QImage signalStrengthMultiple()
{
    return painted(20, 16, [](QPainter &p) {
        const auto drawBars = [&p](qreal left, qreal bottom, const QColor &colour) {
            p.setPen(colour.darker(150));
            p.setBrush(colour);
            for (int bar = 0; bar < 3; ++bar) {
                const int height = 3 + 3 * bar;
                p.drawRect(QRectF(left + 4 * bar, bottom - height, 2.5, height));
            }
        };
        drawBars(8.5, 10.5, kBarOn.lighter(140));
        drawBars(1.5, 14.5, kBarOn);
    });
}

// A shaded dot in the tunnel status colour.
QImage braidStatus(const QColor &colour)
{
    return painted(20, 16, [colour](QPainter &p) {
        const QPointF centre(10, 8);
        QRadialGradient shade(centre - QPointF(2, 2.5), 8);
        shade.setColorAt(0, colour.lighter(170));
        shade.setColorAt(0.55, colour);
        shade.setColorAt(1, colour.darker(135));
        p.setPen(QPen(colour.darker(170), 1));
        p.setBrush(shade);
        p.drawEllipse(centre, 6.5, 6.5);
    });
}

// Silk has arrows turning left and right but none forking both ways; this one
// follows their shape and shading.
QImage forkArrow()
{
    return painted(16, 16, [](QPainter &p) {
        const QPolygonF outline({{6, 15.5}, {6, 7.5}, {4.5, 7.5}, {4.5, 9.5}, {0.5, 5.5}, {4.5, 1.5}, {4.5, 3.5},
                                 {11.5, 3.5}, {11.5, 1.5}, {15.5, 5.5}, {11.5, 9.5}, {11.5, 7.5}, {10, 7.5}, {10, 15.5}});
        QLinearGradient fill(0, 1.5, 0, 15.5);
        fill.setColorAt(0, QColor(170, 220, 140));
        fill.setColorAt(1, QColor(80, 160, 60));
        p.setPen(QPen(QColor(45, 115, 40), 1, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
        p.setBrush(fill);
        p.drawPolygon(outline);
    });
}

// Front of a network socket with its eight contacts.
QImage wiredDevice()
{
    return painted(32, 32, [](QPainter &p) {
        QLinearGradient body(0, 4, 0, 28);
        body.setColorAt(0, QColor(150, 155, 165));
        body.setColorAt(1, QColor(80, 85, 95));
        p.setPen(QPen(QColor(50, 52, 60), 1));
        p.setBrush(body);
        p.drawRoundedRect(QRectF(2.5, 4.5, 27, 23), 3, 3);

        const QPolygonF opening({{7, 9}, {25, 9}, {25, 21}, {20, 21}, {20, 24}, {12, 24}, {12, 21}, {7, 21}});
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(25, 25, 30));
        p.drawPolygon(opening);

        p.setBrush(QColor(225, 185, 60));
        for (int pin = 0; pin < 8; ++pin)
            p.drawRect(QRectF(9 + 2 * pin, 10, 1, 5));
    });
}

// Three arcs over a dot.
QImage wifiDevice()
{
    return painted(32, 32, [](QPainter &p) {
        const QPointF origin(16, 26);
        p.setPen(Qt::NoPen);
        p.setBrush(kDeviceBlue);
        p.drawEllipse(origin, 3, 3);

        p.setPen(QPen(kDeviceBlue, 3.5, Qt::SolidLine, Qt::RoundCap));
        p.setBrush(Qt::NoBrush);
        for (const qreal radius : {8.0, 14.0, 20.0}) {
            const QRectF circle(origin.x() - radius, origin.y() - radius, 2 * radius, 2 * radius);
            p.drawArc(circle, 45 * 16, 90 * 16);
        }
    });
}

// A handset with a screen and a keypad.
QImage phoneDevice()
{
    return painted(32, 32, [](QPainter &p) {
        QLinearGradient body(9, 0, 23, 0);
        body.setColorAt(0, QColor(95, 100, 110));
        body.setColorAt(1, QColor(55, 58, 66));
        p.setPen(QPen(QColor(35, 37, 42), 1));
        p.setBrush(body);
        p.drawRoundedRect(QRectF(9.5, 2.5, 13, 27), 3, 3);

        p.setPen(Qt::NoPen);
        p.setBrush(QColor(160, 210, 245));
        p.drawRect(QRectF(11.5, 5.5, 9, 9));

        p.setBrush(QColor(215, 218, 225));
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                p.drawRect(QRectF(12 + 3 * column, 17.5 + 3.5 * row, 2, 2));
    });
}

QFont boldSans(int pixelSize)
{
    QFont font(QStringLiteral("Liberation Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setBold(true);
    font.setPixelSize(pixelSize);
    return font;
}

// A mobile-data badge.
QImage mobileDataDevice()
{
    return painted(32, 32, [](QPainter &p) {
        const QRectF badge(2.5, 7.5, 27, 18);
        QLinearGradient body(0, badge.top(), 0, badge.bottom());
        body.setColorAt(0, kDeviceBlue.lighter(130));
        body.setColorAt(1, kDeviceBlue.darker(130));
        p.setPen(QPen(kDeviceBlue.darker(180), 1));
        p.setBrush(body);
        p.drawRoundedRect(badge, 4, 4);

        p.setFont(boldSans(15));
        p.setPen(Qt::white);
        p.drawText(badge, Qt::AlignCenter, QStringLiteral("3G"));
    });
}

// The device icon with a red "off" badge in its lower right corner.
QImage withOffBadge(const QImage &device)
{
    QImage image = device;
    {
        QPainter p(&image);
        p.setRenderHint(QPainter::Antialiasing);
        const QPointF centre(25, 25);
        p.setPen(QPen(QColor(130, 10, 10), 1));
        p.setBrush(QColor(215, 35, 35));
        p.drawEllipse(centre, 6.2, 6.2);
        p.setPen(QPen(Qt::white, 2, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(centre + QPointF(-2.5, -2.5), centre + QPointF(2.5, 2.5));
        p.drawLine(centre + QPointF(-2.5, 2.5), centre + QPointF(2.5, -2.5));
    }
    return image;
}

// White bold name after a simple mark, centred; made for the offline screen's blue,
// with a soft shadow to lift it off the background.
QImage wordmark(int width, int height, const QString &text, const std::function<void(QPainter &, const QRectF &)> &drawMark)
{
    return painted(width, height, [&](QPainter &p) {
        const qreal markSize = height - 6;
        const qreal gap = height / 4.0;
        const qreal textRoom = width - markSize - gap - 4;

        int pixelSize = height + 6;
        while (QFontMetrics(boldSans(pixelSize)).capHeight() > height - 10
               || QFontMetrics(boldSans(pixelSize)).horizontalAdvance(text) > textRoom)
            --pixelSize;
        const QFont font = boldSans(pixelSize);
        const QFontMetrics metrics(font);
        const qreal textWidth = metrics.horizontalAdvance(text);

        const qreal left = (width - (markSize + gap + textWidth)) / 2;
        const QRectF markBox(left, (height - markSize) / 2, markSize, markSize);
        const QPointF baseline(markBox.right() + gap, (height + metrics.capHeight()) / 2.0);

        p.setFont(font);
        for (const bool shadow : {true, false}) {
            p.save();
            if (shadow)
                p.translate(1, 1);
            p.setPen(shadow ? QColor(0, 0, 40, 110) : QColor(Qt::white));
            p.drawText(baseline, text);
            drawMark(p, markBox);
            p.restore();
        }
    });
}

// A diamond outline around a smaller solid diamond, drawn in the pen colour.
void diamondMark(QPainter &p, const QRectF &box)
{
    const QPointF c = box.center();
    const qreal r = box.width() / 2 - 1.5;
    const qreal inner = r * 0.4;
    const QColor colour = p.pen().color();
    p.setPen(QPen(colour, 3, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPolygon(QPolygonF({{c.x(), c.y() - r}, {c.x() + r, c.y()}, {c.x(), c.y() + r}, {c.x() - r, c.y()}}));
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawPolygon(QPolygonF({{c.x(), c.y() - inner}, {c.x() + inner, c.y()}, {c.x(), c.y() + inner}, {c.x() - inner, c.y()}}));
}

// A ring holding three level bars, drawn in the pen colour.
void levelsMark(QPainter &p, const QRectF &box)
{
    const QColor colour = p.pen().color();
    const qreal ring = 3;
    p.setPen(QPen(colour, ring));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(box.adjusted(ring / 2, ring / 2, -ring / 2, -ring / 2));

    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    const QPointF c = box.center();
    const qreal barWidth = box.width() / 9;
    const qreal heights[] = {0.3, 0.5, 0.38};
    for (int bar = 0; bar < 3; ++bar) {
        const qreal h = box.height() * heights[bar];
        p.drawRect(QRectF(c.x() + (bar - 1) * 1.7 * barWidth - barWidth / 2, c.y() - h / 2, barWidth, h));
    }
}

bool reportFailure(const QString &message)
{
    std::fprintf(stderr, "orvane-drawicons: %s\n", qPrintable(message));
    return false;
}

QString pngPath(const QDir &dir, const QString &name)
{
    return dir.filePath(name + QStringLiteral(".png"));
}

bool savePng(const QDir &dir, const QString &name, const QImage &image)
{
    const QString path = pngPath(dir, name);
    return image.save(path, "PNG") || reportFailure(QStringLiteral("cannot write %1").arg(path));
}

// Copied byte for byte so the Silk originals stay untouched.
bool copyPng(const QString &sourcePath, const QDir &dir, const QString &name)
{
    const QString path = pngPath(dir, name);
    QFile::remove(path);
    if (!QFile::copy(sourcePath, path))
        return reportFailure(QStringLiteral("cannot copy %1 to %2").arg(sourcePath, path));
    return QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
}

bool writeResourceFile(const QDir &dir, QStringList names)
{
    names.sort();
    QFile file(dir.filePath(QStringLiteral("icons.qrc")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        return reportFailure(QStringLiteral("cannot write %1").arg(file.fileName()));
    QTextStream out(&file);
    out << "<!DOCTYPE RCC>\n<RCC version=\"1.0\">\n<qresource prefix=\"/icons\">\n";
    for (const QString &name : qAsConst(names))
        out << "    <file>" << name << ".png</file>\n";
    out << "</qresource>\n</RCC>\n";
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    const QStringList args = app.arguments();
    if (args.size() < 2 || args.size() > 3) {
        std::fprintf(stderr, "usage: orvane-drawicons <output-dir> [<silk-16x16-dir>]\n");
        return 2;
    }
    const QDir outDir(args.at(1));
    const QDir silkDir(args.size() > 2 ? args.at(2) : QString::fromLatin1(kDefaultSilkDir));
    if (!outDir.mkpath(QStringLiteral("."))) {
        reportFailure(QStringLiteral("cannot create %1").arg(args.at(1)));
        return 1;
    }

    bool ok = true;
    QStringList names;
    for (const SilkCopy &copy : kSilkCopies) {
        const QString name = QLatin1String(copy.name);
        ok = copyPng(pngPath(silkDir, QLatin1String(copy.silkName)), outDir, name) && ok;
        names << name;
    }

    const QImage asterisk(pngPath(silkDir, QStringLiteral("asterisk_yellow")));
    const QImage nextArrow(pngPath(silkDir, QStringLiteral("resultset_next")));
    if (asterisk.isNull() || nextArrow.isNull()) {
        reportFailure(QStringLiteral("missing Silk icons in %1").arg(silkDir.path()));
        return 1;
    }

    std::vector<std::pair<QString, QImage>> drawn = {
        {QStringLiteral("asterisk_gray"), recoloured(asterisk, 0, 0, 0.75)},
        {QStringLiteral("asterisk_green"), recoloured(asterisk, 70, 1, 0.8)},
        {QStringLiteral("asterisk_red"), recoloured(asterisk, -50, 1, 0.95)},
        {QStringLiteral("black_arrow_right"), recoloured(nextArrow, 0, 0, 0.3)},
        {QStringLiteral("curve_arrow_lr"), forkArrow()},
        {QStringLiteral("blank_16x16"), transparentCanvas(16, 16)},
        {QStringLiteral("signal_strength_multiple"), signalStrengthMultiple()},
        {QStringLiteral("braid_gray"), braidStatus(kBraidGray)},
        {QStringLiteral("braid_green"), braidStatus(kBraidGreen)},
        {QStringLiteral("braid_yellow"), braidStatus(kBraidYellow)},
        {QStringLiteral("braid_red"), braidStatus(kBraidRed)},
        {QStringLiteral("logo_halvik"), wordmark(224, 36, QStringLiteral("HALVIK"), diamondMark)},
        {QStringLiteral("logo_orvane"), wordmark(229, 41, QStringLiteral("ORVANE"), levelsMark)},
    };
    for (int level = 0; level <= 4; ++level)
        drawn.emplace_back(QStringLiteral("signal_strength_%1").arg(level), signalStrength(level));
    const std::pair<QString, QImage> devices[] = {
        {QStringLiteral("wired"), wiredDevice()},
        {QStringLiteral("wifi"), wifiDevice()},
        {QStringLiteral("phone"), phoneDevice()},
        {QStringLiteral("3g"), mobileDataDevice()},
    };
    for (const auto &device : devices) {
        drawn.push_back(device);
        drawn.emplace_back(device.first + QStringLiteral("_x"), withOffBadge(device.second));
    }

    for (const auto &icon : drawn) {
        ok = savePng(outDir, icon.first, icon.second) && ok;
        names << icon.first;
    }
    ok = writeResourceFile(outDir, names) && ok;
    return ok ? 0 : 1;
}
