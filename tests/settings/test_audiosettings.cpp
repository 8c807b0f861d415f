#include "audiosettings.h"
#include "cachefeeder.h"
#include "platformkey.h"

#include <QtTest>

using cachefeeder::RequestLog;

namespace {
const char* const kSwitches[] = {"cue", "pgm", "phantom", "pro_level", "cell", "mixer_phantom", "mixer_cell"};

// "sysOptions" whose "audio" group turns on exactly the switches named in `on`.
void answerAudio(const QStringList& on)
{
    std::string audio;
    for (const char* name : kSwitches)
        audio += std::string("<b k=\"") + name + "\">" + (on.contains(name) ? "true" : "false") + "</b>";
    cachefeeder::answer("sysOptions", "<m n=\"sysOptions\"><m n=\"audio\">" + audio + "</m></m>");
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

// The switches a "setSysOptions" request turns on; every switch must be in it.
QStringList switchedOnIn(const Message& request)
{
    QStringList on;
    const Message* audio = request.find_child("audio");
    for (const char* name : kSwitches) {
        if (!audio || !audio->params().has_param(name))
            on << QString("missing ") + name;
        else if (audio->params().get_bool(name, false))
            on << name;
    }
    return on;
}
} // namespace

class TestAudioSettings : public QObject {
    Q_OBJECT

private slots:
    void formFollowsTheBackendUntilChanged();
    void professionalLevelHiddenOnRevision2_data();
    void professionalLevelHiddenOnRevision2();
};

void TestAudioSettings::formFollowsTheBackendUntilChanged()
{
    AudioSettings audio;
    answerAudio({"pgm", "pro_level", "mixer_cell"});
    QCOMPARE(checkedSwitches(audio), (QStringList{"pgm", "pro_level", "mixer_cell"}));
    // An answer without audio leaves the form; absent switches read as off.
    cachefeeder::answer("sysOptions", "<m n=\"sysOptions\"><s k=\"unit_name\">Rack</s></m>");
    QCOMPARE(checkedSwitches(audio), (QStringList{"pgm", "pro_level", "mixer_cell"}));
    cachefeeder::answer("sysOptions", "<m n=\"sysOptions\"><m n=\"audio\"><b k=\"cue\">true</b></m></m>");
    QCOMPARE(checkedSwitches(audio), QStringList{"cue"});
    QVERIFY(!audio.buttonApply->isEnabled());

    audio.checkPhantom->setChecked(true);
    QVERIFY(audio.buttonApply->isEnabled());
    answerAudio({"pgm", "cell"});
    QCOMPARE(checkedSwitches(audio), (QStringList{"cue", "phantom"}));

    RequestLog log;
    audio.buttonApply->click();
    QCOMPARE(log.requests().size(), std::size_t(1));
    QCOMPARE(log.requests().front().name, std::string("setSysOptions"));
    QCOMPARE(switchedOnIn(log.requests().front()), (QStringList{"cue", "phantom"}));
    // Once applied, the form follows the backend again.
    QVERIFY(!audio.buttonApply->isEnabled());
    answerAudio({"pgm", "cell"});
    QCOMPARE(checkedSwitches(audio), (QStringList{"pgm", "cell"}));
}

void TestAudioSettings::professionalLevelHiddenOnRevision2_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("shown");
    QTest::newRow("revision 1") << "<u k=\"portable_rev\">1</u>" << true;
    QTest::newRow("revision 2") << "<u k=\"portable_rev\">2</u>" << false;
    QTest::newRow("no revision") << "" << true;
}

void TestAudioSettings::professionalLevelHiddenOnRevision2()
{
    QFETCH(QString, version);
    QFETCH(bool, shown);

    AudioSettings audio;
    QVERIFY(showActive(&audio));
    cachefeeder::answer("version", "<m n=\"version\">" + version.toStdString() + "</m>");
    answerAudio({"pro_level"});
    audio.paneAboutToShow();
    QCOMPARE(audio.checkProLevel->isVisible(), shown);
    QVERIFY(audio.checkPhantom->hasFocus());

    // Hidden or not, the switch keeps its state on Apply.
    audio.checkCell->setChecked(true);
    RequestLog log;
    audio.buttonApply->click();
    QCOMPARE(switchedOnIn(log.requests().front()), (QStringList{"pro_level", "cell"}));
}

QTEST_MAIN(TestAudioSettings)
#include "test_audiosettings.moc"
