#include <calibration.h>
#include <qwscalibratedmousehandler.h>
#include <qwsserver.h>
#include <scribblewidget.h>

#include <QtTest>
#include <QtWidgets>

namespace {

// The calibration screens' three lines of instructions: "x" for each of the white, cyan and red
// lines (16 pixels high at 50, 270 and 300, `width` wide from x = 10) that shows its colour.
inline QString instructionLines(const QImage& image, int width)
{
    QString seen;
    for (const auto& [top, colour] : {std::pair(50, Qt::white), std::pair(270, Qt::cyan), std::pair(300, Qt::red)}) {
        bool found = false;
        for (int at = 0; at < width * 16 && !found; ++at)
            found = image.pixelColor(10 + at % width, top + at / width) == colour;
        seen += found ? 'x' : '.';
    }
    return seen;
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

constexpr int kTargets = QWSPointerCalibrationData::LastLocation + 1;

QVector<QPoint> targetsOn(const QSize& screen)
{
    const QWSPointerCalibrationData data = Calibration::targets(screen);
    return QVector<QPoint>(std::begin(data.screenPoints), std::end(data.screenPoints));
}

// Where the skewed test device reports a touch at a screen position.
QPoint reported(const QPoint& screen)
{
    return QTransform(0.95, 0.03, -0.04, 0.92, 20, 15).map(screen);
}

// A finger that lands beside the point, slides onto it and lifts there.
void touch(QWindow* window, const QPoint& point)
{
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, point + QPoint(-30, -20));
    QTest::mouseMove(window, point + QPoint(-10, -5));
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, point);
}

// "x" for each target with a yellow cross thirteen pixels across and down, then the instruction
// lines and the background: "..x.. xxx blue".
QString shown(const QImage& image, const QVector<QPoint>& targets)
{
    QString seen;
    for (const QPoint& at : targets) {
        const auto yellow = [&](int dx, int dy) { return image.pixelColor(at + QPoint(dx, dy)) == Qt::yellow; };
        seen += yellow(-6, 0) && yellow(6, 0) && yellow(0, -6) && yellow(0, 6) && !yellow(7, 0) && !yellow(0, 7) ? 'x' : '.';
    }
    return seen + ' ' + instructionLines(image, 220) + (image.pixelColor(1, 1) == Qt::blue ? " blue" : "");
}

} // namespace

