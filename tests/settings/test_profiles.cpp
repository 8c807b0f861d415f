#include "cachefeeder.h"
#include "editsetting.h"
#include "logcapture.h"
#include "modalwatch.h"
#include "platformkey.h"
#include "profileitems.h"
#include "profilelist.h"
#include "settinggrouplist.h"
#include "tunneltree.h"

#include <QtTest>

using namespace cachefeeder;

namespace {
// The first channel is advanced: while hidden, profiles have no default channel.
const Message kChannels = tunnelTree(R"x(channelList {channel id=tcp descr="IP (TCP)" advanced:b=true} {channel id=rtp_udp_mux descr="IP (UDP)"}
    {channel id=pots descr="Telephone Line" remote_opts:b=false})x");

const Message kOptions = tunnelTree(R"(channelOpts {option name=jitter type=int default=60 display_name=Jitter channel=rtp_udp_mux profile_opt:b=true}
    {option name=fec default=off display_name=FEC channel=rtp_udp_mux profile_opt:b=true advanced:b=true}
    {option name=line_mode default=v34 display_name="Line Mode" channel=pots profile_opt:b=true}
    {option name=port type=int default=9000 display_name=Port channel=rtp_udp_mux})");

// The profiles in detail: 1, a factory profile on the IP channel, and 2 on `channel2` with the line
// mode given.
void answerProfileDetails(const QString& channel2 = "pots", const QString& lineMode = "v34", const QString& jitter1 = "80")
{
    cachefeeder::answer("profileList", tunnelTree("profileList {profile id:i=1 factory:b=true {settings name=\"Factory IP\" channel=rtp_udp_mux "
                                                  "visible=true} {local jitter=" + jitter1 + "} {remote jitter=40}} {profile id:i=2 {settings "
                                                  "name=\"Studio <B>\" channel=" + channel2 + "} {local line_mode=" + lineMode + "}}"));
}

// The listed profiles by id: 1 the factory one, 2 the default one; 4 has another name outside its
// settings, which win.
const QMap<QString, Message> kProfiles{
    {"1", tunnelTree("profile id:i=1 name=\"Factory IP\" factory:b=true {settings name=\"Factory IP\"}")},
    {"2", tunnelTree("profile id:i=2 name=\"Studio Link\" default:b=true {settings name=\"Studio Link\"}")},
    {"3", tunnelTree("profile id:i=3 name=\"Phone Line\" {settings name=\"Phone Line\"}")},
    {"4", tunnelTree("profile id:i=4 name=Old {settings name=Renamed default:b=true}")},
    {"9", tunnelTree("profile id:i=9 name=\"New Profile\" {settings name=\"New Profile\"}")}};

// A "profileList" answer with the profiles of the ids given, in that order.
void answerProfiles(const QString& ids)
{
    Message list("profileList");
    for (const QString& id : ids.split(' ', Qt::SkipEmptyParts))
        list.add_child(kProfiles.value(id));
    cachefeeder::answer("profileList", list);
}

// The rows, ">" before the current one, then what the buttons offer for it.
QString state(const ProfileList& list)
{
    QStringList texts;
    for (int row = 0; row < list.listProfiles->count(); ++row)
        texts << (row == list.listProfiles->currentRow() ? ">" : "") + list.listProfiles->item(row)->text();
    return texts.join(", ") + " | " + list.buttonEdit->text() + (list.buttonRemove->isEnabled() ? " Remove" : "")
           + (list.labelFactory->isHidden() ? "" : " factory");
}
} // namespace

