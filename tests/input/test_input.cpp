#include "pickboardkeys.h"
#include "platformkey.h"

#include <calibration.h>
#include <keypadfilter.h>
#include <qwscalibratedmousehandler.h>
#include <qwsserver.h>
#include <scribblewidget.h>

#include <QtTest>
#include <QtWidgets>

namespace {

// A focusable widget that writes down every key it receives: "press 41 'a' 0", the code and the
// modifiers in hex, then "repeat" and "spontaneous" where they hold.
class KeyRecorder : public QWidget {
public:
    explicit KeyRecorder(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags()) : QWidget(parent, flags)
    {
        setFocusPolicy(Qt::StrongFocus);
    }
    QStringList keys;

protected:
    void keyPressEvent(QKeyEvent* e) override { keyReleaseEvent(e); }
    void keyReleaseEvent(QKeyEvent* e) override
    {
        keys << QStringLiteral("%1 %2 '%3' %4%5%6")
                    .arg(e->type() == QEvent::KeyPress ? "press" : "release").arg(e->key(), 0, 16).arg(e->text())
                    .arg(int(e->modifiers()), 0, 16).arg(e->isAutoRepeat() ? " repeat" : "", e->spontaneous() ? " spontaneous" : "");
    }
};

// Writes down what it is asked; consumes the key or not as told.
struct LoggingFilter : QWSServer::KeyboardFilter {
    LoggingFilter(QStringList* log, const QString& name, bool consume) : m_log(log), m_name(name), m_consume(consume)
    {
        QWSServer::addKeyboardFilter(this);
    }
    bool filter(int unicode, int keycode, int modifiers, bool isPress, bool autoRepeat) override
    {
        *m_log << QStringLiteral("%1 %2 %3 %4 %5%6")
                      .arg(m_name).arg(unicode, 0, 16).arg(keycode, 0, 16).arg(modifiers, 0, 16)
                      .arg(isPress ? "press" : "release", autoRepeat ? " repeat" : "");
        return m_consume;
    }
    QStringList* m_log;
    QString m_name;
    bool m_consume;
};

// A board on a keyboard-sized area, shown.
struct ShownBoard {
    ShownBoard()
    {
        area.resize(640, 110);
        area.show();
    }
    QWidget area;
    PickBoard board{&area};
};

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
const QTransform kDevice(0.95, 0.03, -0.04, 0.92, 20, 15);

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

// The input devices: keys on their way through the window server, its filters, the keypad filter
// and the on-screen keyboard; the touch screen's calibration and the pointer it corrects.
class TestInput : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        // Every run starts from an earlier calibration that doubles positions.
        QVERIFY(write(m_dir.filePath("pointercal"), "2 0 0 0 2 0 1\n"));
        m_handler = new QWSCalibratedMouseHandler(m_dir.filePath("pointercal"));
        QWSServer::setMouseHandler(m_handler);
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
            // A finger that lands beside each target, slides onto it and lifts there.
            QWindow* window = calibration.windowHandle();
            for (int i = 0; i < touches; ++i) {
                const QPoint point = kDevice.map(targets[i]);
                QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, point + QPoint(-30, -20));
                QTest::mouseMove(window, point + QPoint(-10, -5));
                QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, point);
            }
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
            QVERIFY((m_handler->transform(kDevice.map(target)) - target).manhattanLength() <= 1);

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
        // The targets themselves (a tenth in from each corner, and the middle) and points away from them.
        QVector<QPoint> screenPoints = targetsOn(QSize(640, 480));
        QCOMPARE(screenPoints, (QVector<QPoint>{{64, 48}, {64, 432}, {576, 432}, {576, 48}, {320, 240}}));
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

    // Above the focus widget: nothing, a modal dialog, a popup over the modal dialog.
    void injectedKeyGoesToTheTopmostReceiver_data()
    {
        QTest::addColumn<int>("layers");
        for (int layers : {0, 1, 2})
            QTest::addRow("%d", layers) << layers;
    }
    void injectedKeyGoesToTheTopmostReceiver()
    {
        QFETCH(int, layers);
        QWidget window;
        auto* focused = new KeyRecorder(&window);
        QVERIFY(showActive(&window));
        focused->setFocus();
        QDialog dialog(&window);
        dialog.setModal(true);
        auto* dialogFocused = new KeyRecorder(&dialog);
        KeyRecorder popup(nullptr, Qt::Popup);
        if (layers > 0) {
            dialog.show();
            dialogFocused->setFocus();
            // The modal dialog must win on its own, not by holding the application's focus.
            QApplication::setActiveWindow(&window);
            QCOMPARE(QApplication::focusWidget(), focused);
        }
        if (layers > 1)
            popup.show();

        QWSServer::sendKeyEvent('a', 'a', Qt::NoModifier, true, false);
        QWSServer::sendKeyEvent('a', 'a', Qt::NoModifier, false, false);
        const QList<KeyRecorder*> receivers{focused, dialogFocused, &popup};
        const QStringList typed{"press 41 'a' 0", "release 41 'a' 0"};
        for (KeyRecorder* recorder : receivers)
            QCOMPARE(recorder->keys, recorder == receivers[layers] ? typed : QStringList());
    }
    void filtersSeePlatformKeysOnceLatestFirst()
    {
        QStringList log;
        KeyRecorder recorder;
        QVERIFY(showActive(&recorder));
        recorder.setFocus();

        auto* consuming = new LoggingFilter(&log, "consuming", true);
        LoggingFilter passing(&log, "passing", false);
        sendPlatformKey(&recorder, true, Qt::Key_1, Qt::NoModifier, "1");
        QWSServer::removeKeyboardFilter();
        sendPlatformKey(&recorder, true, Qt::Key_2, Qt::NoModifier, "2");
        QCOMPARE(log, QStringList({"passing 31 31 0 press", "consuming 31 31 0 press", "consuming 32 32 0 press"}));
        QCOMPARE(recorder.keys, QStringList());

        // A passed platform key is typed without asking the filters again; an injected one never meets them.
        log.clear();
        delete consuming;
        LoggingFilter filter(&log, "f", false);
        sendPlatformKey(&recorder, false, Qt::Key_X, Qt::ShiftModifier, "X");
        sendPlatformKey(&recorder, true, Qt::Key_Down, Qt::NoModifier, QString(), true);
        QWSServer::sendKeyEvent('y', 'y', Qt::NoModifier, true, false);
        QCOMPARE(log, QStringList({"f 58 58 2000000 release", "f ffff 1000015 0 press repeat"}));
        QCOMPARE(recorder.keys, QStringList({"release 58 'X' 2000000 spontaneous",
                                             "press 1000015 '' 0 repeat spontaneous", "press 59 'y' 0"}));
    }
    // A key with Shift (S), Control (C) or auto-repeat (r) as the platform delivers it, and the
    // keypad key reported in its place, "-" where it is passed on unchanged.
    void keysAreReportedOrPassedOn_data()
    {
        QTest::addColumn<QStringList>("key");
        QTest::addColumn<QString>("reported");
        for (const char* row : {"Left Left", "Up Up", "Right Right", "Down Down", "Enter Enter", "F1 F1", "F2 F2", "F25 F25",
                                "Asterisk,r Asterisk", "F1,C F1", "Return Enter", "Alt F1", "Return,S -", "Alt,C -", "A -", "B,S,r -"})
            QTest::newRow(row) << QString(row).section(' ', 0, 0).split(',') << QString(row).section(' ', 1);
    }
    void keysAreReportedOrPassedOn()
    {
        QFETCH(QStringList, key);
        QFETCH(QString, reported);
        const auto code = [](const QString& name) {
            return QMetaEnum::fromType<Qt::Key>().keyToValue(qPrintable("Key_" + name));
        };
        const int keycode = code(key[0]);
        const Qt::KeyboardModifiers modifiers = (key.contains("S") ? Qt::ShiftModifier : Qt::NoModifier)
            | (key.contains("C") ? Qt::ControlModifier : Qt::NoModifier);
        const bool autoRepeat = key.contains("r");
        const QString text = keycode < 0x100 ? QString(modifiers ? QChar(keycode) : QChar(keycode).toLower()) : QString();
        KeypadFilter filter;
        QSignalSpy keypad(&filter, &KeypadFilter::keypadPress);
        KeyRecorder recorder;
        QVERIFY(showActive(&recorder));
        recorder.setFocus();
        // What each reaches: the keypad, or, passed on by injection, the focused widget as a
        // key no longer spontaneous (a modifier key reads its own bit as well; QKeyEvent adds it).
        KeyRecorder expected;
        QList<QVariantList> sent;
        for (bool press : {true, false}) {
            sendPlatformKey(&recorder, press, keycode, modifiers, text, autoRepeat);
            QKeyEvent typed(press ? QEvent::KeyPress : QEvent::KeyRelease, keycode, modifiers, text, autoRepeat);
            if (reported == "-")
                QApplication::sendEvent(&expected, &typed);
            else
                sent << QVariantList{code(reported), int(modifiers), press, autoRepeat};
        }
        QCOMPARE(recorder.keys, expected.keys);
        QCOMPARE(QList<QVariantList>(keypad), sent);
    }
    // Captions of a, 1, 7, shift and caps after the clicks, "*" where a toggle is checked.
    void clicksSendCodesAndRelabel_data()
    {
        QTest::addColumn<QString>("clicks");
        QTest::addColumn<QString>("emitted");
        QTest::addColumn<QString>("captions");
        // The release code follows the Shift bit, which Caps Lock sets; the press code does not.
        const char* table = R"(
<< enter space | press 16777219, release 16777219, press 16777221, release 16777221, press 32, release 32 | a 1 7 shift caps
caps a z | press 65 shift, release 65 shift, press 90 shift, release 90 shift | A 1 7 shift CAPS*
caps 1 | press 49 shift, release 33 shift | A 1 7 shift CAPS*
caps caps | | a 1 7 shift caps
shift | press 0 shift | A ! && SHIFT* caps
shift q q | press 0 shift, press 81 shift, release 81 shift, press 113, release 113 | a 1 7 shift caps
shift 7 | press 0 shift, press 38 shift, release 38 shift | a 1 7 shift caps
shift shift 1 | press 0 shift, release 0, press 49, release 49 | a 1 7 shift caps
caps shift | press 0 | a ! && SHIFT* CAPS*
caps shift a b | press 0, press 97, release 97, press 66 shift, release 66 shift | A 1 7 shift CAPS*
caps shift num alpha a | press 0, press 97, release 97 | a 1 7 shift caps)";
        for (const QString& line : QString(table).split('\n', Qt::SkipEmptyParts)) {
            const QStringList cells = line.split('|');
            QTest::newRow(qPrintable(cells.value(0))) << cells.value(0).trimmed() << cells.value(1).trimmed()
                                                      << cells.value(2).trimmed();
        }
    }
    void clicksSendCodesAndRelabel()
    {
        QFETCH(QString, clicks);
        QFETCH(QString, emitted);
        QFETCH(QString, captions);
        ShownBoard shown;
        QStringList actual;
        connect(&shown.board, &PickBoard::key, this,
                [&](uint unicode, uint scancode, Qt::KeyboardModifiers modifiers, bool press, bool repeat) {
                    QString event = QStringLiteral("%1 %2").arg(press ? "press" : "release").arg(unicode);
                    if (scancode != unicode || repeat || (modifiers & ~Qt::ShiftModifier))
                        event += " unexpected";
                    actual << event + (modifiers & Qt::ShiftModifier ? " shift" : "");
                });
        QVERIFY(clickPickBoard(shown.board, clicks.split(' ')));
        QCOMPARE(actual.join(", "), emitted);
        QStringList seen;
        for (const char* label : {"a", "1", "7", "shift", "caps"}) {
            const KeyButton* button = pickBoardButton(shown.board, label);
            seen << button->text() + (button->isChecked() ? "*" : "");
        }
        QCOMPARE(seen.join(' '), captions);
    }
    // Each key of a page as "caption:column,row,width" in units of 21 by 27 pixels, in order.
    // Each page's keys in order, rows apart by "/", in units of 21 by 27 pixels: "caption:column,width"
    // where a key does not follow on from the one before with the same width.
    void pagesShowEveryKeyInPlace()
    {
        ShownBoard shown;
        const auto page = [&] {
            QString keys;
            QRect last(0, -1, 0, 0);
            for (const KeyButton* b : shown.board.findChildren<KeyButton*>()) {
                if (!b->isVisibleTo(&shown.board))
                    continue;
                keys += b->y() != last.y() ? " / " : " ";
                const bool follows = b->y() == last.y() && b->x() == last.right() + 1 && b->width() == last.width();
                keys += follows ? b->text() : QString("%1:%2,%3").arg(b->text()).arg(b->x() / 21).arg(b->width() / 21);
                last = b->geometry();
            }
            return keys.mid(3);
        };
        const QString letters = "`:0,2 1 2 3 4 5 6 7 8 9 0 - = <<:26,4 / num:0,3 q:3,2 w e r t y u i o p [ ] \\ / caps:0,4 "
                                "a:4,2 s d f g h j k l ; ' enter:26,4 / shift:0,5 z:5,2 x c v b n m , . / space:25,5";
        QCOMPARE(page(), letters);
        QVERIFY(clickPickBoard(shown.board, {"num"}));
        QCOMPARE(page(), QString("7:6,6 8 9 <<:26,4 / alpha:0,4 4:6,6 5 6 / 1:6,6 2 3 / 0:6,12 .:18,6"));
        QVERIFY(clickPickBoard(shown.board, {"alpha"}));
        QCOMPARE(page(), letters);
    }
private:
    // The device file of the handler under test, apart from the installed one.
    QString pointercal() const { return m_dir.filePath("device"); }

    QTemporaryDir m_dir;
    QWSCalibratedMouseHandler* m_handler = nullptr;
};

QTEST_MAIN(TestInput)
#include "test_input.moc"
