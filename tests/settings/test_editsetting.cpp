#include "cachefeeder.h"
#include "editsetting.h"

#include <QSignalSpy>
#include <QtTest>

namespace {
const char* const kGain = "name=gain type=int default=0 units=dB min:i=-40 max:i=12 group=sysOptions subgroup=audio";
const char* const kRegister =
    "name=register type=bool default=false label_true=Register label_false=\"Do Not Register\" channel=sip";
const char* const kEncoder = "name=encoder type=codec default=opus channel=ip profile_opt:b=true";
} // namespace

class TestEditSetting : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { delete m_editor; }
    void populatesThePageOfItsType_data();
    void populatesThePageOfItsType();
    void doneSignalFollowsWhoAsked();
    void boolKeyMovesToSaveEnabledOnlyWhenChanged();

private:
    // profile: "id/section", empty for a system or channel option.
    void edit(const QString& description, const QString& profile = QString(), bool fromProfile = false);
    QString inputState() const;

    EditSetting* m_editor = nullptr;
};

void TestEditSetting::initTestCase()
{
    cachefeeder::answer("sysOptions", R"(<m n="sysOptions"><m n="audio"><s k="gain">-6</s></m></m>)");
    cachefeeder::answer("channelList", R"(<m n="channelList">
        <m n="channel"><s k="id">sip</s><s k="register">true</s></m></m>)");
    cachefeeder::answer("profileList", R"(<m n="profileList"><m n="profile"><i k="id">2</i>
        <m n="local"><s k="encoder">g722</s></m><m n="remote"><s k="encoder">mp2</s></m></m></m>)");
    cachefeeder::answer("codecList", R"(<m n="codecList">
        <m n="codec"><s k="id">opus</s><s k="code">OP</s><s k="mode">Stereo</s><s k="name">Opus</s></m>
        <m n="codec"><s k="id">g722</s><s k="code">G2</s><s k="mode">Mono</s><s k="name">G.722</s></m></m>)");
}

void TestEditSetting::init()
{
    m_editor = new EditSetting;
    m_editor->show();
    QApplication::setActiveWindow(m_editor);
    QVERIFY(QTest::qWaitForWindowActive(m_editor));
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
    if (page == m_editor->pageInt)
        return QStringLiteral("int %1..%2 = %3").arg(m_editor->spinValue->minimum())
            .arg(m_editor->spinValue->maximum()).arg(m_editor->spinValue->value());
    if (page == m_editor->pageBool)
        return QStringLiteral("bool '%1' %2").arg(m_editor->checkValue->text(),
                                                  m_editor->checkValue->isChecked() ? "on" : "off");
    const QComboBox* combo = m_editor->comboCodec;
    QStringList items;
    for (int i = 0; i < combo->count(); ++i)
        items << (i == combo->currentIndex() ? "*" : "") + combo->itemText(i) + "=" + combo->itemData(i).toString();
    return (page == m_editor->pageCodec ? "codec " : "other ") + items.join(", ");
}

// Each row then goes back to the default (shown, nothing sent yet) and saves that.
void TestEditSetting::populatesThePageOfItsType_data()
{
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("profile");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("inputAtDefault");
    QTest::addColumn<QString>("request");

    QTest::newRow("int, system option writes its default") << kGain << "" << "int -40..12 = -6" << "int -40..12 = 0"
        << R"(<m n="setSysOptions"><m n="audio"><s k="gain">0</s></m></m>)";
    QTest::newRow("bool with labels") << kRegister << "" << "bool 'Register' on" << "bool 'Register' off"
        << R"(<m n="setChannelSettings"><s k="id">sip</s><m n="channel"><m n="reset"><s k="name">register</s></m></m></m>)";
    QTest::newRow("codec, local") << kEncoder << "2/local" << "codec OP: Stereo Opus=opus, *G2: Mono G.722=g722"
        << "codec *OP: Stereo Opus=opus, G2: Mono G.722=g722"
        << R"(<m n="setProfile"><s k="id">2</s><m n="local"><m n="reset"><s k="name">encoder</s></m></m></m>)";
    // Only the remote end may follow the local encoder; its unknown value leaves the first entry.
    QTest::newRow("codec, remote, unmatched value") << kEncoder << "2/remote"
        << "codec *Follow local encoder=!follow, OP: Stereo Opus=opus, G2: Mono G.722=g722"
        << "codec Follow local encoder=!follow, *OP: Stereo Opus=opus, G2: Mono G.722=g722"
        << R"(<m n="setProfile"><s k="id">2</s><m n="remote"><m n="reset"><s k="name">encoder</s></m></m></m>)";
}

void TestEditSetting::populatesThePageOfItsType()
{
    QFETCH(QString, description);
    QFETCH(QString, profile);
    QFETCH(QString, input);
    QFETCH(QString, inputAtDefault);
    QFETCH(QString, request);

    // A previous option on another page must not leak into this one.
    edit(kEncoder, "2/remote");
    edit(description, profile);
    QCOMPARE(inputState(), input);
    QVERIFY(!m_editor->buttonSave->isEnabled());

    cachefeeder::RequestLog log;
    QTest::mouseClick(m_editor->buttonDefault, Qt::LeftButton);
    QVERIFY(log.requests().empty());
    QCOMPARE(inputState(), inputAtDefault);
    QVERIFY(m_editor->buttonSave->isEnabled());
    QTest::mouseClick(m_editor->buttonSave, Qt::LeftButton);
    QCOMPARE(log.lastTree(), cachefeeder::tree(request.toStdString()));
}

// Save stores and Cancel does not; either way the tree that asked hears back.
void TestEditSetting::doneSignalFollowsWhoAsked()
{
    QSignalSpy profileDone(m_editor, &EditSetting::profileEditDone);
    QSignalSpy channelDone(m_editor, &EditSetting::channelEditDone);
    cachefeeder::RequestLog log;
    edit(kEncoder, "2/local", true);
    m_editor->comboCodec->setCurrentIndex(0);
    QTest::mouseClick(m_editor->buttonSave, Qt::LeftButton);
    edit(kEncoder, "2/local");
    m_editor->comboCodec->setCurrentIndex(0);
    QTest::mouseClick(m_editor->buttonCancel, Qt::LeftButton);
    QCOMPARE(int(log.requests().size()), 1);
    QCOMPARE(profileDone.count(), 1);
    QCOMPARE(channelDone.count(), 1);
}

void TestEditSetting::boolKeyMovesToSaveEnabledOnlyWhenChanged()
{
    edit(kRegister);
    m_editor->buttonCancel->setFocus();
    m_editor->handleKey(Qt::Key_Left, true, false);
    m_editor->handleKey(Qt::Key_Left, false, false);
    QCoreApplication::processEvents();
    QCOMPARE(inputState(), QStringLiteral("bool 'Register' off"));
    QCOMPARE(QApplication::focusWidget(), m_editor->buttonSave);
    QVERIFY(m_editor->buttonSave->isEnabled());
    m_editor->checkValue->setChecked(true);
    QVERIFY(!m_editor->buttonSave->isEnabled());
}

QTEST_MAIN(TestEditSetting)
#include "test_editsetting.moc"
