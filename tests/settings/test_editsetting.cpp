#include "cachefeeder.h"
#include "editorform.h"
#include "editsetting.h"
#include "platformkey.h"
#include "tunneltree.h"

#include <QtTest>

using namespace cachefeeder;

namespace {
// The options the rows name, as the tree screens hand them over.
const QMap<QString, Message> kOptions{
    {"gain", msg("option", "name=gain type=int default=0 units=dB min:i=-40 max:i=12 group=sysOptions subgroup=audio")},
    {"register", msg("option", "name=register type=bool default=false label_true=Register label_false=\"Do Not Register\" channel=sip")},
    {"mode", tunnelTree("option name=mode type=select default=off group=sysOptions {select name=Off value=off} {select name=Low value=low}")},
    {"label", msg("option", "name=label default=Studio group=sysOptions")},
    {"encoder", msg("option", "name=encoder type=codec default=opus channel=ip profile_opt:b=true")}};
} // namespace

class TestEditSetting : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        cachefeeder::answer("sysOptions", tunnelTree("sysOptions mode=low label=Rack {audio gain=-6}"));
        cachefeeder::answer("channelList", tunnelTree("channelList {channel id=sip register=true}"));
        cachefeeder::answer("profileList", tunnelTree("profileList {profile id:i=2 {local encoder=g722} {remote encoder=mp2}}"));
        cachefeeder::answer("codecList", tunnelTree("codecList {codec id=opus code=OP mode=Stereo name=Opus descr=Wideband quality=90 "
                                                    "delay=20} {codec id=g722 code=G2 mode=Mono name=G.722}"));
        QVERIFY(showActive(&m_editor));
    }

    // Each row then goes back to the default (shown, nothing sent yet) and saves that, and the tree
    // that asked (profile/channel) hears back. The string is cleared first; only the remote end may
    // follow the local encoder, and an unknown value leaves the first entry, described.
    void populatesThePageOfItsType_data()
    {
        cachefeeder::table({"option", "profile", "input", "inputAtDefault", "request"}, R"(
int | gain |  | int -40 dB..12 dB [-40..12] = -6 dB (-6 dB/0 dB) default | int -40 dB..12 dB [-40..12] = 0 dB (0 dB/0 dB) save | setSysOptions {audio gain=0} done 0/1
bool | register |  | bool 'Register' on (Register/Do Not Register) default | bool 'Register' off (Do Not Register/Do Not Register) save | setChannelSettings id=sip {channel {reset name=register}} done 0/1
select | mode |  | select Off=off, *Low=low (Low/Off) default | select *Off=off, Low=low (Off/Off) save | setSysOptions mode=off done 0/1
string | label |  | string '' (Rack/Studio) save default | string 'Studio' (Studio/Studio) save | setSysOptions label=Studio done 0/1
codec, local | encoder | 2/local | codec OP: Stereo Opus=opus, *G2: Mono G.722=g722 (G2: Mono G.722/OP: Stereo Opus) [  ] default | codec *OP: Stereo Opus=opus, G2: Mono G.722=g722 (OP: Stereo Opus/OP: Stereo Opus) [Wideband 90% 20ms] save | setProfile id=2 {local {reset name=encoder}} done 1/0
codec, remote | encoder | 2/remote | codec *Follow local encoder=!follow, OP: Stereo Opus=opus, G2: Mono G.722=g722 (mp2/OP: Stereo Opus) [Follow the local encoder settings. (follow) (follow)] default | codec Follow local encoder=!follow, *OP: Stereo Opus=opus, G2: Mono G.722=g722 (OP: Stereo Opus/OP: Stereo Opus) [Wideband 90% 20ms] save | setProfile id=2 {remote {reset name=encoder}} done 1/0
)");
    }

    void populatesThePageOfItsType()
    {
        QSignalSpy profileDone(&m_editor, &EditSetting::profileEditDone);
        QSignalSpy channelDone(&m_editor, &EditSetting::channelEditDone);
        // A previous option on another page must not leak into this one.
        edit("encoder", "2/remote");
        edit(cell("option"), cell("profile"), !cell("profile").isEmpty());
        if (cell("option") == "label")
            QTest::mouseClick(m_editor.buttonStringClear, Qt::LeftButton);
        QTEST(editorState(m_editor), "input");
        cachefeeder::RequestLog log;
        QTest::mouseClick(m_editor.buttonDefault, Qt::LeftButton);
        QTEST(editorState(m_editor), "inputAtDefault");
        QTest::mouseClick(m_editor.buttonSave, Qt::LeftButton);
        QTEST(log.sent() + QStringLiteral(" done %1/%2").arg(profileDone.count()).arg(channelDone.count()), "request");
    }

    // Keys act on the input of the option's page; Enter presses the button in focus, Cancel storing
    // nothing but telling the tree that asked.
    void keypad_data()
    {
        cachefeeder::table({"option", "profile", "focus", "keys", "state"}, R"(
int steps | gain |  |  | Right Right Left | int -40 dB..12 dB [-40..12] = -5 dB (-6 dB/0 dB) save default @spinValue
bool flips, Save takes the focus | register |  |  | Left | bool 'Register' off (Register/Do Not Register) save default @buttonSave
string cursor | label |  |  | Left Left | string 'Rack' (Rack/Studio) default 2 @lineValue
select | mode |  | buttonCancel | Left | select *Off=off, Low=low (Low/Off) save default @comboValue
codec | encoder | 2/local |  | Right Left | codec *OP: Stereo Opus=opus, G2: Mono G.722=g722 (G2: Mono G.722/OP: Stereo Opus) [Wideband 90% 20ms] save default @comboCodec
Enter on Default | gain |  | buttonDefault | Enter | int -40 dB..12 dB [-40..12] = 0 dB (0 dB/0 dB) save @spinValue
Enter on Clear | label |  | buttonStringClear | Enter | string '' (Rack/Studio) save default 0 @lineValue
Down leaves the input | gain |  |  | Down | int -40 dB..12 dB [-40..12] = -6 dB (-6 dB/0 dB) default @buttonDefault
Cancel after a change | gain |  |  | Right Down Down Down Enter | int -40 dB..12 dB [-40..12] = -5 dB (-6 dB/0 dB) save default @buttonCancel done
)");
    }

    void keypad()
    {
        cachefeeder::RequestLog log;
        QSignalSpy done(&m_editor, &EditSetting::channelEditDone);
        edit(cell("option"), cell("profile"));
        if (!cell("focus").isEmpty())
            m_editor.findChild<QWidget*>(cell("focus"))->setFocus();
        pressKeys(m_editor, cell("keys"), m_editor.comboValue);
        QVERIFY(!m_editor.comboValue->view()->isVisible());
        const bool text = m_editor.stackEdit->currentWidget() == m_editor.pageString;
        QTEST(editorState(m_editor) + (text ? " " + QString::number(m_editor.lineValue->cursorPosition()) : QString()) + " @"
                  + QApplication::focusWidget()->objectName() + (done.isEmpty() ? "" : " done") + log.sent(),
              "state");
    }

private:
    // As the tree screens do it: hand over the option ("id/section" for a profile's), switch to
    // the editor (the keypad on Cancel), let it fill itself.
    void edit(const QString& option, const QString& profile, bool fromProfile = false)
    {
        const QStringList where = profile.split('/');
        m_editor.setOption(profile.isEmpty() ? SettingOption(kOptions.value(option))
                                             : SettingOption(kOptions.value(option), where[0].toStdString(), where[1].toStdString()));
        m_editor.paneAboutToShow();
        QCOMPARE(QApplication::focusWidget(), m_editor.buttonCancel);
        fromProfile ? m_editor.populateProfileItem() : m_editor.populateChannelItem();
    }

    EditSetting m_editor;
};

QTEST_MAIN(TestEditSetting)
#include "test_editsetting.moc"
