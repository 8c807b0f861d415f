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
    cachefeeder::answer("sysOptions", "<m n=\"sysOptions\"><s k=\"unit_name\">Rack</s><m n=\"audio\">" + audio
                                          + "</m></m>");
}

QStringList checkedSwitches(const AudioSettings& audio)
{
    const std::pair<const QCheckBox*, const char*> boxes[] = {
        {audio.checkCue, "cue"},   {audio.checkPGM, "pgm"},   {audio.checkPhantom, "phantom"},
        {audio.checkProLevel, "pro_level"}, {audio.checkCell, "cell"},
        {audio.checkMixerPhantom, "mixer_phantom"}, {audio.checkMixerCell, "mixer_cell"},
    };
    QStringList on;
    for (const auto& box : boxes) {
        if (box.first->isChecked())
            on << box.second;
    }
    return on;
}

QStringList switchedOnIn(const Message& request)
{
    QStringList on;
    const Message* audio = request.find_child("audio");
    for (const char* name : kSwitches) {
        if (audio && audio->params().get_bool(name, false))
            on << name;
    }
    return on;
}

} // namespace

class TestAudioSettings : public QObject {
    Q_OBJECT

private slots:
    void formFollowsTheBackend_data();
    void formFollowsTheBackend();
    void answerWithoutAudioLeavesTheForm();
    void unappliedChangesSurviveNewOptions();
    void applySendsEverySwitch();
    void professionalLevelHiddenOnRevision2_data();
    void professionalLevelHiddenOnRevision2();
    void keypadTogglesAndMoves_data();
    void keypadTogglesAndMoves();
};

void TestAudioSettings::formFollowsTheBackend_data()
{
    QTest::addColumn<QStringList>("on");
    QTest::newRow("none") << QStringList();
    QTest::newRow("all") << QStringList{"cue", "pgm", "phantom", "pro_level", "cell", "mixer_phantom", "mixer_cell"};
    QTest::newRow("main only") << QStringList{"cue", "phantom", "cell"};
    QTest::newRow("mixer only") << QStringList{"mixer_phantom", "mixer_cell"};
}

void TestAudioSettings::formFollowsTheBackend()
{
    QFETCH(QStringList, on);
    AudioSettings audio;
    answerAudio({"pgm", "pro_level"});
    answerAudio(on);
    QCOMPARE(checkedSwitches(audio), on);
    QVERIFY(!audio.buttonApply->isEnabled());

    // Absent switches read as off.
    cachefeeder::answer("sysOptions", "<m n=\"sysOptions\"><m n=\"audio\"/></m>");
    QCOMPARE(checkedSwitches(audio), QStringList());
}

void TestAudioSettings::answerWithoutAudioLeavesTheForm()
{
    AudioSettings audio;
    answerAudio({"cue", "mixer_cell"});
    cachefeeder::answer("sysOptions", "<m n=\"sysOptions\"><s k=\"unit_name\">Rack</s></m>");
    QCOMPARE(checkedSwitches(audio), (QStringList{"cue", "mixer_cell"}));
}

void TestAudioSettings::unappliedChangesSurviveNewOptions()
{
    AudioSettings audio;
    answerAudio({"cue"});
    audio.checkPhantom->setChecked(true);
    QVERIFY(audio.buttonApply->isEnabled());

    answerAudio({"pgm", "cell"});
    QCOMPARE(checkedSwitches(audio), (QStringList{"cue", "phantom"}));
    QVERIFY(audio.buttonApply->isEnabled());

    // Once applied, the form follows the backend again.
    audio.buttonApply->click();
    QVERIFY(!audio.buttonApply->isEnabled());
    answerAudio({"pgm", "cell"});
    QCOMPARE(checkedSwitches(audio), (QStringList{"pgm", "cell"}));
}

void TestAudioSettings::applySendsEverySwitch()
{
    AudioSettings audio;
    answerAudio({"pro_level", "mixer_phantom"});
    audio.checkMixerPhantom->setChecked(false);
    audio.checkCue->setChecked(true);

    RequestLog log;
    audio.buttonApply->click();
    QCOMPARE(log.requests().size(), std::size_t(1));
    const Message& request = log.requests().front();
    QCOMPARE(request.name, std::string("setSysOptions"));
    QCOMPARE(request.params().get_string("seq", ""), std::string("sysOptions"));
    QCOMPARE(request.find_child("audio")->params().size(), std::size(kSwitches));
    QCOMPARE(switchedOnIn(request), (QStringList{"cue", "pro_level"}));
}

void TestAudioSettings::professionalLevelHiddenOnRevision2_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("shown");
    QTest::newRow("revision 1") << "<u k=\"portable_rev\">1</u>" << true;
    QTest::newRow("revision 2") << "<u k=\"portable_rev\">2</u>" << false;
    QTest::newRow("revision 3") << "<u k=\"portable_rev\">3</u>" << true;
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

void TestAudioSettings::keypadTogglesAndMoves_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("focusAfter");
    QTest::addColumn<bool>("phantomAfter");

    QTest::newRow("enter toggles") << int(Qt::Key_Enter) << "checkPhantom" << true;
    QTest::newRow("left toggles") << int(Qt::Key_Left) << "checkPhantom" << true;
    QTest::newRow("right toggles") << int(Qt::Key_Right) << "checkPhantom" << true;
    QTest::newRow("down moves on") << int(Qt::Key_Down) << "checkProLevel" << false;
    QTest::newRow("up moves back") << int(Qt::Key_Up) << "checkPGM" << false;
    QTest::newRow("others ignored") << int(Qt::Key_Escape) << "checkPhantom" << false;
}

void TestAudioSettings::keypadTogglesAndMoves()
{
    QFETCH(int, key);
    QFETCH(QString, focusAfter);
    QFETCH(bool, phantomAfter);

    AudioSettings audio;
    QVERIFY(showActive(&audio));
    answerAudio({});
    audio.paneAboutToShow();
    audio.handleKey(key, true, false);
    audio.handleKey(key, false, false);
    QCOMPARE(QApplication::focusWidget()->objectName(), focusAfter);
    QCOMPARE(audio.checkPhantom->isChecked(), phantomAfter);
    QCOMPARE(audio.buttonApply->isEnabled(), phantomAfter);
}

QTEST_MAIN(TestAudioSettings)
#include "test_audiosettings.moc"
