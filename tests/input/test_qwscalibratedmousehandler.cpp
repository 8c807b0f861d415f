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

// Where the widget was pressed or touched, in its own coordinates; a touch it refuses comes back
// as a mouse press.
struct PressRecorder : QWidget {
    PressRecorder() : QWidget(nullptr, Qt::FramelessWindowHint)
    {
        setGeometry(0, 0, 640, 480);
        setAttribute(Qt::WA_AcceptTouchEvents);
    }
    bool event(QEvent* event) override
    {
        const auto* input = dynamic_cast<QInputEvent*>(event);
        untimed += input && !input->timestamp();
        if (event->type() == QEvent::MouseButtonPress)
            presses << static_cast<QMouseEvent*>(event)->pos();
        if (event->type() != QEvent::TouchBegin && event->type() != QEvent::TouchEnd)
            return QWidget::event(event);
        const QTouchEvent::TouchPoint point = static_cast<QTouchEvent*>(event)->touchPoints().value(0);
        if (event->type() == QEvent::TouchBegin)
            presses << point.pos().toPoint();
        else
            for (const QPointF& at : {point.startPos(), point.lastPos(), point.scenePos(), point.startScenePos(), point.lastScenePos()})
                presses << at.toPoint();
        event->setAccepted(acceptTouch);
        return acceptTouch;
    }

    QVector<QPoint> presses;
    int untimed = 0;
    bool acceptTouch = true;
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
        for (const char* text : {"2 0 0 0 2 0", "2 0 0 0 2 0 0", "a b c d e f g", ""}) {
            QVERIFY(*text ? write(pointercal(), text) : QFile::remove(pointercal()));
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
        QTouchDevice* screen = QTest::createTouchDevice();
        QWindow* window = recorder.windowHandle();
        QTest::touchEvent(window, screen).press(0, QPoint(20, 30), window);
        QTest::touchEvent(window, screen).move(0, QPoint(40, 50), window);
        QTest::touchEvent(window, screen).release(0, QPoint(60, 70), window);
        recorder.acceptTouch = false;
        QTest::touchEvent(window, screen).press(0, QPoint(100, 60), window);
        // The click; the touch's start, then at its end: start, last, and on the scene where, start,
        // last; the refused touch and its mouse press.
        QCOMPARE(recorder.presses, (QVector<QPoint>{{150, 65}, {30, 35}, {30, 35}, {60, 55}, {90, 75}, {30, 35},
                                                    {60, 55}, {150, 65}, {150, 65}}));
        QCOMPARE(recorder.untimed, 0);
    }

private:
    QString pointercal() const { return m_dir.filePath("pointercal"); }

    QTemporaryDir m_dir;
};

QTEST_MAIN(TestQWSCalibratedMouseHandler)
#include "test_qwscalibratedmousehandler.moc"
