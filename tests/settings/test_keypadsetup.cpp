#include "browserhome.h"
#include "cachefeeder.h"
#include "keypadsetup.h"
#include "logcapture.h"
#include "keypress.h"
#include "platformkey.h"

#include <QSignalSpy>
#include <QtTest>

namespace {
std::string group(const std::string& name, const std::string& params)
{
    return "<m n=\"group\"><s k=\"name\">" + name + "</s>" + params + "</m>";
}

const std::string kBrowser = group("p_browser", "<s k=\"homeURL\">http://a.example/</s>");
const std::string kRestricted = group("p_general", "<b k=\"restricted\">true</b>");

std::string modeGroup(int mode)
{
    return group("p_keypad", "<i k=\"keypadF2Mode\">" + std::to_string(mode) + "</i>");
}

void loadSettings(const std::string& groups)
{
    cachefeeder::answer("loadSettings", "<m n=\"loadSettings\">" + groups + "</m>");
}
} // namespace

class TestKeypadSetup : public QObject {
    Q_OBJECT

private slots:
    // "mode text=stored mode url [restricted]", as the form shows it, then the signals raised.
    void loadingShowsTheStoredSettings_data()
    {
        QTest::addColumn<QString>("groups");
        QTest::addColumn<QString>("shown");

        QTest::newRow("all three") << QString::fromStdString(modeGroup(2) + kBrowser + kRestricted)
            << "Toggle to Remote Manager=2 http://a.example/ restricted; home " + QString(kDefaultBrowserHome)
            + "; home http://a.example/; restricted true";
        QTest::newRow("mode 10 cycles") << QString::fromStdString(modeGroup(10) + kBrowser)
            << "Cycle Through Screens=0 http://a.example/; home " + QString(kDefaultBrowserHome) + "; home http://a.example/";
        const std::string other = group("p_other", "<b k=\"restricted\">true</b><s k=\"homeURL\">x</s>");
        // The built-in home page comes first, so that without a stored one it applies.
        QTest::newRow("other groups ignored") << QString::fromStdString(other + kRestricted)
            << "Toggle to Channel Stats=4 " + QString(kDefaultBrowserHome) + " restricted; home "
                   + QString(kDefaultBrowserHome) + "; restricted true";
    }

    void loadingShowsTheStoredSettings()
    {
        QFETCH(QString, groups);
        QFETCH(QString, shown);

        KeypadSetup setup;
        // A state unlike every row's, so that each value shown comes from the answer.
        loadSettings(modeGroup(4) + group("p_browser", "<s k=\"homeURL\">old</s>"));
        QSignalSpy restricted(&setup, &KeypadSetup::restrictedModeChanged);
        QSignalSpy home(&setup, &KeypadSetup::browserHomeChanged);
        cachefeeder::RequestLog log;
        loadSettings(groups.toStdString());
        QString state = QStringLiteral("%1=%2 %3%4").arg(setup.comboF2KeyMode->currentText()).arg(setup.f2Mode())
            .arg(setup.browserHomeURL->text(), setup.restrictedUser->isChecked() ? " restricted" : "");
        for (const QList<QVariant>& signal : home)
            state += "; home " + signal.at(0).toString();
        for (const QList<QVariant>& signal : restricted)
            state += "; restricted " + signal.at(0).toString();
        QCOMPARE(state, shown);
        QVERIFY(log.requests().empty());
    }

    // Each change stores its own group; a new home page also asks for the settings back.
    void changesAreStored_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("stored");

        // Braid Stats sits before Audio Meters in the list but stores 9.
        QTest::newRow("braid stats") << "Toggle to Braid Stats" << R"(<i k="keypadF2Mode">9</i>)";
        QTest::newRow("after braid stats") << "Toggle to Audio Meters" << R"(<i k="keypadF2Mode">5</i>)";
        QTest::newRow("home page") << "http://b.example/" << R"(<s k="homeURL">http://b.example/</s>)";
        QTest::newRow("restricted") << "restricted" << R"(<b k="restricted">true</b>)";
    }

    void changesAreStored()
    {
        QFETCH(QString, change);
        QFETCH(QString, stored);

        KeypadSetup setup;
        loadSettings(modeGroup(4));
        setup.comboF2KeyMode->setCurrentIndex(-1);
        cachefeeder::RequestLog log;
        LogCapture trace(LOG_DEBUG);
        if (change == "restricted")
            setup.restrictedUser->setChecked(true);
        else if (change.startsWith("http"))
            setup.browserHomeURL->setText(change);
        else
            setup.comboF2KeyMode->setCurrentIndex(setup.comboF2KeyMode->findText(change));
        const std::string group = stored.contains("F2") ? "p_keypad" : stored.contains("home") ? "p_browser" : "p_general";
        Message first = log.requests().front();
        first.params().remove("seq");
        QCOMPARE(first.dump_text(), cachefeeder::tree("<m n=\"storeSettings\"><s k=\"group\">" + group + "</s>"
                                                      + stored.toStdString() + "</m>"));
        QVERIFY(trace.all().find("user interface settings: stored") != std::string::npos);
        QCOMPARE(log.lastTree(), group == "p_browser" ? cachefeeder::tree("<m n=\"loadSettings\"/>") : first.dump_text());
    }

    // "mode|home page|cursor|restricted @focus" after the keys, from the mode, page and focus given.
    void keypad_data()
    {
        QTest::addColumn<QString>("focus");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("state");

        const QString home = "|http://a.example/|";
        QTest::newRow("Right steps the mode") << "comboF2KeyMode" << "Right" << "Toggle to Braid Stats" + home + "17| @comboF2KeyMode";
        QTest::newRow("Enter in the open list") << "comboF2KeyMode" << "Popup Down Enter"
            << "Toggle to Braid Stats" + home + "17| @comboF2KeyMode";
        QTest::newRow("Down to the home page") << "comboF2KeyMode" << "Down" << "Toggle to Channel Stats" + home + "17| @browserHomeURL";
        QTest::newRow("Left in the home page") << "browserHomeURL" << "Left Left Enter" << "Toggle to Channel Stats" + home + "15| @browserHomeURL";
        QTest::newRow("Right flips restricted") << "restrictedUser" << "Right" << "Toggle to Channel Stats" + home + "17|restricted @restrictedUser";
    }

    void keypad()
    {
        QFETCH(QString, focus);
        QFETCH(QString, keys);
        KeypadSetup setup;
        QVERIFY(showActive(&setup));
        loadSettings(modeGroup(4) + kBrowser);
        setup.paneAboutToShow();
        QCOMPARE(QApplication::focusWidget(), setup.comboF2KeyMode);
        setup.findChild<QWidget*>(focus)->setFocus();
        pressKeys(setup, keys, setup.comboF2KeyMode);
        QVERIFY(!setup.comboF2KeyMode->view()->isVisible());
        QTEST(QStringList({setup.comboF2KeyMode->currentText(), setup.browserHomeURL->text(),
                           QString::number(setup.browserHomeURL->cursorPosition()),
                           setup.restrictedUser->isChecked() ? "restricted @" : " @"}).join('|')
                  + QApplication::focusWidget()->objectName(),
              "state");
    }
};

QTEST_MAIN(TestKeypadSetup)
#include "test_keypadsetup.moc"
