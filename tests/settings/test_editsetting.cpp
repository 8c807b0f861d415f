#include "cachefeeder.h"
#include "editsetting.h"

#include <QSignalSpy>
#include <QtTest>

using cachefeeder::answer;
using cachefeeder::parse;
using cachefeeder::tree;

Q_DECLARE_METATYPE(std::string)

namespace {
const char* const kGain = R"(<m n="option"><s k="name">gain</s><s k="type">int</s><s k="default">0</s>
    <s k="display_name">Headphone Gain</s><s k="descr">Level of the headphones.</s><s k="units">dB</s>
    <i k="min">-40</i><i k="max">12</i><s k="group">sysOptions</s><s k="subgroup">audio</s></m>)";
const char* const kBareInt = R"(<m n="option"><s k="name">count</s><s k="type">int</s><s k="default">5</s>
    <s k="group">sysOptions</s></m>)";
const char* const kRegister = R"(<m n="option"><s k="name">register</s><s k="type">bool</s><s k="default">false</s>
    <s k="label_true">Register</s><s k="label_false">Do Not Register</s><s k="channel">sip</s></m>)";
const char* const kUser = R"(<m n="option"><s k="name">user</s><s k="type">string</s><s k="default"></s>
    <s k="channel">sip</s></m>)";
const char* const kFec = R"(<m n="option"><s k="name">fec</s><s k="type">select</s><s k="default">off</s>
    <s k="channel">ip</s><b k="profile_opt">true</b>
    <m n="select"><s k="name">Off</s><s k="value">off</s></m>
    <m n="select"><s k="name">Low</s><s k="value">low</s></m>
    <m n="select"><s k="name">High</s><s k="value">high</s></m></m>)";
const char* const kBackup = R"(<m n="option"><s k="name">backup</s><s k="type">peer</s><s k="default">0</s>
    <s k="channel">ip</s><b k="profile_opt">true</b></m>)";
const char* const kEncoder = R"(<m n="option"><s k="name">encoder</s><s k="type">codec</s><s k="default">opus</s>
    <s k="channel">ip</s><b k="profile_opt">true</b></m>)";
bool showActive(QWidget* window)
{
    window->show();
    QApplication::setActiveWindow(window);
    return QTest::qWaitForWindowActive(window);
}

const char* const kProfileName = R"(<m n="option"><s k="name">name</s><s k="default">New Profile</s>
    <s k="channel"></s><b k="profile_opt">true</b><s k="display_name">Profile Name</s></m>)";
} // namespace

class TestEditSetting : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void populatesThePageOfItsType_data();
    void populatesThePageOfItsType();
    void saveOnlyWhenChanged();
    void defaultThenSave_data();
    void defaultThenSave();
    void codecDetailsFollowTheChoice();
    void doneSignalFollowsWhoAsked_data();
    void doneSignalFollowsWhoAsked();
    void clearTextEmptiesAndFocusesTheLine();
    void keysActOnTheInputOfTheType_data();
    void keysActOnTheInputOfTheType();
    void upDownMoveTheFocusAndEnterPresses();

private:
    void edit(const std::string& description, const QString& profileId = QString(),
              const QString& section = QString(), bool fromProfile = false);
    QString inputState() const;

    EditSetting* m_editor = nullptr;
};

void TestEditSetting::initTestCase()
{
    answer("sysOptions", R"(<m n="sysOptions"><s k="auto_answer">true</s><m n="audio"><s k="gain">-6</s></m></m>)");
    answer("channelList", R"(<m n="channelList">
        <m n="channel"><s k="id">sip</s><s k="register">true</s><s k="user">studio1</s></m></m>)");
    answer("profileList", R"(<m n="profileList"><m n="profile"><i k="id">2</i>
        <m n="settings"><s k="name">Studio Link</s></m>
        <m n="local"><s k="fec">low</s><s k="encoder">g722</s></m>
        <m n="remote"><s k="encoder">mp2</s><s k="backup">3</s></m></m></m>)");
    answer("codecList", R"(<m n="codecList">
        <m n="codec"><s k="id">opus</s><s k="code">OP</s><s k="mode">Stereo</s><s k="name">Opus</s>
          <s k="descr">Opus Stereo</s><u k="quality">5</u><u k="delay">25</u></m>
        <m n="codec"><s k="id">g722</s><s k="code">G2</s><s k="mode">Mono</s><s k="name">G.722</s>
          <s k="descr">G.722 Mono</s><u k="quality">2</u><u k="delay">10</u></m></m>)");
    answer("peerList", R"(<m n="peerList"><m n="peer"><i k="id">3</i><s k="name">Van</s></m></m>)");
}

