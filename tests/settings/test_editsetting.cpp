#include "cachefeeder.h"
#include "editsetting.h"

#include <QSignalSpy>
#include <QtTest>

using cachefeeder::answer;

namespace {
const char* const kGain = "name=gain type=int default=0 units=dB min:i=-40 max:i=12 group=sysOptions subgroup=audio";
const char* const kRegister =
    "name=register type=bool default=false label_true=Register label_false=\"Do Not Register\" channel=sip";
const char* const kUser = R"(name=user type=string default="" channel=sip)";
const char* const kFec = R"(<m n="option"><s k="name">fec</s><s k="type">select</s><s k="default">off</s>
    <s k="channel">ip</s><b k="profile_opt">true</b><m n="select"><s k="name">Off</s><s k="value">off</s></m>
    <m n="select"><s k="name">Low</s><s k="value">low</s></m><m n="select"><s k="name">High</s><s k="value">high</s></m></m>)";
const char* const kEncoder = "name=encoder type=codec default=opus channel=ip profile_opt:b=true";

bool showActive(QWidget* window)
{
    window->show();
    QApplication::setActiveWindow(window);
    return QTest::qWaitForWindowActive(window);
}
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
    void codecDetailsFollowTheChoice();
    void doneSignalFollowsWhoAsked();
    void keysActOnTheInputOfTheType_data();
    void keysActOnTheInputOfTheType();

private:
    // profile: "id/section", empty for a system or channel option.
    void edit(const QString& description, const QString& profile = QString(), bool fromProfile = false);
    QString inputState() const;

    EditSetting* m_editor = nullptr;
};

void TestEditSetting::initTestCase()
{
    answer("sysOptions", R"(<m n="sysOptions"><m n="audio"><s k="gain">-6</s></m></m>)");
    answer("channelList", R"(<m n="channelList">
        <m n="channel"><s k="id">sip</s><s k="register">true</s><s k="user">studio1</s></m></m>)");
    answer("profileList", R"(<m n="profileList"><m n="profile"><i k="id">2</i>
        <m n="local"><s k="fec">low</s><s k="encoder">g722</s></m><m n="remote"><s k="encoder">mp2</s></m></m></m>)");
    answer("codecList", R"(<m n="codecList">
        <m n="codec"><s k="id">opus</s><s k="code">OP</s><s k="mode">Stereo</s><s k="name">Opus</s>
          <s k="descr">Opus Stereo</s><u k="quality">5</u><u k="delay">25</u></m>
        <m n="codec"><s k="id">g722</s><s k="code">G2</s><s k="mode">Mono</s><s k="name">G.722</s>
          <s k="descr">G.722 Mono</s><u k="quality">2</u><u k="delay">10</u></m></m>)");
}

void TestEditSetting::init()
{
    m_editor = new EditSetting;
    QVERIFY(showActive(m_editor));
}

void TestEditSetting::cleanup()
{
    delete m_editor;
}

// As the tree screens do it: hand over the option, switch to the editor, let it fill itself.
void TestEditSetting::edit(const QString& description, const QString& profile, bool fromProfile)
{
    const Message msg = cachefeeder::option(description.toStdString());
    const QStringList where = profile.split('/');
    m_editor->setOption(profile.isEmpty() ? SettingOption(msg)
                                          : SettingOption(msg, where[0].toStdString(), where[1].toStdString()));
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
    const QComboBox* combo = page == m_editor->pageSelect ? m_editor->comboValue : m_editor->comboCodec;
    QStringList items;
    for (int i = 0; i < combo->count(); ++i)
        items << (i == combo->currentIndex() ? "*" : "") + combo->itemText(i) + "=" + combo->itemData(i).toString();
    if (page == m_editor->pageInt)
        return QStringLiteral("int %1..%2 = %3").arg(m_editor->spinValue->minimum())
            .arg(m_editor->spinValue->maximum()).arg(m_editor->spinValue->value());
    if (page == m_editor->pageBool)
        return QStringLiteral("bool '%1' %2").arg(m_editor->checkValue->text(),
                                                  m_editor->checkValue->isChecked() ? "on" : "off");
    if (page == m_editor->pageString)
        return QStringLiteral("string '%1'").arg(m_editor->lineValue->text());
    return (page == m_editor->pageSelect ? "select " : "codec ") + items.join(", ");
}

// Each row then goes back to the default (shown, nothing sent yet) and saves that.
void TestEditSetting::populatesThePageOfItsType_data()
{
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("profile");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("inputAtDefault");
    QTest::addColumn<QString>("request");

    QTest::newRow("int, system option writes its default") << kGain << "" << "int -40..12 = -6" << "-6 dB / 0 dB"
        << "int -40..12 = 0" << R"(<m n="setSysOptions"><m n="audio"><s k="gain">0</s></m></m>)";
    QTest::newRow("bool with labels") << kRegister << "" << "bool 'Register' on" << "Register / Do Not Register"
        << "bool 'Register' off"
        << R"(<m n="setChannelSettings"><s k="id">sip</s><m n="channel"><m n="reset"><s k="name">register</s></m></m></m>)";
    QTest::newRow("select, local profile option is reset") << kFec << "2/local" << "select Off=off, *Low=low, High=high"
        << "Low / Off" << "select *Off=off, Low=low, High=high"
        << R"(<m n="setProfile"><s k="id">2</s><m n="local"><m n="reset"><s k="name">fec</s></m></m></m>)";
    QTest::newRow("codec, local") << kEncoder << "2/local" << "codec OP: Stereo Opus=opus, *G2: Mono G.722=g722"
        << "G2: Mono G.722 / OP: Stereo Opus" << "codec *OP: Stereo Opus=opus, G2: Mono G.722=g722"
        << R"(<m n="setProfile"><s k="id">2</s><m n="local"><m n="reset"><s k="name">encoder</s></m></m></m>)";
    // Only the remote end may follow the local encoder; its unknown value leaves the first entry.
    QTest::newRow("codec, remote, unmatched value") << kEncoder << "2/remote"
        << "codec *Follow local encoder=!follow, OP: Stereo Opus=opus, G2: Mono G.722=g722" << "mp2 / OP: Stereo Opus"
        << "codec Follow local encoder=!follow, *OP: Stereo Opus=opus, G2: Mono G.722=g722"
        << R"(<m n="setProfile"><s k="id">2</s><m n="remote"><m n="reset"><s k="name">encoder</s></m></m></m>)";
}