class TestCalibration : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        // Every run starts from an earlier calibration that doubles positions.
        QVERIFY(write(m_dir.filePath("pointercal"), "2 0 0 0 2 0 1\n"));
        m_handler = new QWSCalibratedMouseHandler(m_dir.filePath("pointercal"));
        QWSServer::setMouseHandler(m_handler);
    }
    void targets()
    {
        QCOMPARE(targetsOn(QSize(640, 480)), (QVector<QPoint>{{64, 48}, {64, 432}, {576, 432}, {576, 48}, {320, 240}}));
    }
    // Aborted (F2) after some touches, or calibrated by all five.
    void runCalibratesOrAborts_data()
    {
        QTest::addColumn<int>("touches");
        for (int touches : {0, 2, 4, kTargets})
            QTest::addRow("%d", touches) << touches;
    }
    void runCalibratesOrAborts()
    {
        QFETCH(int, touches);
        const QVector<QPoint> targets = targetsOn(QGuiApplication::primaryScreen()->size());
        const auto stored = [this] { return m_handler->transform(QPoint(123, 45)); };
        const QPoint before = stored();
        Calibration calibration;
        QString seen;
        bool holdsThePointer = false;
        QTimer::singleShot(0, &calibration, [&] {
            holdsThePointer = QWidget::mouseGrabber() == &calibration;
            for (int i = 0; i < touches; ++i)
                touch(calibration.windowHandle(), reported(targets[i]));
            if (touches == kTargets)
                return;
            // What the screen shows once repainted, not a fresh rendering.
            const auto screen = [&] { return QGuiApplication::primaryScreen()->grabWindow(calibration.winId()).toImage(); };
            static_cast<void>(QTest::qWaitFor([&] { return shown(screen(), targets)[touches] == 'x'; }, 1000));
            seen = shown(screen(), targets);
            calibration.reject();
        });
        const int result = calibration.exec();
        QVERIFY(holdsThePointer);
        QVERIFY(!QWidget::mouseGrabber());

        if (touches < kTargets) {
            QCOMPARE(result, int(QDialog::Rejected));
            QCOMPARE(seen, QString(kTargets, '.').replace(touches, 1, 'x') + " xxx blue");
            // Left cleared for the operator to decide; the stored calibration is not reloaded.
            QCOMPARE(stored(), QPoint(123, 45));
            QCOMPARE(QWSCalibratedMouseHandler(m_dir.filePath("pointercal")).transform(QPoint(123, 45)), before);
            return;
        }
        QCOMPARE(result, int(QDialog::Accepted));
        for (const QPoint& target : targets)
            QVERIFY((m_handler->transform(reported(target)) - target).manhattanLength() <= 1);

        // Painted and touched once more before the dialog is gone: no target, no change.
        const QPoint calibrated = stored();
        const QImage done = calibration.grab().toImage();
        QCOMPARE(shown(done, targets), QString(kTargets, '.') + " xxx blue");
        QMouseEvent late(QEvent::MouseButtonRelease, QPointF(targets[0]), QPointF(targets[0]), Qt::LeftButton,
                         Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(&calibration, &late);
        QCOMPARE(calibration.grab().toImage(), done);
        QCOMPARE(stored(), calibrated);
    }
    // The left button draws yellow on blue, the right one nothing.
    void leftDragDrawsUntilResized()
    {
        m_handler->clearCalibration(); // drawn where the device reports
        for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) {
            ScribbleWidget scribble(nullptr);
            scribble.setWindowFlags(Qt::FramelessWindowHint);
            scribble.resize(640, 480);
            scribble.show();
            QVERIFY(QTest::qWaitForWindowExposed(&scribble));
            QWindow* window = scribble.windowHandle();
            QTest::mousePress(window, button, Qt::NoModifier, QPoint(100, 150));
            QTest::mouseMove(window, QPoint(300, 150));
            // A release away from the last move, without the move the platform would add before it.
            QMouseEvent release(QEvent::MouseButtonRelease, QPointF(300, 220), button, Qt::NoButton, Qt::NoModifier);
            QApplication::sendEvent(&scribble, &release);
            const auto colours = [&](const QVector<QPoint>& points) {
                const QImage image = scribble.grab().toImage();
                QString seen = instructionLines(image, 630);
                for (const QPoint& at : points)
                    seen += image.pixelColor(at) == Qt::yellow ? " yellow" : image.pixelColor(at) == Qt::blue ? " blue" : " other";
                return seen;
            };
            // A move after the release draws nothing, and a new size starts a clean surface.
            QTest::mouseMove(window, QPoint(500, 220));
            // The move, the release, off the line, the move after the release.
            QCOMPARE(colours({{200, 150}, {300, 185}, {200, 200}, {400, 220}}),
                     QString(button == Qt::LeftButton ? "xxx yellow yellow blue blue" : "xxx blue blue blue blue"));
            scribble.resize(600, 400);
            QCOMPARE(colours({{200, 150}}), QString("xxx blue"));
        }
    }

    void calibrateFitsTheDevice_data()
    {
        QTest::addColumn<QTransform>("device");
        QTest::addColumn<QVector<QPoint>>("noise");
        QTest::addColumn<int>("tolerance"); // -1: touches on one line leave the handler cleared
        QTest::addColumn<QByteArray>("stored"); // the file written, when the fit is exact

        QTest::newRow("scaled and shifted") << QTransform(2, 0, 0, 2, 10, 20) << QVector<QPoint>() << 0
                                            << QByteArray("32768 0 -327680 0 32768 -655360 65536\n");
        QTest::newRow("skewed") << QTransform(0.9, 0.08, -0.05, 1.1, 25, -12) << QVector<QPoint>() << 1 << QByteArray();
        // Touches a little off their targets still fit closely.
        QTest::newRow("shaky finger") << QTransform(1.2, 0, 0, 0.8, 10, 10)
                                      << QVector<QPoint>{{2, -1}, {-2, 2}, {1, 1}, {-1, -2}, {0, 2}} << 6 << QByteArray();
        QTest::newRow("one line") << QTransform(1, 1, 0, 0, 0, 0) << QVector<QPoint>() << -1 << QByteArray();
    }
    void calibrateFitsTheDevice()
    {
        QFETCH(QTransform, device);
        QFETCH(QVector<QPoint>, noise);
        QFETCH(int, tolerance);
        QFETCH(QByteArray, stored);

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

        if (!stored.isEmpty())
            QCOMPARE(contents(pointercal()), stored);
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
        m_handler->clearCalibration(); // only the handler under test calibrates
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
    // The device file of the handler under test, apart from the installed one.
    QString pointercal() const { return m_dir.filePath("device"); }

    QTemporaryDir m_dir;
    QWSCalibratedMouseHandler* m_handler = nullptr;
};

QTEST_MAIN(TestCalibration)
#include "test_calibration.moc"
