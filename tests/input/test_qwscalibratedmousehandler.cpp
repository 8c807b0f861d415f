#include <calibration.h>
#include <qwscalibratedmousehandler.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTouchEvent>
#include <QTransform>
#include <QWidget>

namespace {

const QSize kScreen(640, 480);

// Where a skewed device reports a touch at a screen position.
QPoint reported(const QTransform& device, const QPoint& screen)
{
    return device.map(screen);
}

QWSPointerCalibrationData touches(const QTransform& device, const QVector<QPoint>& noise = {})
{
    QWSPointerCalibrationData data = Calibration::targets(kScreen);
    for (int i = 0; i <= QWSPointerCalibrationData::LastLocation; ++i)
        data.devPoints[i] = reported(device, data.screenPoints[i]) + noise.value(i);
    return data;
}

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

// Positions as the widget received them, in its own coordinates.
class PointerRecorder : public QWidget {
public:
    PointerRecorder()
        : QWidget(nullptr, Qt::FramelessWindowHint)
    {
        setAttribute(Qt::WA_AcceptTouchEvents);
        setGeometry(QRect(QPoint(0, 0), kScreen));
    }

    QVector<QPoint> presses;
    QVector<QPoint> touches;

protected:
    void mousePressEvent(QMouseEvent* event) override { presses << event->pos(); }
    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::TouchBegin) {
            for (const QTouchEvent::TouchPoint& point : static_cast<QTouchEvent*>(event)->touchPoints())
                touches << point.pos().toPoint();
            event->accept();
            return true;
        }
        return QWidget::event(event);
    }
};

} // namespace

class TestQWSCalibratedMouseHandler : public QObject {
    Q_OBJECT

private slots:
    void init();

    void fittedTransformUndoesTheDevice_data();
    void fittedTransformUndoesTheDevice();
    void touchesOnOneLineLeaveItCleared_data();
    void touchesOnOneLineLeaveItCleared();
    void calibrationSurvivesARestart();
    void pointercalIsRead_data();
    void pointercalIsRead();
    void pointerPositionsAreCalibrated_data();
    void pointerPositionsAreCalibrated();

private:
    QString pointercal() const { return m_dir.filePath("pointercal"); }

    QTemporaryDir m_dir;
};

void TestQWSCalibratedMouseHandler::init()
{
    QFile::remove(pointercal());
}

void TestQWSCalibratedMouseHandler::fittedTransformUndoesTheDevice_data()
{
    QTest::addColumn<QTransform>("device");
    QTest::addColumn<QVector<QPoint>>("noise");
    QTest::addColumn<int>("tolerance");

    QTest::newRow("exact") << QTransform() << QVector<QPoint>() << 0;
    QTest::newRow("scaled and shifted") << QTransform(1.5, 0, 0, 1.25, -40, 30) << QVector<QPoint>() << 1;
    QTest::newRow("skewed") << QTransform(0.9, 0.08, -0.05, 1.1, 25, -12) << QVector<QPoint>() << 1;
    QTest::newRow("mirrored") << QTransform(-1, 0, 0, 1, 640, 0) << QVector<QPoint>() << 0;
    QTest::newRow("rotated") << QTransform().translate(480, 0).rotate(90) << QVector<QPoint>() << 0;
    QTest::newRow("shaky finger") << QTransform(1.2, 0, 0, 0.8, 10, 10)
                                  << QVector<QPoint>{{2, -1}, {-2, 2}, {1, 1}, {-1, -2}, {0, 2}} << 6;
}

void TestQWSCalibratedMouseHandler::fittedTransformUndoesTheDevice()
{
    QFETCH(QTransform, device);
    QFETCH(QVector<QPoint>, noise);
    QFETCH(int, tolerance);

    QWSCalibratedMouseHandler handler(pointercal());
    const QWSPointerCalibrationData data = touches(device, noise);
    handler.calibrate(&data);

    // The targets themselves and points away from them.
    QVector<QPoint> screenPoints(std::begin(data.screenPoints), std::end(data.screenPoints));
    screenPoints << QPoint(0, 0) << QPoint(639, 479) << QPoint(200, 400) << QPoint(500, 100);
    for (const QPoint& screen : screenPoints) {
        const QPoint calibrated = handler.transform(reported(device, screen));
        QVERIFY2((calibrated - screen).manhattanLength() <= tolerance,
                 qPrintable(QStringLiteral("(%1, %2) came out as (%3, %4)")
                                .arg(screen.x())
                                .arg(screen.y())
                                .arg(calibrated.x())
                                .arg(calibrated.y())));
    }
}

