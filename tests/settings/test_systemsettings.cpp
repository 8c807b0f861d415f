#include "cachefeeder.h"
#include "editsetting.h"
#include "platformkey.h"
#include "systemsettings.h"
#include "tunneltree.h"

#include <QtTest>

using namespace cachefeeder;

namespace {
// Groups come sorted by title, system groups before channel groups; a channel the unit does not
// list keeps its id as title, and options kept in profiles stay out.
const Message kSystemOpts = tunnelTree(R"(systemOpts
    {option name=unit_name display_name="Unit Name" default=ORVANE group=sysOptions group_name=General}
    {option name=ntp display_name="Time Server" default=pool group=sysOptions group_name=General advanced:b=true}
    {option name=enabled type=bool display_name=Directory default=true label_true=Online label_false=Offline group=directoryServer group_name=Directory}
    {option name=gain display_name=Gain default=0 group=sysOptions subgroup=audio group_name=Audio})");
const Message kChannelOpts = tunnelTree(R"(channelOpts {option name=port type=int display_name="UDP Port" default=9000 min:i=1024 max:i=65535 channel=ip}
    {option name=dscp display_name=DSCP default=46 channel=ip advanced:b=true} {option name=user display_name=User channel=sip}
    {option name=line display_name=Line channel=isdn} {option name=jitter display_name=Jitter channel=ip profile_opt:b=true})");
} // namespace

class TestSystemSettings : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        answer("sysOptions", msg("sysOptions", "unit_name=Studio ntp=pool", {msg("audio", "gain=-6")}));
        answer("directoryServer", msg("directoryServer", "enabled=true"));
        answer("channelList", msg("channelList", "", {msg("channel", "id=ip descr=\"IP (UDP)\" port=9000"), msg("channel", "id=sip descr=SIP")}));
        answer("systemOpts", kSystemOpts);
        m_editor = new EditSetting;
        m_screen = new SystemSettings(m_editor);
        answer("channelOpts", kChannelOpts);
        m_screen->paneAboutToShow();
    }

    void cleanup()
    {
        delete m_screen;
        delete m_editor;
    }

    // A new answer refreshes the rows in place: selection and collapsed groups stay as they were.
    void treeFollowsDescriptionsAndValues_data()
    {
        cachefeeder::table({"advanced", "seq", "answer", "rows"}, R"(
advanced shown | advanced |  |  | Audio~+, Gain=-6*#,Directory~+, Directory=Online,General~+, Unit Name=Studio*, Time Server=pool,IP (UDP) Settings~+, UDP Port=9000*, DSCP=46,SIP Settings~+, User,isdn Settings~+, Line
system options |  | sysOptions | unit_name=ORVANE | Audio~, Gain=0,Directory~+, Directory=Online,General~+, Unit Name=ORVANE,IP (UDP) Settings~+, UDP Port=9000*#,SIP Settings~+, User,isdn Settings~+, Line
)");
    }

    void treeFollowsDescriptionsAndValues()
    {
        const std::string seq = cachefeeder::cell("seq").toStdString();
        m_screen->checkAdvanced->setChecked(!cachefeeder::cell("advanced").isEmpty());
        QTreeWidget* tree = m_screen->treeSysConfig;
        if (!seq.empty()) {
            tree->topLevelItem(0)->setExpanded(false);
            tree->setCurrentItem(tree->topLevelItem(3)->child(0));
            cachefeeder::answer(seq, msg(seq, cachefeeder::cell("answer").toStdString()));
        }
        QTEST(cachefeeder::treeText(tree), "rows");
    }

    void editHandsTheOptionToTheEditor()
    {
        connect(m_screen, &SystemSettings::editOption, m_editor, &EditSetting::populateChannelItem);
        QTreeWidget* tree = m_screen->treeSysConfig;
        tree->setCurrentItem(tree->topLevelItem(3)->child(0));
        m_screen->buttonEdit->click();
        QCOMPARE(m_editor->labelTitle->text(), QStringLiteral("UDP Port"));
        QCOMPARE(m_editor->spinValue->value(), 9000);

        // On show and on choosing an option, the keypad is on Edit.
        QVERIFY(showActive(m_screen));
        tree->setFocus();
        m_screen->paneAboutToShow();
        QCOMPARE(QApplication::focusWidget(), m_screen->buttonEdit);
        tree->setFocus();
        tree->setCurrentItem(tree->topLevelItem(0)->child(0));
        QCOMPARE(QApplication::focusWidget(), m_screen->buttonEdit);

        // Hidden, the screen leaves the focus where it is.
        m_screen->paneAboutToHide();
        tree->setFocus();
        tree->setCurrentItem(tree->topLevelItem(3)->child(0));
        QCOMPARE(QApplication::focusWidget(), tree);
        tree->setCurrentItem(tree->topLevelItem(0)->child(0));
        // Down moves to a group row, an empty selection neither: nothing to edit.
        tree->setFocus();
        pressKeys(*m_screen, "Down");
        QCOMPARE(tree->currentItem(), tree->topLevelItem(1));
        QCOMPARE(QApplication::focusWidget(), tree);
        QVERIFY(!m_screen->buttonEdit->isEnabled());
    }

private:
    EditSetting* m_editor = nullptr;
    SystemSettings* m_screen = nullptr;
};

QTEST_MAIN(TestSystemSettings)
#include "test_systemsettings.moc"
