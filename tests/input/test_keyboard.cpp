#include "pickboardkeys.h"
#include "platformkey.h"

#include <keypadfilter.h>
#include <qwsserver.h>

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

} // namespace

// Keys on their way: the window server and its filters, the keypad filter, the on-screen keyboard.
class TestKeyboard : public QObject {
    Q_OBJECT

private slots:
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
        // Other events pass untouched.
        bool timerFired = false;
        QTimer::singleShot(0, [&] { timerFired = true; });
        QTRY_VERIFY(timerFired);
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
        const auto code = [](const QString& name) { return QMetaEnum::fromType<Qt::Key>().keyToValue(qPrintable("Key_" + name)); };
        const int keycode = code(key[0]);
        const Qt::KeyboardModifiers modifiers((key.contains("S") ? Qt::ShiftModifier : 0) | (key.contains("C") ? Qt::ControlModifier : 0));
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
    void pagesShowEveryKeyInPlace()
    {
        ShownBoard shown;
        const auto page = [&] {
            QStringList keys;
            for (const KeyButton* b : shown.board.findChildren<KeyButton*>()) {
                if (b->isVisibleTo(&shown.board))
                    keys << QString("%1:%2,%3,%4").arg(b->text()).arg(b->x() / 21).arg(b->y() / 27).arg(b->width() / 21);
            }
            return keys.join(' ');
        };
        const QString letters = QStringList{
            "`:0,0,2 1:2,0,2 2:4,0,2 3:6,0,2 4:8,0,2 5:10,0,2 6:12,0,2 7:14,0,2 8:16,0,2 9:18,0,2 0:20,0,2 -:22,0,2 "
            "=:24,0,2 <<:26,0,4",
            "num:0,1,3 q:3,1,2 w:5,1,2 e:7,1,2 r:9,1,2 t:11,1,2 y:13,1,2 u:15,1,2 i:17,1,2 o:19,1,2 p:21,1,2 [:23,1,2 "
            "]:25,1,2 \\:27,1,2",
            "caps:0,2,4 a:4,2,2 s:6,2,2 d:8,2,2 f:10,2,2 g:12,2,2 h:14,2,2 j:16,2,2 k:18,2,2 l:20,2,2 ;:22,2,2 ':24,2,2 "
            "enter:26,2,4",
            "shift:0,3,5 z:5,3,2 x:7,3,2 c:9,3,2 v:11,3,2 b:13,3,2 n:15,3,2 m:17,3,2 ,:19,3,2 .:21,3,2 /:23,3,2 "
            "space:25,3,5"}.join(' ');
        QCOMPARE(page(), letters);
        QVERIFY(clickPickBoard(shown.board, {"num"}));
        QCOMPARE(page(), QString("7:6,0,6 8:12,0,6 9:18,0,6 <<:26,0,4 alpha:0,1,4 4:6,1,6 5:12,1,6 6:18,1,6 "
                                 "1:6,2,6 2:12,2,6 3:18,2,6 0:6,3,12 .:18,3,6"));
        QVERIFY(clickPickBoard(shown.board, {"alpha"}));
        QCOMPARE(page(), letters);
    }
};

QTEST_MAIN(TestKeyboard)
#include "test_keyboard.moc"
