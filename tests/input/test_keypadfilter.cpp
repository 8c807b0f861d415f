#include "keyrecorder.h"
#include "platformkey.h"

#include <keypadfilter.h>

#include <QSignalSpy>
#include <QTest>

class TestKeypadFilter : public QObject {
    Q_OBJECT

private slots:
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
};

QTEST_MAIN(TestKeypadFilter)
#include "test_keypadfilter.moc"