void TestEditSetting::init()
{
    m_editor = new EditSetting;
    QVERIFY(showActive(m_editor));
}

void TestEditSetting::cleanup()
{
    delete m_editor;
    m_editor = nullptr;
}

// As the tree screens do it: hand over the option, switch to the editor, let it fill itself.
void TestEditSetting::edit(const std::string& description, const QString& profileId, const QString& section,
                           bool fromProfile)
{
    m_editor->setOption(profileId.isEmpty()
                            ? SettingOption(parse(description))
                            : SettingOption(parse(description), profileId.toStdString(), section.toStdString()));
    m_editor->paneAboutToShow();
    if (fromProfile)
        m_editor->populateProfileItem();
    else
        m_editor->populateChannelItem();
}

// The input page on show, as one line.
QString TestEditSetting::inputState() const
{
    const QWidget* page = m_editor->stackEdit->currentWidget();
    auto comboState = [](const QComboBox* combo) {
        QStringList items;
        for (int i = 0; i < combo->count(); ++i)
            items << (i == combo->currentIndex() ? "*" : "") + combo->itemText(i) + "=" + combo->itemData(i).toString();
        return items.join(", ");
    };
    if (page == m_editor->pageInt)
        return QStringLiteral("int %1..%2 = %3 '%4'; %5 to %6")
            .arg(m_editor->spinValue->minimum())
            .arg(m_editor->spinValue->maximum())
            .arg(m_editor->spinValue->value())
            .arg(m_editor->spinValue->suffix(), m_editor->labelMinimumValue->text(),
                 m_editor->labelMaximumValue->text());
    if (page == m_editor->pageBool)
        return QStringLiteral("bool '%1' %2").arg(m_editor->checkValue->text(),
                                                  m_editor->checkValue->isChecked() ? "on" : "off");
    if (page == m_editor->pageString)
        return QStringLiteral("string '%1'").arg(m_editor->lineValue->text());
    if (page == m_editor->pageSelect)
        return "select " + comboState(m_editor->comboValue);
    return "codec " + comboState(m_editor->comboCodec);
}

void TestEditSetting::populatesThePageOfItsType_data()
{
    QTest::addColumn<std::string>("description");
    QTest::addColumn<QString>("profileId");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("focus");
    QTest::addColumn<QString>("values");
    QTest::addColumn<bool>("defaultEnabled");

    QTest::newRow("int") << std::string(kGain) << "" << ""
                         << "int -40..12 = -6 ' dB'; -40 dB to 12 dB" << "spinValue" << "-6 dB / 0 dB" << true;
    QTest::newRow("int without bounds") << std::string(kBareInt) << "" << "" << "int 0..0 = 0 ' '; 0  to 0 "
                                        << "spinValue" << "5  / 5 " << false;
    QTest::newRow("bool with labels") << std::string(kRegister) << "" << "" << "bool 'Register' on" << "checkValue"
                                      << "Register / Do Not Register" << true;
    QTest::newRow("string") << std::string(kUser) << "" << "" << "string 'studio1'" << "lineValue"
                            << "studio1 / " << true;
    QTest::newRow("select") << std::string(kFec) << "2" << "local" << "select Off=off, *Low=low, High=high"
                            << "comboValue" << "Low / Off" << true;
    QTest::newRow("select, not stored") << std::string(kFec) << "2" << "remote"
                                        << "select *Off=off, Low=low, High=high" << "comboValue" << "Off / Off"
                                        << false;
    QTest::newRow("peer") << std::string(kBackup) << "2" << "remote" << "select None=0, *Van=3" << "comboValue"
                          << "Van / None" << true;
    QTest::newRow("codec, local") << std::string(kEncoder) << "2" << "local"
                                  << "codec OP: Stereo Opus=opus, *G2: Mono G.722=g722" << "comboCodec"
                                  << "G2: Mono G.722 / OP: Stereo Opus" << true;
    QTest::newRow("codec, remote, unmatched value")
        << std::string(kEncoder) << "2" << "remote"
        << "codec *Follow local encoder=!follow, OP: Stereo Opus=opus, G2: Mono G.722=g722" << "comboCodec"
        << "mp2 / OP: Stereo Opus" << true;
    QTest::newRow("profile settings at default") << std::string(kProfileName) << "4" << "settings"
                                                 << "string 'New Profile'" << "lineValue"
                                                 << "New Profile / New Profile" << false;
}

