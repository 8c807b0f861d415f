// The two forms that store each change straight to the unit: the audio switches and the keypad
// and browser settings.
#include "audiosettings.h"
#include "cachefeeder.h"
#include "keypadsetup.h"
#include "logcapture.h"
#include "platformkey.h"

#include <QtTest>

using namespace cachefeeder;

namespace {
// "sysOptions" whose "audio" group turns on exactly the switches named in `on`.
void answerAudio(const QStringList& on)
{
    Message audio("audio");
    for (const char* name : {"cue", "pgm", "phantom", "pro_level", "cell", "mixer_phantom", "mixer_cell"})
        audio.params().set_bool(name, on.contains(name));
    answer("sysOptions", msg("sysOptions", "", {audio}));
}

// The boxes ticked, in the form's order.
QStringList ticked(const AudioSettings& audio)
{
    QStringList on;
    for (const QCheckBox* box : audio.findChildren<QCheckBox*>()) {
        if (box->isChecked())
            on << box->objectName();
    }
    return on;
}

// A "loadSettings" answer, its groups as Params texts split by "; ".
void loadSettings(const QString& groups)
{
    Message settings("loadSettings");
    for (const QString& group : groups.split("; ", Qt::SkipEmptyParts))
        settings.add_child(msg("group", group.toStdString()));
    answer("loadSettings", settings);
}
} // namespace

class TestSettingForms : public QObject {
    Q_OBJECT

private slots:
    void formFollowsTheBackendUntilChanged()
    {
        AudioSettings audio;
        answerAudio({"pgm", "pro_level", "mixer_cell"});
        QCOMPARE(ticked(audio), (QStringList{"checkPGM", "checkProLevel", "checkMixerCell"}));
        // Absent switches read as off.
        answer("sysOptions", msg("sysOptions", "", {msg("audio", "cue:b=true")}));
        QCOMPARE(ticked(audio), QStringList{"checkCue"});
        QVERIFY(!audio.buttonApply->isEnabled());

        audio.checkPhantom->setChecked(true);
        QVERIFY(audio.buttonApply->isEnabled());
        answerAudio({"pgm", "cell"});
        QCOMPARE(ticked(audio), (QStringList{"checkCue", "checkPhantom"}));
        RequestLog log;
        audio.buttonApply->click();
        QCOMPARE(log.sent(), QString("setSysOptions {audio cell=false cue=true mixer_cell=false mixer_phantom=false pgm=false "
                                       "phantom=true pro_level=false}"));
        // Once applied, the form follows the backend again.
        QVERIFY(!audio.buttonApply->isEnabled());
        answerAudio({"pgm", "cell"});
        QCOMPARE(ticked(audio), (QStringList{"checkPGM", "checkCell"}));
    }

    void professionalLevelHiddenOnRevision2_data()
    {
        table({"version", "shown", "applied"}, R"(
revision 1 | portable_rev:u=1 | true | setSysOptions {audio cell=false cue=false mixer_cell=false mixer_phantom=false pgm=false phantom=false pro_level=false}
revision 2 | portable_rev:u=2 | false | setSysOptions {audio cell=true cue=false mixer_cell=false mixer_phantom=false pgm=false phantom=false pro_level=true}
no revision |  | true | setSysOptions {audio cell=false cue=false mixer_cell=false mixer_phantom=false pgm=false phantom=false pro_level=false}
)");
    }

    // Down skips the hidden switch, which keeps its state on Apply; Right flips the one in focus.
    void professionalLevelHiddenOnRevision2()
    {
        AudioSettings audio;
        QVERIFY(showActive(&audio));
        answer("version", msg("version", cell("version").toStdString()));
        answerAudio({"pro_level"});
        audio.paneAboutToShow();
        QTEST(QVariant(audio.checkProLevel->isVisible()).toString(), "shown");
        QVERIFY(audio.checkPhantom->hasFocus());
        pressKeys(audio, "Down Right");
        RequestLog log;
        audio.buttonApply->click();
        QTEST(log.sent(), "applied");
    }

    // "mode text=stored mode url [restricted]", as the form shows it, then the signals raised. The
    // built-in home page comes first, so that without a stored one it applies.
    void loadingShowsTheStoredSettings_data()
    {
        table({"groups", "shown"}, R"(
all three | name=p_keypad keypadF2Mode:i=2; name=p_browser homeURL=http://a.example/; name=p_general restricted:b=true | Toggle to Remote Manager=2 http://a.example/ restricted; home https://duckduckgo.com/; home http://a.example/; restricted true
mode 10 cycles | name=p_keypad keypadF2Mode:i=10; name=p_browser homeURL=http://a.example/ | Cycle Through Screens=0 http://a.example/; home https://duckduckgo.com/; home http://a.example/
other groups ignored | name=p_other restricted:b=true homeURL=x; name=p_general restricted:b=true | Toggle to Channel Stats=4 https://duckduckgo.com/ restricted; home https://duckduckgo.com/; restricted true
)");
    }