class TestProfiles : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        cachefeeder::answer("channelList", kChannels);
        cachefeeder::answer("channelOpts", kOptions);
        answerProfileDetails();
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
        answerProfileDetails("pots", "voice");
        QCOMPARE(cachefeeder::treeText(tree), QString("Global Settings~+, Profile Name=Studio <B>*, Channel=Telephone Line*, "
                                                      "Visible=Visible#,Local Settings~+, Line Mode=voice*"));
        QCOMPARE(tree->topLevelItem(1)->child(0), lineMode);

        items.populateItems(1, true);
        answerProfileDetails("pots", "v34", "70");
        QCOMPARE(tree->topLevelItem(1)->child(0)->text(1), QString("70"));
        items.populateItems(2, false);
        answerProfileDetails("rtp_udp_mux");
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

    void rowsFollowTheListAndKeepTheCurrentProfile()
    {
        // Without profiles there is nothing to edit and no factory mark.
        answerProfiles("");
        ProfileList list;
        QSignalSpy edit(&list, &ProfileList::editProfile);
        LogCapture log(LOG_ERROR);
        list.buttonEdit->click();
        QVERIFY(edit.isEmpty() && list.labelFactory->isHidden());
        QVERIFY(log.all().find("profile list, item is null") != std::string::npos);
        answerProfiles("1 2 3");
        QCOMPARE(state(list), QString(">Factory IP, *Studio Link, Phone Line | View factory"));
        list.listProfiles->setCurrentRow(2);
        QCOMPARE(state(list), QString("Factory IP, *Studio Link, >Phone Line | Edit Remove"));
        answerProfiles("2 3 1");
        QCOMPARE(state(list), QString("*Studio Link, >Phone Line, Factory IP | Edit Remove"));
        // When the current profile is gone, the first row takes over.
        answerProfiles("4 1");
        QCOMPARE(state(list), QString(">*Renamed, Factory IP | Edit Remove"));
    }

    // Each request acts on the current profile; a new one is selected once its list arrives.
    void requestsForTheCurrentProfile()
    {
        ProfileList list;
        answerProfiles("1 2 3");
        list.listProfiles->setCurrentRow(1);
        QSignalSpy edit(&list, &ProfileList::editProfile);
        RequestLog log;
        list.buttonCopy->click();
        list.buttonDefault->click();
        list.buttonEdit->click();
        list.listProfiles->setCurrentRow(0);
        list.buttonEdit->click();
        QCOMPARE(QList<QVariantList>(edit), (QList<QVariantList>{{2, false}, {1, true}}));
        list.buttonNew->click();
        QCOMPARE(log.sent(), QString("copyProfile id=2 name=Copy of Studio Link; setProfile default=true id=2; "
                                         "addProfile channel=rtp_udp_mux name=New Profile"));
        cachefeeder::answer("addProfile", tunnelTree("addProfile id:i=9"));
        answerProfiles("1 2 3 9");
        QCOMPARE(list.listProfiles->currentItem()->text(), QString("New Profile"));
    }

    // The profile asked about is the one deleted, even when a new list took its row meanwhile.
    void removalQuestion_data()
    {
        cachefeeder::table({"sent"}, R"(
yes | deleteProfile id=2
no |
yes after the list changed | deleteProfile id=2
)");
    }

    void removalQuestion()
    {
        const QString sent = cachefeeder::cell("sent");
        ProfileList list;
        answerProfiles("1 2 3");
        list.listProfiles->setCurrentRow(1);
        QSignalSpy modal(&list, &ProfileList::changeModal);
        RequestLog log;
        QString question;
        answerNextQuestion(&list, sent.isEmpty() ? QMessageBox::No : QMessageBox::Yes, [&](QMessageBox& box) {
            question = box.text() + QString(" modal=%1").arg(modal.count());
            if (QString(QTest::currentDataTag()).contains("changed"))
                answerProfiles("3");
        });
        list.buttonRemove->click();

        QCOMPARE(question, QString("This will delete the '*Studio Link' profile.\n\nDo you wish to continue? modal=1"));
        QCOMPARE(QList<QVariantList>(modal), (QList<QVariantList>{{true}, {false}}));
        QCOMPARE(log.sent(), sent);
    }
};

QTEST_MAIN(TestProfiles)
#include "test_profiles.moc"
