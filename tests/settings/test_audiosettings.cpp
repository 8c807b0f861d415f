#include "audiosettings.h"
#include "cachefeeder.h"
#include "platformkey.h"

#include <QtTest>

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
        cachefeeder::answer("sysOptions", "<m n=\"sysOptions\"><m n=\"audio\"><b k=\"cue\">true</b></m></m>");
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
        QTest::addColumn<QString>("version");
        QTest::addColumn<bool>("shown");
        QTest::addColumn<QStringList>("applied");
        QTest::newRow("revision 1") << "<u k=\"portable_rev\">1</u>" << true << QStringList();
        QTest::newRow("revision 2") << "<u k=\"portable_rev\">2</u>" << false << QStringList{"pro_level", "cell"};
        QTest::newRow("no revision") << "" << true << QStringList();
    }

    // Down skips the hidden switch, which keeps its state on Apply; Right flips the one in focus.
    void professionalLevelHiddenOnRevision2()
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
        audio.handleKey(Qt::Key_Down, true, false);
        audio.handleKey(Qt::Key_Down, false, false);
        audio.handleKey(Qt::Key_Right, true, false);
        audio.handleKey(Qt::Key_Right, false, false);
        QTEST(apply(audio), "applied");
    }
};

QTEST_MAIN(TestAudioSettings)
#include "test_audiosettings.moc"
