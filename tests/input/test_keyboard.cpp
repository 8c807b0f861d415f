#include "pickboardkeys.h"
#include "platformkey.h"

#include <key.h>
#include <keybutton.h>
#include <keypadfilter.h>
#include <pickboard.h>
#include <qwsserver.h>

#include <QtTest>
#include <QtWidgets>

namespace {

// A focusable widget that writes down every key it receives, one line per event.
class KeyRecorder : public QWidget {
public:
    explicit KeyRecorder(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags())
        : QWidget(parent, flags)
    {
        setFocusPolicy(Qt::StrongFocus);
    }

    static QString describe(bool press, int key, const QString& text, Qt::KeyboardModifiers modifiers,
                            bool autoRepeat, bool spontaneous)
    {
        return QStringLiteral("%1 %2 '%3' %4%5%6")
            .arg(press ? "press" : "release").arg(key, 0, 16).arg(text).arg(int(modifiers), 0, 16)
            .arg(autoRepeat ? " repeat" : "", spontaneous ? " spontaneous" : "");
    }

    QStringList keys;

protected:
    void keyPressEvent(QKeyEvent* event) override { record(event); }
    void keyReleaseEvent(QKeyEvent* event) override { record(event); }

private:
    void record(const QKeyEvent* e)
    {
        keys << describe(e->type() == QEvent::KeyPress, e->key(), e->text(), e->modifiers(), e->isAutoRepeat(),
                         e->spontaneous());
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

// "press 65 shift": what the keyboard raised; anything unexpected is spelled out.
void record(PickBoard& board, QStringList* emitted)
{
    QObject::connect(&board, &PickBoard::key, &board,
                     [emitted](uint unicode, uint scancode, Qt::KeyboardModifiers modifiers, bool press, bool repeat) {
                         *emitted << QStringLiteral("%1 %2%3%4%5")
                                         .arg(press ? "press" : "release").arg(unicode)
                                         .arg(scancode != unicode ? QStringLiteral(" scancode %1").arg(scancode) : "")
                                         .arg(modifiers == Qt::ShiftModifier ? " shift"
                                              : modifiers ? QStringLiteral(" modifiers %1").arg(int(modifiers), 0, 16)
                                                          : "")
                                         .arg(repeat ? " repeat" : "");
                     });
}

} // namespace

// Keys on their way: the window server and its filters, the keypad filter, the on-screen keyboard.
class TestKeyboard : public QObject {
    Q_OBJECT

private slots:
    void injectedKeyGoesToTheTopmostReceiver_data()
    {
        QTest::addColumn<int>("layers"); // above the focus widget
        QTest::newRow("focus widget") << 0;
        QTest::newRow("modal dialog") << 1;
        QTest::newRow("popup over a modal dialog") << 2;
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

        KeyRecorder* expected = focused;
        if (layers > 0) {
            dialog.show();
            dialogFocused->setFocus();
            // The modal dialog must win on its own, not by holding the application's focus.
            QApplication::setActiveWindow(&window);
            QCOMPARE(QApplication::focusWidget(), focused);
            expected = dialogFocused;
        }
        if (layers > 1) {
            popup.show();
            expected = &popup;
        }

        QWSServer::sendKeyEvent('a', 'a', Qt::NoModifier, true, false);
        QWSServer::sendKeyEvent('a', 'a', Qt::NoModifier, false, false);

        const QStringList typed{KeyRecorder::describe(true, Qt::Key_A, "a", Qt::NoModifier, false, false),
                                KeyRecorder::describe(false, Qt::Key_A, "a", Qt::NoModifier, false, false)};
        for (KeyRecorder* recorder : {focused, dialogFocused, &popup})
            QCOMPARE(recorder->keys, recorder == expected ? typed : QStringList());
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
        QCOMPARE(log, QStringList({"passing 31 31 0 press", "consuming 31 31 0 press"}));
        log.clear();
        QWSServer::removeKeyboardFilter();
        sendPlatformKey(&recorder, true, Qt::Key_2, Qt::NoModifier, "2");
        QCOMPARE(log, QStringList({"consuming 32 32 0 press"}));
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
        QCOMPARE(recorder.keys, QStringList({KeyRecorder::describe(false, Qt::Key_X, "X", Qt::ShiftModifier, false, true),
                                             KeyRecorder::describe(true, Qt::Key_Down, "", Qt::NoModifier, true, true),
                                             KeyRecorder::describe(true, Qt::Key_Y, "y", Qt::NoModifier, false, false)}));
    }
    void keysAreReportedOrPassedOn_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("autoRepeat");
        QTest::addColumn<int>("reported"); // 0: passed on unchanged

