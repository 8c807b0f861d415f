#include <calibration.h>
#include <qwscalibratedmousehandler.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTouchEvent>
#include <QTransform>
#include <QWidget>

namespace {

QWSPointerCalibrationData touches(const QTransform& device, const QVector<QPoint>& noise = {})
{
    QWSPointerCalibrationData data = Calibration::targets(QSize(640, 480));
    for (int i = 0; i <= QWSPointerCalibrationData::LastLocation; ++i)
        data.devPoints[i] = device.map(data.screenPoints[i]) + noise.value(i);
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
        setGeometry(0, 0, 640, 480);
    }

    QVector<QPoint> presses;
    QVector<QPoint> touches;

protected:
    void mousePressEvent(QMouseEvent* event) override { presses << event->pos(); }
    bool event(QEvent* event) override
    {
        if (event->type() != QEvent::TouchBegin)
            return QWidget::event(event);
        for (const QTouchEvent::TouchPoint& point : static_cast<QTouchEvent*>(event)->touchPoints())
            touches << point.pos().toPoint();
        event->accept();
        return true;
    }
};

} // namespace

class TestQWSCalibratedMouseHandler : public QObject {
    Q_OBJECT

private slots:
    void init() { QFile::remove(pointercal()); }
    void calibrateFitsTheDevice_data();
    void calibrateFitsTheDevice();
    void pointercalIsRead_data();
    void pointercalIsRead();
    void pointerPositionsAreCalibrated();

private:
    QString pointercal() const { return m_dir.filePath("pointercal"); }

    QTemporaryDir m_dir;
};

void TestQWSCalibratedMouseHandler::calibrateFitsTheDevice_data()
{
    QTest::addColumn<QTransform>("device");
    QTest::addColumn<QVector<QPoint>>("noise");
    QTest::addColumn<int>("tolerance"); // -1: touches on one line leave the handler cleared

    QTest::newRow("skewed") << QTransform(0.9, 0.08, -0.05, 1.1, 25, -12) << QVector<QPoint>() << 1;
    QTest::newRow("rotated") << QTransform().translate(480, 0).rotate(90) << QVector<QPoint>() << 0;
    QTest::newRow("shaky finger") << QTransform(1.2, 0, 0, 0.8, 10, 10)
                                  << QVector<QPoint>{{2, -1}, {-2, 2}, {1, 1}, {-1, -2}, {0, 2}} << 6;
    QTest::newRow("one spot") << QTransform(0, 0, 0, 0, 300, 200) << QVector<QPoint>() << -1;
    QTest::newRow("one line") << QTransform(1, 1, 0, 0, 0, 0) << QVector<QPoint>() << -1;
}

void TestQWSCalibratedMouseHandler::calibrateFitsTheDevice()
{
    QFETCH(QTransform, device);
    QFETCH(QVector<QPoint>, noise);
    QFETCH(int, tolerance);

    const QByteArray previous = "2 0 0 0 2 0 1\n";
    QVERIFY(write(pointercal(), previous));
    QWSCalibratedMouseHandler handler(pointercal());
    QCOMPARE(handler.transform(QPoint(10, 20)), QPoint(20, 40));
    const QWSPointerCalibrationData data = touches(device, noise);
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

    const QList<QByteArray> fields = contents(pointercal()).trimmed().split(' ');
    QCOMPARE(fields.size(), 7);
    QCOMPARE(fields.last(), QByteArray("65536"));
    QWSCalibratedMouseHandler restarted(pointercal());
    for (const QPoint& p : screenPoints)
        QCOMPARE(restarted.transform(p), handler.transform(p));
}

void TestQWSCalibratedMouseHandler::pointercalIsRead_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QPoint>("mapped"); // where (100, 100) goes

    QTest::newRow("shifted") << QByteArray("65536 0 -655360 0 65536 655360 65536\n") << true << QPoint(90, 110);
    QTest::newRow("with resolution") << QByteArray("0 1 0 2 0 0 1 640 480\n") << true << QPoint(100, 200);
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

void TestQWSCalibratedMouseHandler::pointerPositionsAreCalibrated()
{
    QVERIFY(write(pointercal(), "3 0 0 0 2 10 2"));
    QWSCalibratedMouseHandler handler(pointercal());
    PointerRecorder recorder;
    recorder.show();
    QVERIFY(QTest::qWaitForWindowExposed(&recorder));
    QWindow* window = recorder.windowHandle();

    QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, QPoint(100, 60));
    QTouchDevice* touchScreen = QTest::createTouchDevice();
    QTest::touchEvent(window, touchScreen).press(0, QPoint(100, 60), window);
    QTest::touchEvent(window, touchScreen).release(0, QPoint(100, 60), window);

    QCOMPARE(recorder.presses, QVector<QPoint>{QPoint(150, 65)});
    QCOMPARE(recorder.touches, QVector<QPoint>{QPoint(150, 65)});
}

QTEST_MAIN(TestQWSCalibratedMouseHandler)
#include "test_qwscalibratedmousehandler.moc"