void TestQWSCalibratedMouseHandler::touchesOnOneLineLeaveItCleared_data()
{
    QTest::addColumn<QTransform>("device");

    QTest::newRow("one spot") << QTransform(0, 0, 0, 0, 300, 200);
    QTest::newRow("one line") << QTransform(1, 1, 0, 0, 0, 0);
}

void TestQWSCalibratedMouseHandler::touchesOnOneLineLeaveItCleared()
{
    QFETCH(QTransform, device);

    const QByteArray previous = "2 0 0 0 2 0 1\n";
    QVERIFY(write(pointercal(), previous));
    QWSCalibratedMouseHandler handler(pointercal());
    QCOMPARE(handler.transform(QPoint(10, 20)), QPoint(20, 40));

    const QWSPointerCalibrationData data = touches(device);
    handler.calibrate(&data);

    QCOMPARE(handler.transform(QPoint(10, 20)), QPoint(10, 20));
    QCOMPARE(contents(pointercal()), previous);
}

void TestQWSCalibratedMouseHandler::calibrationSurvivesARestart()
{
    const QTransform device(0.9, 0.08, -0.05, 1.1, 25, -12);
    QWSCalibratedMouseHandler calibrated(pointercal());
    const QWSPointerCalibrationData data = touches(device);
    calibrated.calibrate(&data);

    const QList<QByteArray> fields = contents(pointercal()).trimmed().split(' ');
    QCOMPARE(fields.size(), 7);
    QCOMPARE(fields.last(), QByteArray("65536"));

    QWSCalibratedMouseHandler restarted(pointercal());
    for (const QPoint& p : {QPoint(0, 0), QPoint(64, 48), QPoint(333, 222), QPoint(639, 479)})
        QCOMPARE(restarted.transform(p), calibrated.transform(p));
}

void TestQWSCalibratedMouseHandler::pointercalIsRead_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QPoint>("mapped"); // where (100, 100) goes

    QTest::newRow("shifted") << QByteArray("65536 0 -655360 0 65536 655360 65536\n") << true << QPoint(90, 110);
    QTest::newRow("with resolution") << QByteArray("65536 0 -655360 0 65536 655360 65536 640 480\n") << true
                                     << QPoint(90, 110);
    QTest::newRow("swapped axes") << QByteArray("0 1 0 2 0 0 1") << true << QPoint(100, 200);
    QTest::newRow("empty") << QByteArray() << false << QPoint(100, 100);
    QTest::newRow("six numbers") << QByteArray("2 0 0 0 2 0") << false << QPoint(100, 100);
    QTest::newRow("zero scale") << QByteArray("2 0 0 0 2 0 0") << false << QPoint(100, 100);
    QTest::newRow("words") << QByteArray("a b c d e f g") << false << QPoint(100, 100);
}

void TestQWSCalibratedMouseHandler::pointercalIsRead()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, valid);
    QFETCH(QPoint, mapped);

    QVERIFY(write(pointercal(), text));
    QWSCalibratedMouseHandler handler(pointercal());

    QCOMPARE(handler.transform(QPoint(100, 100)), mapped);
    QCOMPARE(handler.readCalibration(), valid);
}

void TestQWSCalibratedMouseHandler::pointerPositionsAreCalibrated_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QPoint>("expected"); // where a touch at (100, 60) lands

    QTest::newRow("calibrated") << QByteArray("3 0 0 0 2 10 2") << QPoint(150, 65);
    QTest::newRow("cleared") << QByteArray() << QPoint(100, 60);
}

void TestQWSCalibratedMouseHandler::pointerPositionsAreCalibrated()
{
    QFETCH(QByteArray, text);
    QFETCH(QPoint, expected);

    if (!text.isEmpty())
        QVERIFY(write(pointercal(), text));
    QWSCalibratedMouseHandler handler(pointercal());
    PointerRecorder recorder;
    recorder.show();
    QVERIFY(QTest::qWaitForWindowExposed(&recorder));
    QCOMPARE(recorder.mapToGlobal(QPoint(0, 0)), QPoint(0, 0));

    QTest::mouseClick(recorder.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 60));
    QTouchDevice* touchScreen = QTest::createTouchDevice();
    QTest::touchEvent(recorder.windowHandle(), touchScreen).press(0, QPoint(100, 60), recorder.windowHandle());
    QTest::touchEvent(recorder.windowHandle(), touchScreen).release(0, QPoint(100, 60), recorder.windowHandle());

    QCOMPARE(recorder.presses, QVector<QPoint>{expected});
    QCOMPARE(recorder.touches, QVector<QPoint>{expected});
}

QTEST_MAIN(TestQWSCalibratedMouseHandler)
#include "test_qwscalibratedmousehandler.moc"
