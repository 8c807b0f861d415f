#include "cachefeeder.h"
#include "editsetting.h"
#include "keypress.h"
#include "platformkey.h"
#include "profileitems.h"
#include "settinggrouplist.h"
#include "tunneltree.h"

#include <QtTest>

namespace {
// The first channel is advanced: while hidden, profiles have no default channel.
const Message kChannels = tunnelTree(R"x(channelList {channel id=tcp descr="IP (TCP)" advanced:b=true} {channel id=rtp_udp_mux descr="IP (UDP)"}
    {channel id=pots descr="Telephone Line" remote_opts:b=false})x");

const Message kOptions = tunnelTree(R"(channelOpts {option name=jitter type=int default=60 display_name=Jitter channel=rtp_udp_mux profile_opt:b=true}
    {option name=fec default=off display_name=FEC channel=rtp_udp_mux profile_opt:b=true advanced:b=true}
    {option name=line_mode default=v34 display_name="Line Mode" channel=pots profile_opt:b=true}
    {option name=port type=int default=9000 display_name=Port channel=rtp_udp_mux})");

// Profile 1, a factory profile on the IP channel, and profile 2 on `channel2` with the line mode given.
void answerProfiles(const QString& channel2 = "pots", const QString& lineMode = "v34", const QString& jitter1 = "80")
{
    cachefeeder::answer("profileList", tunnelTree("profileList {profile id:i=1 factory:b=true {settings name=\"Factory IP\" channel=rtp_udp_mux "
                                                  "visible=true} {local jitter=" + jitter1 + "} {remote jitter=40}} {profile id:i=2 {settings "
                                                  "name=\"Studio <B>\" channel=" + channel2 + "} {local line_mode=" + lineMode + "}}"));
}

} // namespace

class TestProfileItems : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        cachefeeder::answer("channelList", kChannels);
        cachefeeder::answer("channelOpts", kOptions);
        answerProfiles();
    }

    // Grey rows are the ones Edit does not act on; a factory profile only lets Visible change.
    void rowsFollowTheProfile_data()
    {
        cachefeeder::table({"id", "advanced", "rows"}, R"(
factory | 1 |  | Global Settings~+, Profile Name=Factory IP*~#, Channel=IP (UDP)*~, Visible=Visible,Local Settings~+, Jitter=80*~,Remote Settings~+, Jitter=40*~
advanced shown | 1 | advanced | Global Settings~+, Profile Name=Factory IP*~#, Channel=IP (UDP)*~, Visible=Visible,Local Settings~+, Jitter=80*~, FEC=off~,Remote Settings~+, Jitter=40*~, FEC=off~
user profile, no remote settings on the channel | 2 |  | Global Settings~+, Profile Name=Studio <B>*#, Channel=Telephone Line*, Visible=Visible,Local Settings~+, Line Mode=v34*
unknown profile, first channel by default | 9 | advanced | Global Settings~+, Profile Name=New Profile#, Channel=IP (TCP), Visible=Visible
)");
    }

    void rowsFollowTheProfile()
    {

        EditSetting editor;
        ProfileItems items(&editor);
        QSignalSpy edit(&items, &ProfileItems::editProfileSetting);
        connect(&items, &ProfileItems::editProfileSetting, &editor, &EditSetting::populateProfileItem);
        items.populateItems(cachefeeder::cell("id").toInt(), cachefeeder::cell("id") == "1");
        items.checkAdvanced->setChecked(!cachefeeder::cell("advanced").isEmpty());
        QTreeWidget* tree = items.treeProfileItems;
        QTEST(cachefeeder::treeText(tree), "rows");
        int editable = 0;
        for (QTreeWidgetItem* row : tree->findItems("*", Qt::MatchWildcard | Qt::MatchRecursive)) {
            tree->setCurrentItem(row);
            const bool black = row->parent() && row->foreground(0).color() == QColor(0, 0, 0);
            QCOMPARE(items.buttonEdit->isEnabled(), black);
            items.buttonEdit->click();
            editable += black;
            QCOMPARE(edit.count(), editable);
            QCOMPARE(editor.labelTitle->text(), black ? row->text(0) : editor.labelTitle->text());
        }
    }

    void channelChangeRebuildsOtherChangesUpdateInPlace()
    {
        EditSetting editor;
        ProfileItems items(&editor);
        items.populateItems(2, false);
        QVERIFY(showActive(&items));
        items.paneAboutToShow();
        QCOMPARE(QApplication::focusWidget(), items.buttonEdit);
        // From the last option down to a group row: nothing to edit, the keypad goes on to Done.
        items.treeProfileItems->setCurrentItem(items.treeProfileItems->topLevelItem(0)->child(2));
        items.treeProfileItems->setFocus();
        pressKeys(items, "Down");
        QCOMPARE(QApplication::focusWidget(), items.buttonDone);
        QTreeWidget* tree = items.treeProfileItems;
        QCOMPARE(items.labelProfileSettings->text(), QString("Profile Settings - <b>Studio &lt;B&gt;</b>"));
        QTreeWidgetItem* lineMode = tree->topLevelItem(1)->child(0);
        tree->setCurrentItem(tree->topLevelItem(0)->child(2));
        answerProfiles("pots", "voice");
        QCOMPARE(cachefeeder::treeText(tree), QString("Global Settings~+, Profile Name=Studio <B>*, Channel=Telephone Line*, "
                                                      "Visible=Visible#,Local Settings~+, Line Mode=voice*"));
        QCOMPARE(tree->topLevelItem(1)->child(0), lineMode);

        items.populateItems(1, true);
        answerProfiles("pots", "v34", "70");
        QCOMPARE(tree->topLevelItem(1)->child(0)->text(1), QString("70"));
        items.populateItems(2, false);
        answerProfiles("rtp_udp_mux");
        QCOMPARE(cachefeeder::treeText(tree), QString("Global Settings~+, Profile Name=Studio <B>*#, Channel=IP (UDP)*, Visible=Visible,"
                                                      "Local Settings~+, Jitter=60,Remote Settings~+, Jitter=60"));
    }

    void groupListOutOfRange()
    {
        SettingGroupList groups;
        groups.buildProfileGroups("2", false);
        QCOMPARE(groups.groupTitle(2), std::string());
        QCOMPARE(groups.optionCount(2) + groups.optionCount(-1), 0);
        QVERIFY(!groups.option(1, 1));
    }
};

QTEST_MAIN(TestProfileItems)
#include "test_profileitems.moc"
