#include "shellfixture.h"

#include "offline.h"
#include "pickboardkeys.h"
#include "platformkey.h"
#include "transientpopup.h"

namespace {

// "Down+" for a press of Down, "Down-r" for an auto-repeated release, "S-Tab+" with Shift held.
QString describeKey(int keycode, bool pressed, bool repeat, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QString name = QString::fromLatin1(QMetaEnum::fromType<Qt::Key>().valueToKey(keycode)).mid(4);
    if (modifiers & Qt::ShiftModifier)
        name.prepend(QLatin1String("S-"));
    return name + (pressed ? "+" : "-") + (repeat ? "r" : "");
}

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

// Set up before the key: what is up, and the kind of screen shown (one that writes its keys
// down unless told otherwise).
enum Flag { None = 0, Popup = 1, Calibrating = 2, Modal = 4, MenuOpen = 8, Typing = 16, List = 32, Form = 64, ComboOpen = 128 };

// A screen of one of the kinds the shared navigation serves, or one that writes its keys down.
struct Screen : KeypadHandler {
    void handleKey(int keycode, bool pressed, bool repeat) override
    {
        if (kind & List)
            handleListScreenKey(&list, keycode, pressed, repeat);
        else if (kind & Form)
            moveThroughForm(keycode, pressed, repeat);
        else if (kind & Typing)
            KeypadHandler::handleKey(keycode, pressed, repeat);
        else
            keys << describeKey(keycode, pressed, repeat);
    }
    int kind = None;
    QWidget list;
    QStringList keys;
};

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
        // The navigation the screens share.
        row("typing screen", ready, Typing, "Up+", "typed Up+");
        row("list: Enter presses", ready, List, "Enter+", "typed Space+");
        row("list: Left goes back", ready, List, "Left+", "typed Shift+ S-Tab+ S-Shift+");
        row("list: Right goes on", ready, List, "Right-", "typed Tab-");
        row("list: Down moves in it", ready, List, "Down+", "typed Down+");
        row("list: others ignored", ready, List, "Asterisk+", "");
        row("form: Up goes back", ready, Form, "Up+", "typed Shift+ S-Tab+ S-Shift+");
        row("form: Down goes on", ready, Form, "Down-", "typed Tab-");
        row("form: open combo list", ready, Form | ComboOpen, "Up+", "typed Up+");
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

        Screen screen;
        screen.kind = flags;
        window.setKeypadHandler(&screen);
        QWidget comboList(nullptr, Qt::Popup);
        if (flags & ComboOpen)
            comboList.show();
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
        QCoreApplication::processEvents(); // what a list screen posts to its list

        QStringList actual;
        if (!screen.keys.isEmpty())
            actual << "screen " + screen.keys.join(' ');
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
        Screen screen;
        window.setKeypadHandler(&screen);
        key(Qt::Key_F1);
        QVERIFY(window.menu().isMenuOpen());
        key(Qt::Key_Escape);
        key(Qt::Key_Escape, false);
        QTRY_VERIFY(!QApplication::activePopupWidget());
        QVERIFY(!window.menu().isMenuOpen());
        key(Qt::Key_Down);
        QCOMPARE(screen.keys, QStringList{"Down+"});
        key(Qt::Key_F1);
        QVERIFY(window.menu().menuRemotes->isVisible());
        window.menu().closeMenu();
        window.setKeypadHandler(nullptr);
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
        QCOMPARE(m_shell->requests(), (QStringList{R"(setRemoteCC id:i=0 seq:s="remoteCC" state:b=true)",
                                                 R"(setRemoteCC id:i=0 seq:s="remoteCC" state:b=false)"}));
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
