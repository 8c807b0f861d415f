#include "audiosettings.h"
#include "cachefeeder.h"
#include "keypress.h"
#include "platformkey.h"

#include <QtTest>

using cachefeeder::msg;

namespace {
const char* const kSwitches[] = {"cue", "pgm", "phantom", "pro_level", "cell", "mixer_phantom", "mixer_cell"};

// "sysOptions" whose "audio" group turns on exactly the switches named in `on`.
void answerAudio(const QStringList& on)
{
    Message audio("audio");
    for (const char* name : kSwitches)
        audio.params().set_bool(name, on.contains(name));
    cachefeeder::answer("sysOptions", msg("sysOptions", "", {audio}));
}

QStringList checkedSwitches(const AudioSettings& audio)
{
    const QCheckBox* boxes[] = {audio.checkCue,  audio.checkPGM,          audio.checkPhantom,  audio.checkProLevel,
                                audio.checkCell, audio.checkMixerPhantom, audio.checkMixerCell};
    QStringList on;
    for (std::size_t i = 0; i < std::size(boxes); ++i) {
        if (boxes[i]->isChecked())
            on << kSwitches[i];
    }
    return on;
}

// Applies the form; the switches the single "setSysOptions" sent turns on (each must be in it).
QStringList apply(AudioSettings& audio)
{
    cachefeeder::RequestLog log;
    audio.buttonApply->click();
    QStringList on;
    const Message* settings = log.requests().size() == 1 && log.requests().front().name == "setSysOptions"
                                  ? log.requests().front().find_child("audio") : nullptr;
    for (const char* name : kSwitches) {
        if (!settings || !settings->params().has_param(name))
            on << QString("missing ") + name;
        else if (settings->params().get_bool(name, false))
            on << name;
    }
    return on;
}
} // namespace

class TestAudioSettings : public QObject {
    Q_OBJECT

private slots:
    void formFollowsTheBackendUntilChanged()
    {
        AudioSettings audio;
        answerAudio({"pgm", "pro_level", "mixer_cell"});
        QCOMPARE(checkedSwitches(audio), (QStringList{"pgm", "pro_level", "mixer_cell"}));
        // Absent switches read as off.
        cachefeeder::answer("sysOptions", msg("sysOptions", "", {msg("audio", "cue:b=true")}));
        QCOMPARE(checkedSwitches(audio), QStringList{"cue"});
        QVERIFY(!audio.buttonApply->isEnabled());

        audio.checkPhantom->setChecked(true);
        QVERIFY(audio.buttonApply->isEnabled());
        answerAudio({"pgm", "cell"});
        QCOMPARE(checkedSwitches(audio), (QStringList{"cue", "phantom"}));
        QCOMPARE(apply(audio), (QStringList{"cue", "phantom"}));
        // Once applied, the form follows the backend again.
        QVERIFY(!audio.buttonApply->isEnabled());
        answerAudio({"pgm", "cell"});
        QCOMPARE(checkedSwitches(audio), (QStringList{"pgm", "cell"}));
    }

    void professionalLevelHiddenOnRevision2_data()
    {
        cachefeeder::table({"version", "shown", "applied"}, R"(
revision 1 | portable_rev:u=1 | true |
revision 2 | portable_rev:u=2 | false | pro_level cell
no revision |  | true |
)");
    }

    // Down skips the hidden switch, which keeps its state on Apply; Right flips the one in focus.
    void professionalLevelHiddenOnRevision2()
    {
        AudioSettings audio;
        QVERIFY(showActive(&audio));
        cachefeeder::answer("version", msg("version", cachefeeder::cell("version").toStdString()));
        answerAudio({"pro_level"});
        audio.paneAboutToShow();
        QTEST(QVariant(audio.checkProLevel->isVisible()).toString(), "shown");
        QVERIFY(audio.checkPhantom->hasFocus());
        pressKeys(audio, "Down Right");
        QTEST(apply(audio).join(' '), "applied");
    }
};

QTEST_MAIN(TestAudioSettings)
#include "test_audiosettings.moc"