    void loadingShowsTheStoredSettings()
    {
        KeypadSetup setup;
        // A state unlike every row's, so that each value shown comes from the answer.
        loadSettings("name=p_keypad keypadF2Mode:i=4; name=p_browser homeURL=old");
        QSignalSpy restricted(&setup, &KeypadSetup::restrictedModeChanged);
        QSignalSpy home(&setup, &KeypadSetup::browserHomeChanged);
        RequestLog log;
        loadSettings(cell("groups"));
        QString state = QStringLiteral("%1=%2 %3%4").arg(setup.comboF2KeyMode->currentText()).arg(setup.f2Mode())
            .arg(setup.browserHomeURL->text(), setup.restrictedUser->isChecked() ? " restricted" : "");
        for (const QList<QVariant>& signal : home)
            state += "; home " + signal.at(0).toString();
        for (const QList<QVariant>& signal : restricted)
            state += "; restricted " + signal.at(0).toString();
        QTEST(state, "shown");
        QVERIFY(log.requests().empty());
    }

    // Each change stores its own group; a new home page also asks for the settings back. Braid
    // Stats sits before Audio Meters in the list but stores 9.
    void changesAreStored_data()
    {
        table({"change", "sent"}, R"(
braid stats | Toggle to Braid Stats | storeSettings group=p_keypad keypadF2Mode=9
after braid stats | Toggle to Audio Meters | storeSettings group=p_keypad keypadF2Mode=5
home page | http://b.example/ | storeSettings group=p_browser homeURL=http://b.example/; loadSettings
restricted | restricted | storeSettings group=p_general restricted=true
)");
    }

    void changesAreStored()
    {
        const QString change = cell("change");
        KeypadSetup setup;
        loadSettings("name=p_keypad keypadF2Mode:i=4");
        setup.comboF2KeyMode->setCurrentIndex(-1);
        RequestLog log;
        LogCapture trace(LOG_DEBUG);
        if (change == "restricted")
            setup.restrictedUser->setChecked(true);
        else if (change.startsWith("http"))
            setup.browserHomeURL->setText(change);
        else
            setup.comboF2KeyMode->setCurrentIndex(setup.comboF2KeyMode->findText(change));
        QTEST(log.sent(), "sent");
        QVERIFY(trace.all().find("user interface settings: stored") != std::string::npos);
    }

    // "mode|home page|cursor|restricted @focus" after the keys, from the mode, page and focus given.
    void keypad_data()
    {
        table({"focus", "keys", "state"}, R"(
Right steps the mode | comboF2KeyMode | Right | Toggle to Braid Stats|http://a.example/|17| @comboF2KeyMode
Enter in the open list | comboF2KeyMode | Popup Down Enter | Toggle to Braid Stats|http://a.example/|17| @comboF2KeyMode
Down to the home page | comboF2KeyMode | Down | Toggle to Channel Stats|http://a.example/|17| @browserHomeURL
Left in the home page | browserHomeURL | Left Left Enter | Toggle to Channel Stats|http://a.example/|15| @browserHomeURL
Right flips restricted | restrictedUser | Right | Toggle to Channel Stats|http://a.example/|17|restricted @restrictedUser
)");
    }

    void keypad()
    {
        KeypadSetup setup;
        QVERIFY(showActive(&setup));
        loadSettings("name=p_keypad keypadF2Mode:i=4; name=p_browser homeURL=http://a.example/");
        setup.paneAboutToShow();
        QCOMPARE(QApplication::focusWidget(), setup.comboF2KeyMode);
        setup.findChild<QWidget*>(cell("focus"))->setFocus();
        pressKeys(setup, cell("keys"), setup.comboF2KeyMode);
        QVERIFY(!setup.comboF2KeyMode->view()->isVisible());
        QTEST(QStringLiteral("%1|%2|%3|%4 @%5").arg(setup.comboF2KeyMode->currentText(), setup.browserHomeURL->text())
                  .arg(setup.browserHomeURL->cursorPosition())
                  .arg(setup.restrictedUser->isChecked() ? "restricted" : "", QApplication::focusWidget()->objectName()),
              "state");
    }
};

QTEST_MAIN(TestSettingForms)
#include "test_settingforms.moc"