void TestEditSetting::populatesThePageOfItsType()
{
    QFETCH(QString, description);
    QFETCH(QString, profile);
    QFETCH(QString, input);
    QFETCH(QString, values);
    QFETCH(QString, inputAtDefault);
    QFETCH(QString, request);

    // A previous option on another page must not leak into this one.
    edit(kEncoder, "2/remote");
    edit(description, profile);
    QCOMPARE(inputState(), input);
    QCOMPARE(m_editor->labelCurrentValue->text() + " / " + m_editor->labelDefaultValue->text(), values);
    QVERIFY(!m_editor->buttonSave->isEnabled());

    cachefeeder::RequestLog log;
    QTest::mouseClick(m_editor->buttonDefault, Qt::LeftButton);
    QVERIFY(log.requests().empty());
    QCOMPARE(inputState(), inputAtDefault);
    QVERIFY(!m_editor->buttonDefault->isEnabled());
    QVERIFY(m_editor->buttonSave->isEnabled());
    QTest::mouseClick(m_editor->buttonSave, Qt::LeftButton);
    QCOMPARE(log.lastTree(), cachefeeder::tree(request.toStdString()));
}

void TestEditSetting::saveOnlyWhenChanged()
{
    edit(kGain);
    m_editor->spinValue->setValue(3);
    QVERIFY(m_editor->buttonSave->isEnabled());
    m_editor->spinValue->setValue(-6);
    QVERIFY(!m_editor->buttonSave->isEnabled());

    edit(kUser);
    m_editor->lineValue->setText("studio2");
    QVERIFY(m_editor->buttonSave->isEnabled());
    m_editor->lineValue->setText("studio1");
    QVERIFY(!m_editor->buttonSave->isEnabled());
}

void TestEditSetting::codecDetailsFollowTheChoice()
{
    edit(kEncoder, "2/local");
    QCOMPARE(m_editor->labelCodecDescription->text() + " " + m_editor->labelCodecQuality->text() + " "
                 + m_editor->labelCodecDelay->text(), QStringLiteral("G.722 Mono 2% 10ms"));
    m_editor->comboCodec->setCurrentIndex(0);
    QCOMPARE(m_editor->labelCodecDescription->text(), QStringLiteral("Opus Stereo"));
    QVERIFY(m_editor->buttonSave->isEnabled());

    edit(kEncoder, "2/remote");
    m_editor->comboCodec->setCurrentIndex(2);
    m_editor->comboCodec->setCurrentIndex(0);
    QCOMPARE(m_editor->labelCodecQuality->text(), QStringLiteral("(follow)"));
}

// Save stores and Cancel does not; either way the tree that asked hears back.
void TestEditSetting::doneSignalFollowsWhoAsked()
{
    QSignalSpy profileDone(m_editor, &EditSetting::profileEditDone);
    QSignalSpy channelDone(m_editor, &EditSetting::channelEditDone);
    cachefeeder::RequestLog log;
    edit(kFec, "2/local", true);
    m_editor->comboValue->setCurrentIndex(2);
    QTest::mouseClick(m_editor->buttonSave, Qt::LeftButton);
    edit(kFec, "2/local");
    m_editor->comboValue->setCurrentIndex(2);
    QTest::mouseClick(m_editor->buttonCancel, Qt::LeftButton);
    QCOMPARE(int(log.requests().size()), 1);
    QCOMPARE(profileDone.count(), 1);
    QCOMPARE(channelDone.count(), 1);
}

void TestEditSetting::keysActOnTheInputOfTheType_data()
{
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("profile");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("focus");

    QTest::newRow("int, right steps up") << kGain << "" << int(Qt::Key_Right) << "int -40..12 = -5" << "buttonCancel";
    QTest::newRow("bool toggles, focus to Save") << kRegister << "" << int(Qt::Key_Left) << "bool 'Register' off"
                                                 << "buttonSave";
    QTest::newRow("select, right picks the next") << kFec << "2/local" << int(Qt::Key_Right)
                                                  << "select Off=off, Low=low, *High=high" << "comboValue";
}

void TestEditSetting::keysActOnTheInputOfTheType()
{
    QFETCH(QString, description);
    QFETCH(QString, profile);
    QFETCH(int, key);
    QFETCH(QString, input);
    QFETCH(QString, focus);

    edit(description, profile);
    m_editor->buttonCancel->setFocus();
    m_editor->handleKey(key, true, false);
    m_editor->handleKey(key, false, false);
    QCoreApplication::processEvents();
    QCOMPARE(inputState(), input);
    QCOMPARE(QApplication::focusWidget()->objectName(), focus);
    QVERIFY(m_editor->buttonSave->isEnabled());
}

QTEST_MAIN(TestEditSetting)
#include "test_editsetting.moc"