void TestEditSetting::populatesThePageOfItsType()
{
    QFETCH(std::string, description);
    QFETCH(QString, profileId);
    QFETCH(QString, section);
    QFETCH(QString, input);
    QFETCH(QString, focus);
    QFETCH(QString, values);
    QFETCH(bool, defaultEnabled);

    // A previous option on another page must not leak into this one.
    edit(kEncoder, "2", "remote");
    edit(description, profileId, section);
    QCOMPARE(inputState(), input);
    QCOMPARE(QApplication::focusWidget()->objectName(), focus);
    QCOMPARE(m_editor->labelCurrentValue->text() + " / " + m_editor->labelDefaultValue->text(), values);
    QCOMPARE(m_editor->buttonDefault->isEnabled(), defaultEnabled);
    QVERIFY(!m_editor->buttonSave->isEnabled());
    QVERIFY(m_editor->buttonDefault->isVisible() && m_editor->labelDefaultValue->isVisible());
}

void TestEditSetting::saveOnlyWhenChanged()
{
    edit(kGain);
    m_editor->spinValue->setValue(3);
    QVERIFY(m_editor->buttonSave->isEnabled());
    m_editor->spinValue->setValue(-6);
    QVERIFY(!m_editor->buttonSave->isEnabled());

    edit(kFec, "2", "remote");
    QVERIFY(!m_editor->buttonDefault->isEnabled());
    m_editor->comboValue->setCurrentIndex(2);
    QVERIFY(m_editor->buttonSave->isEnabled());
    QVERIFY(m_editor->buttonDefault->isEnabled());

    edit(kUser);
    m_editor->lineValue->setText("studio2");
    QVERIFY(m_editor->buttonSave->isEnabled());
    m_editor->lineValue->setText("studio1");
    QVERIFY(!m_editor->buttonSave->isEnabled());
}

void TestEditSetting::defaultThenSave_data()
{
    QTest::addColumn<std::string>("description");
    QTest::addColumn<QString>("profileId");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("input");
    QTest::addColumn<std::string>("request");

    QTest::newRow("system option writes its default")
        << std::string(kGain) << "" << "" << "int -40..12 = 0 ' dB'; -40 dB to 12 dB"
        << std::string(R"(<m n="setSysOptions"><m n="audio"><s k="gain">0</s></m></m>)");
    QTest::newRow("channel option is reset")
        << std::string(kRegister) << "" << "" << "bool 'Register' off"
        << std::string(R"(<m n="setChannelSettings"><s k="id">sip</s>
            <m n="channel"><m n="reset"><s k="name">register</s></m></m></m>)");
    QTest::newRow("local profile option is reset")
        << std::string(kFec) << "2" << "local" << "select *Off=off, Low=low, High=high"
        << std::string(R"(<m n="setProfile"><s k="id">2</s><m n="local"><m n="reset"><s k="name">fec</s></m></m></m>)");
    QTest::newRow("profile setting writes its default")
        << std::string(kProfileName) << "2" << "settings" << "string 'New Profile'"
        << std::string(R"(<m n="setProfile"><s k="id">2</s><m n="settings"><s k="name">New Profile</s></m></m>)");
}

