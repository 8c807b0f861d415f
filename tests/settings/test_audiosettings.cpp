#include "audiosettings.h"
#include "cachefeeder.h"
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

// Applies the form: the request it sends.
QString apply(AudioSettings& audio)
{
    RequestLog log;
    audio.buttonApply->click();
    return log.sent();
}
} // namespace

class TestAudioSettings : public QObject {
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
        QCOMPARE(apply(audio), QString("setSysOptions {audio cell=false cue=true mixer_cell=false mixer_phantom=false pgm=false "
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
        QTEST(apply(audio), "applied");
    }
};

QTEST_MAIN(TestAudioSettings)
#include "test_audiosettings.moc"
