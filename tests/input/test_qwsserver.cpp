#include "keyrecorder.h"
#include "platformkey.h"

#include <qwsserver.h>

#include <QDialog>
#include <QTest>

namespace {

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

} // namespace

class TestQWSServer : public QObject {
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
        QCOMPARE(recorder.keys, QStringList({KeyRecorder::describe(false, Qt::Key_X, "X", Qt::ShiftModifier, false, true),
                                             KeyRecorder::describe(true, Qt::Key_Down, "", Qt::NoModifier, true, true),
                                             KeyRecorder::describe(true, Qt::Key_Y, "y", Qt::NoModifier, false, false)}));
    }
};

QTEST_MAIN(TestQWSServer)
#include "test_qwsserver.moc"