void TestEditSetting::defaultThenSave()
{
    QFETCH(std::string, description);
    QFETCH(QString, profileId);
    QFETCH(QString, section);
    QFETCH(QString, input);
    QFETCH(std::string, request);

    edit(description, profileId, section);
    cachefeeder::RequestLog log;
    QTest::mouseClick(m_editor->buttonDefault, Qt::LeftButton);
    QVERIFY(log.requests().empty());
    QCOMPARE(inputState(), input);
    QCOMPARE(m_editor->labelCurrentValue->text(), m_editor->labelDefaultValue->text());
    QVERIFY(!m_editor->buttonDefault->isEnabled());
    QVERIFY(m_editor->buttonSave->isEnabled());

    QTest::mouseClick(m_editor->buttonSave, Qt::LeftButton);
    QCOMPARE(QString::fromStdString(log.lastTree()), QString::fromStdString(tree(request)));
}

void TestEditSetting::codecDetailsFollowTheChoice()
{
    edit(kEncoder, "2", "local");
    QCOMPARE(m_editor->labelCodecDescription->text(), QStringLiteral("G.722 Mono"));
    QCOMPARE(m_editor->labelCodecQuality->text(), QStringLiteral("2%"));
    QCOMPARE(m_editor->labelCodecDelay->text(), QStringLiteral("10ms"));
    QVERIFY(!m_editor->buttonSave->isEnabled());

    m_editor->comboCodec->setCurrentIndex(0);
    QCOMPARE(m_editor->labelCodecDescription->text(), QStringLiteral("Opus Stereo"));
    QCOMPARE(m_editor->labelCodecQuality->text(), QStringLiteral("5%"));
    QCOMPARE(m_editor->labelCodecDelay->text(), QStringLiteral("25ms"));
    QVERIFY(m_editor->buttonSave->isEnabled());

    // The remote end's value is unknown: the first entry stays, the details stay as they were.
    edit(kEncoder, "2", "remote");
    QCOMPARE(m_editor->comboCodec->currentIndex(), 0);
    QCOMPARE(m_editor->labelCodecDescription->text(), QStringLiteral("Opus Stereo"));
    m_editor->comboCodec->setCurrentIndex(2);
    m_editor->comboCodec->setCurrentIndex(0);
    QCOMPARE(m_editor->labelCodecDescription->text(), QStringLiteral("Follow the local encoder settings."));
    QCOMPARE(m_editor->labelCodecQuality->text(), QStringLiteral("(follow)"));
    QCOMPARE(m_editor->labelCodecDelay->text(), QStringLiteral("(follow)"));
    QCOMPARE(m_editor->labelCurrentValue->text(), QStringLiteral("mp2"));
}

void TestEditSetting::doneSignalFollowsWhoAsked_data()
{
    QTest::addColumn<bool>("fromProfile");
    QTest::addColumn<bool>("save");
    QTest::addColumn<int>("requests");

    QTest::newRow("profile tree, save") << true << true << 1;
    QTest::newRow("profile tree, cancel") << true << false << 0;
    QTest::newRow("system tree, save") << false << true << 1;
    QTest::newRow("system tree, cancel") << false << false << 0;
}

void TestEditSetting::doneSignalFollowsWhoAsked()
{
    QFETCH(bool, fromProfile);
    QFETCH(bool, save);
    QFETCH(int, requests);

    QSignalSpy profileDone(m_editor, &EditSetting::profileEditDone);
    QSignalSpy channelDone(m_editor, &EditSetting::channelEditDone);
    edit(kFec, "2", "local", fromProfile);
    m_editor->comboValue->setCurrentIndex(2);
    cachefeeder::RequestLog log;
    QTest::mouseClick(save ? m_editor->buttonSave : m_editor->buttonCancel, Qt::LeftButton);
    QCOMPARE(int(log.requests().size()), requests);
    QCOMPARE(profileDone.count(), fromProfile ? 1 : 0);
    QCOMPARE(channelDone.count(), fromProfile ? 0 : 1);
}

