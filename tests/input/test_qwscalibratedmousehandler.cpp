#include <calibration.h>
#include <qwscalibratedmousehandler.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTransform>
#include <QWidget>

namespace {

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

bool write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

// Press positions as the widget received them, in its own coordinates.
struct PressRecorder : QWidget {
    PressRecorder() : QWidget(nullptr, Qt::FramelessWindowHint) { setGeometry(0, 0, 640, 480); }
    void mousePressEvent(QMouseEvent* event) override { presses << event->pos(); }

    QVector<QPoint> presses;
};

} // namespace

class TestQWSCalibratedMouseHandler : public QObject {
    Q_OBJECT

private slots:
    void init() { QFile::remove(pointercal()); }
    void calibrateFitsTheDevice_data()
    {
        QTest::addColumn<QTransform>("device");
        QTest::addColumn<QVector<QPoint>>("noise");
        QTest::addColumn<int>("tolerance"); // -1: touches on one line leave the handler cleared

        QTest::newRow("skewed") << QTransform(0.9, 0.08, -0.05, 1.1, 25, -12) << QVector<QPoint>() << 1;
        // Touches a little off their targets still fit closely.
        QTest::newRow("shaky finger") << QTransform(1.2, 0, 0, 0.8, 10, 10)
                                      << QVector<QPoint>{{2, -1}, {-2, 2}, {1, 1}, {-1, -2}, {0, 2}} << 6;
        QTest::newRow("one line") << QTransform(1, 1, 0, 0, 0, 0) << QVector<QPoint>() << -1;
    }
    void calibrateFitsTheDevice()
    {
        QFETCH(QTransform, device);
        QFETCH(QVector<QPoint>, noise);
        QFETCH(int, tolerance);

        const QByteArray previous = "2 0 0 0 2 0 1\n";
        QVERIFY(write(pointercal(), previous));
        QWSCalibratedMouseHandler handler(pointercal());
        QCOMPARE(handler.transform(QPoint(10, 20)), QPoint(20, 40));
        QWSPointerCalibrationData data = Calibration::targets(QSize(640, 480));
        for (int i = 0; i <= QWSPointerCalibrationData::LastLocation; ++i)
            data.devPoints[i] = device.map(data.screenPoints[i]) + noise.value(i);
        handler.calibrate(&data);

        if (tolerance < 0) {
            QCOMPARE(handler.transform(QPoint(10, 20)), QPoint(10, 20));
            QCOMPARE(contents(pointercal()), previous);
            return;
        }
        // The targets themselves and points away from them.
        QVector<QPoint> screenPoints(std::begin(data.screenPoints), std::end(data.screenPoints));
        screenPoints << QPoint(0, 0) << QPoint(639, 479) << QPoint(200, 400);
        for (const QPoint& screen : screenPoints)
            QVERIFY((handler.transform(device.map(screen)) - screen).manhattanLength() <= tolerance);

        QCOMPARE(contents(pointercal()).trimmed().split(' ').size(), 7);
        QWSCalibratedMouseHandler restarted(pointercal());
        for (const QPoint& p : screenPoints)
            QCOMPARE(restarted.transform(p), handler.transform(p));
    }
    // A file the handler cannot use leaves the pointer as the device gives it.
    void unusablePointercalIsIgnored()
    {
        for (const char* text : {"2 0 0 0 2 0", "2 0 0 0 2 0 0", "a b c d e f g"}) {
            QVERIFY(write(pointercal(), text));
            QWSCalibratedMouseHandler handler(pointercal());
            QVERIFY(!handler.readCalibration());
            QCOMPARE(handler.transform(QPoint(100, 100)), QPoint(100, 100));
        }
    }
    void pointerPositionsAreCalibrated()
    {
        QVERIFY(write(pointercal(), "3 0 0 0 2 10 2"));
        QWSCalibratedMouseHandler handler(pointercal());
        PressRecorder recorder;
        recorder.show();
        QVERIFY(QTest::qWaitForWindowExposed(&recorder));
        QTest::mouseClick(recorder.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 60));
        QCOMPARE(recorder.presses, QVector<QPoint>{QPoint(150, 65)});
    }

private:
    QString pointercal() const { return m_dir.filePath("pointercal"); }

    QTemporaryDir m_dir;
};

QTEST_MAIN(TestQWSCalibratedMouseHandler)
#include "test_qwscalibratedmousehandler.moc"
