#include "shellfixture.h"

#include "offline.h"
#include "pickboardkeys.h"
#include "platformkey.h"
#include "statusbar.h"
#include "transientpopup.h"

namespace {

// Keys the window server typed on the program's behalf (not those from the platform). An ignored
// key travels on to the parents of its receiver as the same event: it is written down once.
class InjectedKeys : public QObject {
public:
    InjectedKeys() { qApp->installEventFilter(this); }
    QStringList keys;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if ((event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) || event->spontaneous())
            return false;
        auto* key = static_cast<QKeyEvent*>(event);
        const QString typed = describeKey(key->key(), event->type() == QEvent::KeyPress, key->isAutoRepeat(), key->modifiers());
        if (event != m_last || keys.value(keys.size() - 1) != typed)
            keys << typed;
        m_last = event;
        return false;
    }

private:
    QEvent* m_last = nullptr;
};

// The platform delivers keys to the window that has the focus: a modal dialog blocks the rest.
QWidget* focusedWindow(QWidget* fallback)
{
    if (QWidget* modal = QApplication::activeModalWidget())
        return modal;
    if (QWidget* active = QApplication::activeWindow())
        return active;
    return fallback;
}

// Set up before the key.
enum Flag { None = 0, Popup = 1, Calibrating = 2, Modal = 4, MenuOpen = 8 };

} // namespace