void TestEditSetting::clearTextEmptiesAndFocusesTheLine()
{
    edit(kUser);
    m_editor->buttonStringClear->setFocus();
    QTest::mouseClick(m_editor->buttonStringClear, Qt::LeftButton);
    QCOMPARE(m_editor->lineValue->text(), QString());
    QCOMPARE(QApplication::focusWidget(), m_editor->lineValue);
    QVERIFY(m_editor->buttonSave->isEnabled());
}

void TestEditSetting::keysActOnTheInputOfTheType_data()
{
    QTest::addColumn<std::string>("description");
    QTest::addColumn<QString>("profileId");
    QTest::addColumn<QString>("section");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("focus");

    QTest::newRow("int, right steps up") << std::string(kGain) << "" << "" << int(Qt::Key_Right)
                                         << "int -40..12 = -5 ' dB'; -40 dB to 12 dB" << "buttonCancel";
    QTest::newRow("int, left steps down") << std::string(kGain) << "" << "" << int(Qt::Key_Left)
                                          << "int -40..12 = -7 ' dB'; -40 dB to 12 dB" << "buttonCancel";
    QTest::newRow("bool toggles, focus to Save") << std::string(kRegister) << "" << "" << int(Qt::Key_Left)
                                                 << "bool 'Register' off" << "buttonSave";
    QTest::newRow("select, right picks the next") << std::string(kFec) << "2" << "local" << int(Qt::Key_Right)
                                                  << "select Off=off, Low=low, *High=high" << "comboValue";
    QTest::newRow("codec, left picks the previous") << std::string(kEncoder) << "2" << "local" << int(Qt::Key_Left)
                                                    << "codec *OP: Stereo Opus=opus, G2: Mono G.722=g722"
                                                    << "comboCodec";
    QTest::newRow("string, left moves the cursor") << std::string(kUser) << "" << "" << int(Qt::Key_Left)
                                                   << "string 'studio1'" << "lineValue";
}

void TestEditSetting::keysActOnTheInputOfTheType()
{
    QFETCH(std::string, description);
    QFETCH(QString, profileId);
    QFETCH(QString, section);
    QFETCH(int, key);
    QFETCH(QString, input);
    QFETCH(QString, focus);

    edit(description, profileId, section);
    m_editor->buttonCancel->setFocus();
    m_editor->handleKey(key, true, false);
    m_editor->handleKey(key, false, false);
    QCoreApplication::processEvents();
    QCOMPARE(inputState(), input);
    QCOMPARE(QApplication::focusWidget()->objectName(), focus);
    QCOMPARE(m_editor->buttonSave->isEnabled(), focus != "lineValue");
    if (focus == "lineValue")
        QCOMPARE(m_editor->lineValue->cursorPosition(), m_editor->lineValue->text().size() - 1);
}

void TestEditSetting::upDownMoveTheFocusAndEnterPresses()
{
    QSignalSpy channelDone(m_editor, &EditSetting::channelEditDone);
    edit(kGain);
    QCOMPARE(QApplication::focusWidget(), m_editor->spinValue);
    auto press = [this](int key) {
        m_editor->handleKey(key, true, false);
        m_editor->handleKey(key, false, false);
    };
    // Save is disabled until something changes, so the focus passes it by.
    press(Qt::Key_Down);
    QCOMPARE(QApplication::focusWidget(), m_editor->buttonDefault);
    press(Qt::Key_Down);
    QCOMPARE(QApplication::focusWidget(), m_editor->buttonCancel);
    press(Qt::Key_Up);
    QCOMPARE(QApplication::focusWidget(), m_editor->buttonDefault);

    // Enter presses the focused Default button: the page shows the default, nothing is sent.
    cachefeeder::RequestLog log;
    press(Qt::Key_Enter);
    QCOMPARE(m_editor->spinValue->value(), 0);
    QVERIFY(log.requests().empty());
    QCOMPARE(channelDone.count(), 0);

    m_editor->buttonCancel->setFocus();
    press(Qt::Key_Enter);
    QCOMPARE(channelDone.count(), 1);
    QVERIFY(log.requests().empty());
}

QTEST_MAIN(TestEditSetting)
#include "test_editsetting.moc"
