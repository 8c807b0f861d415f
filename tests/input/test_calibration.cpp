#include <calibration.h>
#include <qwscalibratedmousehandler.h>
#include <qwsserver.h>

#include <QApplication>
#include <QFile>
#include <QMouseEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTransform>

namespace {

constexpr int kTargets = QWSPointerCalibrationData::LastLocation + 1;

// Where the skewed test device reports a touch at a screen position.
QPoint reported(const QPoint& screen)
{
    return QTransform(0.95, 0.03, -0.04, 0.92, 20, 15).map(screen);
}

QVector<QPoint> screenTargets()
{
    const QWSPointerCalibrationData data = Calibration::targets(QGuiApplication::primaryScreen()->size());
    return QVector<QPoint>(std::begin(data.screenPoints), std::end(data.screenPoints));
}

// A finger that lands beside the point, slides onto it and lifts there.
void touch(QWindow* window, const QPoint& point)
{
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, point + QPoint(-30, -20));
    QTest::mouseMove(window, point + QPoint(-10, -5));
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, point);
}

bool shows(const QImage& image, const QRect& area, const QColor& colour)
{
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (image.pixelColor(x, y) == colour)
                return true;
    return false;
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

class TestCalibration : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        // Every run starts from an earlier calibration that doubles positions.
        QFile file(pointercal());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write("2 0 0 0 2 0 1\n") > 0);
        file.close();
        m_handler = new QWSCalibratedMouseHandler(pointercal());
        QWSServer::setMouseHandler(m_handler);
        QCOMPARE(m_handler->transform(QPoint(5, 7)), QPoint(10, 14));
    }

    void targets()
    {
        const QWSPointerCalibrationData data = Calibration::targets(QSize(640, 480));
        QCOMPARE(QVector<QPoint>(std::begin(data.screenPoints), std::end(data.screenPoints)),
                 (QVector<QPoint>{{64, 48}, {64, 432}, {576, 432}, {576, 48}, {320, 240}}));
    }
    void runCalibratesOrAborts_data()
    {
        QTest::addColumn<int>("touches");
        QTest::addColumn<bool>("abort");

        QTest::newRow("five touches") << kTargets << false;
        QTest::newRow("abort at once") << 0 << true;
        QTest::newRow("abort after two") << 2 << true;
        QTest::newRow("abort after four") << 4 << true;
    }
    void runCalibratesOrAborts()
    {
        QFETCH(int, touches);
        QFETCH(bool, abort);

        const QVector<QPoint> targets = screenTargets();
        Calibration calibration;
        QString crosses; // which targets show the yellow cross before the abort
        QString texts;   // which of the three texts show in their colours
        bool holdsThePointer = false;
        QTimer::singleShot(0, &calibration, [&] {
            holdsThePointer = QWidget::mouseGrabber() == &calibration;
            for (int i = 0; i < touches; ++i)
                touch(calibration.windowHandle(), reported(targets[i]));
            if (!abort)
                return;
            // What the screen shows once repainted, not a fresh rendering.
            const auto screen = [&] { return QGuiApplication::primaryScreen()->grabWindow(calibration.winId()).toImage(); };
            const auto cross = [](const QImage& shown, const QPoint& at) {
                return shown.pixelColor(at + QPoint(5, 0)) == Qt::yellow && shown.pixelColor(at + QPoint(0, 5)) == Qt::yellow;
            };
            QTest::qWaitFor([&] { return cross(screen(), targets[touches]); }, 1000);
            const QImage shown = screen();
            // Only the cross is yellow; the other targets may lie under the texts.
            for (const QPoint& target : targets)
                crosses += cross(shown, target) ? 'x' : '.';
            for (const auto& [top, colour] : {std::pair(50, Qt::white), std::pair(270, Qt::cyan), std::pair(300, Qt::red)})
                texts += shows(shown, QRect(10, top, 220, 16), colour) ? 'x' : '.';
            calibration.reject();
        });
        const QByteArray before = contents(pointercal());

        const int result = calibration.exec();
        QVERIFY(holdsThePointer);
        QVERIFY(!QWidget::mouseGrabber());

        if (abort) {
            QCOMPARE(result, int(QDialog::Rejected));
            QCOMPARE(crosses, QString(kTargets, '.').replace(touches, 1, 'x'));
            QCOMPARE(texts, QStringLiteral("xxx"));
            QCOMPARE(m_handler->transform(QPoint(123, 45)), QPoint(123, 45));
            QCOMPARE(contents(pointercal()), before);
            return;
        }
        QCOMPARE(result, int(QDialog::Accepted));
        QVERIFY(contents(pointercal()) != before);
        for (const QPoint& target : targets)
            QVERIFY((m_handler->transform(reported(target)) - target).manhattanLength() <= 1);
    }
    void touchesAfterTheLastAreIgnored()
    {
        const QVector<QPoint> targets = screenTargets();
        Calibration calibration;
        QTimer::singleShot(0, &calibration, [&] {
            for (const QPoint& target : targets)
                touch(calibration.windowHandle(), reported(target));
        });
        QCOMPARE(calibration.exec(), int(QDialog::Accepted));
        const QByteArray calibrated = contents(pointercal());

        // Painted and touched once more before the dialog is gone: no target, no change.
        const QImage done = calibration.grab().toImage();
        QVERIFY(!done.isNull());
        QVERIFY(!shows(done, done.rect(), Qt::yellow));
        QMouseEvent late(QEvent::MouseButtonRelease, QPointF(targets[0]), QPointF(targets[0]), Qt::LeftButton, Qt::NoButton,
                         Qt::NoModifier);
        QApplication::sendEvent(&calibration, &late);
        QCOMPARE(calibration.grab().toImage(), done);
        QCOMPARE(contents(pointercal()), calibrated);
    }

private:
    QString pointercal() const { return m_dir.filePath("pointercal"); }

    QTemporaryDir m_dir;
    QWSCalibratedMouseHandler* m_handler = nullptr;
};

QTEST_MAIN(TestCalibration)
#include "test_calibration.moc"