class TestKeyRouting : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_shell = std::make_unique<ShellFixture>();
        // The offline screen comes up by itself shortly after start; the key source is made
        // active after it, or the offline screen would take the activation away meanwhile.
        QTRY_VERIFY(m_shell->window->offlineScreen().isVisible());
        m_keySource = std::make_unique<QWidget>();
        QVERIFY(showActive(m_keySource.get()));
    }
    void cleanup()
    {
        m_keySource.reset();
        m_shell.reset();
    }
    // The key as describeKey writes it ("C-" for Control held); seen: what the screen's handler
    // got, what was typed into the focused widget, and what holds afterwards.
    void routesEachKey_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("flags");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("seen");
        const auto row = [](const char* name, int state, int flags, const char* key, const char* seen) {
            QTest::newRow(name) << state << flags << key << seen;
        };
        const int ready = IPCClient::IPC_READY;
        const int offline = IPCClient::IPC_DISCONNECTED;
        row("popup closed, key goes on", ready, Popup, "Down+", "screen Down+");
        row("popup stays while calibrating", ready, Popup | Calibrating, "Down+", "popup calibrating");
        row("ctrl+F1 captures offline", offline, None, "C-F1+", "captured");
        row("ctrl+F25 captures when ready", ready, None, "C-F25+", "captured");
        row("ctrl+F1 release captures nothing", ready, None, "C-F1-", "");
        row("F1 dropped while logging in", IPCClient::IPC_LOGGED_IN, None, "F1+", "");
        row("F2 dropped while offline", offline, None, "F2+", "");
        row("arrow dropped while updating", IPCClient::IPC_UPDATING, None, "Up+", "");
        row("calibrating: F2 press ignored", ready, Calibrating, "F2+", "calibrating");
        row("calibrating: F2 release aborts", ready, Calibrating, "F2-", "aborted 1");
        row("calibrating: other keys ignored", ready, Calibrating, "Enter+", "calibrating");
        // Qt reports a Shift key's own bit flipped: Shift down, then up.
        row("modal: Left is back-tab", ready, Modal, "Left+", "typed Shift+ S-Tab+ S-Shift+");
        row("modal: Right is tab", ready, Modal, "Right-", "typed Tab-");
        row("modal: Enter passes", ready, Modal, "Enter+", "typed Enter+");
        row("modal: F1 ignored", ready, Modal, "F1+", "");
        row("F1 opens the menu", ready, None, "F1+", "menu");
        row("F1 release does nothing", ready, None, "F1-", "");
        row("F1 closes an open menu", ready, MenuOpen, "F1+", "");
        row("F2 press goes to the stack", ready, None, "F2+", "meters");
        row("menu: Enter becomes Return", ready, MenuOpen, "Enter-", "typed Return-; menu");
        row("menu: arrows go to the menu", ready, MenuOpen, "Down+", "typed Down+; menu");
        row("screen gets the rest", ready, None, "Asterisk-", "screen Asterisk-");
    }
    void routesEachKey()
    {
        QFETCH(int, state);
        QFETCH(int, flags);
        QFETCH(QString, key);
        QFETCH(QString, seen);

        MainWindow& window = *m_shell->window;
        m_shell->setState(IPCClient::IPC_READY);
        chooseF2Mode(window, KeypadSetup::F2ToggleMeters);
        m_shell->setState(IPCClient::IPC_STATE(state));

        RecordingHandler handler;
        window.setKeypadHandler(&handler);
        if (flags & Popup)
            window.popup().showMessage(QStringLiteral("note"), 0, 0);
        window.setCalibrating(flags & Calibrating);
        window.setModal(flags & Modal);
        if (flags & MenuOpen)
            window.menu().openForCurrentScreen();
        QSignalSpy abortSpy(&window, &MainWindow::abortCalibration);
        InjectedKeys typed;

        const bool ctrl = key.startsWith("C-");
        const QByteArray name = "Key_" + key.mid(ctrl ? 2 : 0).chopped(1).toLatin1();
        this->key(QMetaEnum::fromType<Qt::Key>().keyToValue(name), key.endsWith('+'),
                  ctrl ? Qt::ControlModifier : Qt::NoModifier);

        QStringList actual;
        if (!handler.keys.isEmpty())
            actual << "screen " + handler.keys.join(' ');
        if (!typed.keys.isEmpty())
            actual << "typed " + typed.keys.join(' ');
        QStringList after;
        for (const auto& [on, word] : {std::pair(window.popup().isVisible(), "popup"),
                                       std::pair(window.isCalibrating(), "calibrating"),
                                       std::pair(window.menu().isMenuOpen(), "menu"),
                                       std::pair(QFile::exists(window.captureFileName(1)), "captured"),
                                       std::pair(window.pane().currentScreen() == Pane::ScreenMeters, "meters")}) {
            if (on)
                after << word;
        }
        if (abortSpy.count())
            after << QString("aborted %1").arg(abortSpy.count());
        if (!after.isEmpty())
            actual << after.join(' ');
        QCOMPARE(actual.join("; "), seen);

        window.menu().closeMenu();
        window.setKeypadHandler(nullptr);
    }
    // Files number from one; a capture that fails uses up its number.
    void capturesNumberFromOneAndCountFailures()
    {
        for (const QString& directory : {m_shell->dir(), m_shell->dir() + "/missing", m_shell->dir()}) {
            m_shell->window->setCaptureDirectory(directory);
            key(Qt::Key_F1, true, Qt::ControlModifier);
        }
        QCOMPARE(QDir(m_shell->dir()).entryList({"cap*"}), (QStringList{"cap00001.png", "cap00003.png"}));
        QVERIFY(!QImage(m_shell->dir() + "/cap00003.png").isNull());
    }
    // Escape on an attached keyboard closes the menu by Qt's own means, behind the keypad's back.
    void menuClosedByEscapeGivesTheKeysBack()
    {
        MainWindow& window = *m_shell->window;
        m_shell->setState(IPCClient::IPC_READY);
        RecordingHandler handler;
        window.setKeypadHandler(&handler);
        key(Qt::Key_F1);
        QVERIFY(window.menu().isMenuOpen());
        key(Qt::Key_Escape);
        key(Qt::Key_Escape, false);
        QTRY_VERIFY(!QApplication::activePopupWidget());
        QVERIFY(!window.menu().isMenuOpen());
        key(Qt::Key_Down);
        QCOMPARE(handler.keys, QStringList{"Down+"});
        key(Qt::Key_F1);
        QVERIFY(window.menu().menuRemotes->isVisible());
        window.menu().closeMenu();
        window.setKeypadHandler(nullptr);
    }
    // The navigation the screens share: a list screen, a form, and the default of typing the key.
    void screenNavigation_data()
    {
        QTest::addColumn<int>("screen");
        QTest::addColumn<bool>("comboOpen");
        QTest::addColumn<int>("key");
        QTest::addColumn<QStringList>("injected");
        enum { Default, List, Form };
        const QStringList backtab{"Shift+", "S-Tab+", "S-Shift+"};
        QTest::newRow("default types the key") << int(Default) << false << int(Qt::Key_Up) << QStringList{"Up+"};
        QTest::newRow("list: Enter presses") << int(List) << false << int(Qt::Key_Enter) << QStringList{"Space+"};
        QTest::newRow("list: Left goes back") << int(List) << false << int(Qt::Key_Left) << backtab;
        QTest::newRow("list: Right goes on") << int(List) << false << int(Qt::Key_Right) << QStringList{"Tab+"};
        QTest::newRow("list: Down moves in it") << int(List) << false << int(Qt::Key_Down) << QStringList{"Down+"};
        QTest::newRow("list: F1 ignored") << int(List) << false << int(Qt::Key_F1) << QStringList();
        QTest::newRow("form: Up goes back") << int(Form) << false << int(Qt::Key_Up) << backtab;
        QTest::newRow("form: Down goes on") << int(Form) << false << int(Qt::Key_Down) << QStringList{"Tab+"};
        QTest::newRow("form: open combo list") << int(Form) << true << int(Qt::Key_Up) << QStringList{"Up+"};
    }
    void screenNavigation()
    {
        QFETCH(int, screen);
        QFETCH(bool, comboOpen);
        QFETCH(int, key);
        QFETCH(QStringList, injected);
        struct Screen : KeypadHandler {
            using KeypadHandler::handleListScreenKey;
            using KeypadHandler::moveThroughForm;
        } handler;
        QWidget list;
        QWidget comboList(nullptr, Qt::Popup);
        if (comboOpen)
            comboList.show();
        InjectedKeys typed;
        if (screen == 0)
            handler.handleKey(key, true, false);
        else if (screen == 1)
            Screen::handleListScreenKey(&list, key, true, false);
        else
            Screen::moveThroughForm(key, true, false);
        QCoreApplication::processEvents();
        QCOMPARE(typed.keys, injected);
    }
    void onScreenKeyboardTypes()
    {
        MainWindow& window = *m_shell->window;
        m_shell->setState(IPCClient::IPC_READY);
        window.handlePopupKeyboard();
        QVERIFY(window.keyboardVisible());
        InjectedKeys typed;
        QVERIFY(clickPickBoard(*window.findChild<PickBoard*>(), {"a"}));
        QCOMPARE(typed.keys, (QStringList{"A+", "A-"}));
    }
    // The far unit's contact closes while F2 is held and opens when it is released.
    void contactClosureFollowsF2BothWays()
    {
        MainWindow& window = *m_shell->window;
        m_shell->setState(IPCClient::IPC_READY);
        chooseF2Mode(window, KeypadSetup::F2RemoteContactClosure);
        m_shell->sent.clear();
        key(Qt::Key_F2);
        key(Qt::Key_F2, false);
        QStringList closures;
        for (const Message& msg : m_shell->sent)
            closures << QString::fromStdString(msg.name + ' ' + msg.params().get_string("seq", "") + ' ')
                    + QString::number(msg.params().get_int("id", -1)) + (msg.params().get_bool("state", false) ? " closed" : " open");
        QCOMPARE(closures, (QStringList{"setRemoteCC remoteCC 0 closed", "setRemoteCC remoteCC 0 open"}));
    }

private:
    void key(int keycode, bool press = true, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        sendPlatformKey(focusedWindow(m_keySource.get()), press, keycode, modifiers);
    }

    std::unique_ptr<ShellFixture> m_shell;
    std::unique_ptr<QWidget> m_keySource;
};

QTEST_MAIN(TestKeyRouting)
#include "test_keyrouting.moc"