        const Qt::KeyboardModifiers none = Qt::NoModifier;
        const Qt::KeyboardModifiers shift = Qt::ShiftModifier;
        const Qt::KeyboardModifiers ctrl = Qt::ControlModifier;
        for (int key : {Qt::Key_Left, Qt::Key_Up, Qt::Key_Right, Qt::Key_Down, Qt::Key_Enter, Qt::Key_F1, Qt::Key_F2,
                        Qt::Key_F25})
            QTest::addRow("%x", key) << key << none << QString() << false << key;
        QTest::newRow("repeated asterisk") << int(Qt::Key_Asterisk) << none << "*" << true << int(Qt::Key_Asterisk);
        QTest::newRow("control+F1") << int(Qt::Key_F1) << ctrl << QString() << false << int(Qt::Key_F1);
        QTest::newRow("return") << int(Qt::Key_Return) << none << "\r" << false << int(Qt::Key_Enter);
        QTest::newRow("alt") << int(Qt::Key_Alt) << none << QString() << false << int(Qt::Key_F1);

        QTest::newRow("shift+return") << int(Qt::Key_Return) << shift << "\r" << false << 0;
        QTest::newRow("control+alt") << int(Qt::Key_Alt) << ctrl << QString() << false << 0;
        QTest::newRow("letter") << int(Qt::Key_A) << none << "a" << false << 0;
        QTest::newRow("repeated capital") << int(Qt::Key_B) << shift << "B" << true << 0;
    }
    void keysAreReportedOrPassedOn()
    {
        QFETCH(int, key);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(QString, text);
        QFETCH(bool, autoRepeat);
        QFETCH(int, reported);

        KeypadFilter filter;
        QSignalSpy keypad(&filter, &KeypadFilter::keypadPress);
        KeyRecorder recorder;
        QVERIFY(showActive(&recorder));
        recorder.setFocus();

        sendPlatformKey(&recorder, true, key, modifiers, text, autoRepeat);
        sendPlatformKey(&recorder, false, key, modifiers, text, autoRepeat);

        QCOMPARE(keypad.count(), reported ? 2 : 0);
        if (reported) {
            QCOMPARE(recorder.keys, QStringList());
            QCOMPARE(keypad.at(0), QVariantList({reported, int(modifiers), true, autoRepeat}));
            QCOMPARE(keypad.at(1), QVariantList({reported, int(modifiers), false, autoRepeat}));
            return;
        }
        // Passed on by injection: the key as typed, no longer spontaneous. (A modifier key reads
        // its own bit as well; QKeyEvent adds it.)
        const Qt::KeyboardModifiers typed = QKeyEvent(QEvent::KeyPress, key, modifiers).modifiers();
        QCOMPARE(recorder.keys, QStringList({KeyRecorder::describe(true, key, text, typed, autoRepeat, false),
                                             KeyRecorder::describe(false, key, text, typed, autoRepeat, false)}));
    }
    void clicksSendCodesAndRelabel_data()
    {
        QTest::addColumn<QStringList>("clicks");
        QTest::addColumn<QStringList>("emitted");
        QTest::addColumn<QStringList>("captions"); // of a, 1, 7, shift, caps afterwards

        const QString backspace = QString::number(Qt::Key_Backspace);
        const QString enter = QString::number(Qt::Key_Enter);
        const QStringList plain{"a", "1", "7", "shift", "caps"};
        const QStringList caps{"A", "1", "7", "shift", "CAPS"};
        QTest::newRow("special keys") << QStringList{"<<", "enter", "space"}
                                      << QStringList{"press " + backspace, "release " + backspace, "press " + enter,
                                                     "release " + enter, "press 32", "release 32"}
                                      << plain;
        QTest::newRow("caps lock stays on") << QStringList{"caps", "a", "z"}
                                            << QStringList{"press 65 shift", "release 65 shift", "press 90 shift",
                                                           "release 90 shift"}
                                            << caps;
        // The release code follows the Shift bit, which Caps Lock sets; the press code does not.
        QTest::newRow("caps lock and a digit") << QStringList{"caps", "1"}
                                               << QStringList{"press 49 shift", "release 33 shift"} << caps;
        QTest::newRow("caps lock off again") << QStringList{"caps", "caps"} << QStringList() << plain;
        QTest::newRow("shift") << QStringList{"shift"} << QStringList{"press 0 shift"}
                               << QStringList{"A", "!", "&&", "SHIFT", "caps"};
        QTest::newRow("shift is one-shot")
            << QStringList{"shift", "q", "q"}
            << QStringList{"press 0 shift", "press 81 shift", "release 81 shift", "press 113", "release 113"} << plain;
        QTest::newRow("shifted seven") << QStringList{"shift", "7"}
                                       << QStringList{"press 0 shift", "press 38 shift", "release 38 shift"} << plain;
        QTest::newRow("shift switched off") << QStringList{"shift", "shift", "1"}
                                            << QStringList{"press 0 shift", "release 0", "press 49", "release 49"} << plain;
        QTest::newRow("caps lock with shift") << QStringList{"caps", "shift"} << QStringList{"press 0"}
                                              << QStringList{"a", "!", "&&", "SHIFT", "CAPS"};
        QTest::newRow("caps lock with shift used up")
            << QStringList{"caps", "shift", "a", "b"}
            << QStringList{"press 0", "press 97", "release 97", "press 66 shift", "release 66 shift"} << caps;
        QTest::newRow("page switches clear both")
            << QStringList{"caps", "shift", "num", "alpha", "a"} << QStringList{"press 0", "press 97", "release 97"}
            << plain;
    }
    void clicksSendCodesAndRelabel()
    {
        QFETCH(QStringList, clicks);
        QFETCH(QStringList, emitted);
        QFETCH(QStringList, captions);

        QWidget area;
        area.resize(640, 110);
        PickBoard board(&area);
        area.show();
        QStringList actual;
        record(board, &actual);

        QVERIFY(clickPickBoard(board, clicks));
        QCOMPARE(actual, emitted);
        QStringList shown;
        for (const char* label : {"a", "1", "7", "shift", "caps"})
            shown << pickBoardButton(board, label)->text();
        QCOMPARE(shown, captions);
        QCOMPARE(pickBoardButton(board, "shift")->isChecked(), captions[3] == "SHIFT");
        QCOMPARE(pickBoardButton(board, "caps")->isChecked(), captions[4] == "CAPS");
    }
    // Each key of a page as "caption:column,row,width" in units of 21 by 27 pixels, in order.
    void pagesShowEveryKeyInPlace()
    {
        QWidget area;
        area.resize(640, 110);
        PickBoard board(&area);
        area.show();
        const auto page = [&] {
            QStringList keys;
            for (const KeyButton* b : board.findChildren<KeyButton*>()) {
                if (b->isVisibleTo(&board))
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
        QVERIFY(clickPickBoard(board, {"num"}));
        QCOMPARE(page(), QString("7:6,0,6 8:12,0,6 9:18,0,6 <<:26,0,4 alpha:0,1,4 4:6,1,6 5:12,1,6 6:18,1,6 "
                                 "1:6,2,6 2:12,2,6 3:18,2,6 0:6,3,12 .:18,3,6"));
        QVERIFY(clickPickBoard(board, {"alpha"}));
        QCOMPARE(page(), letters);
    }
};

QTEST_MAIN(TestKeyboard)
#include "test_keyboard.moc"
