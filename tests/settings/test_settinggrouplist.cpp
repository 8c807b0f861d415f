#include "cachefeeder.h"
#include "settinggrouplist.h"

#include <QtTest>

using cachefeeder::answer;

// What the backend lists: channels (one advanced, two without remote settings), their channel
// and profile options, system options in three groups, and two profiles.
namespace {
const char* const kChannels = R"(<m n="channelList">
    <m n="channel"><s k="id">ip</s><s k="descr">IP (UDP)</s><s k="port">9100</s></m>
    <m n="channel"><s k="id">tcp</s><s k="descr">IP (TCP)</s><b k="advanced">true</b></m>
    <m n="channel"><s k="id">sip</s><s k="descr">SIP</s><b k="remote_opts">false</b></m>
    <m n="channel"><s k="id">pots</s><s k="descr">Telephone Line</s><b k="remote_opts">false</b></m></m>)";

const char* const kChannelOpts = R"(<m n="channelOpts">
    <m n="option"><s k="name">port</s><s k="display_name">UDP Port</s><s k="channel">ip</s></m>
    <m n="option"><s k="name">dscp</s><s k="display_name">DSCP</s><s k="channel">ip</s><b k="advanced">true</b></m>
    <m n="option"><s k="name">user</s><s k="display_name">SIP User</s><s k="channel">sip</s></m>
    <m n="option"><s k="name">line</s><s k="display_name">ISDN Line</s><s k="channel">isdn</s></m>
    <m n="option"><s k="name">encoder</s><s k="display_name">Encoder</s><s k="channel">ip</s><b k="profile_opt">true</b></m>
    <m n="option"><s k="name">fec</s><s k="display_name">FEC</s><s k="channel">ip</s><b k="profile_opt">true</b>
      <b k="advanced">true</b></m>
    <m n="option"><s k="name">jitter</s><s k="display_name">Jitter</s><s k="channel">ip</s><b k="profile_opt">true</b></m>
    <m n="option"><s k="name">tcp_encoder</s><s k="display_name">TCP Encoder</s><s k="channel">tcp</s>
      <b k="profile_opt">true</b></m>
    <m n="option"><s k="name">mode</s><s k="display_name">Line Mode</s><s k="channel">pots</s><b k="profile_opt">true</b></m>
    </m>)";

const char* const kSystemOpts = R"(<m n="systemOpts">
    <m n="option"><s k="name">unit_name</s><s k="display_name">Unit Name</s><s k="group">sysOptions</s>
      <s k="group_name">General</s></m>
    <m n="option"><s k="name">enabled</s><s k="display_name">Directory</s><s k="group">directoryServer</s>
      <s k="group_name">Directory</s></m>
    <m n="option"><s k="name">ntp</s><s k="display_name">Time Server</s><s k="group">sysOptions</s>
      <s k="group_name">General</s><b k="advanced">true</b></m>
    <m n="option"><s k="name">gain</s><s k="display_name">Headphone Gain</s><s k="group">sysOptions</s>
      <s k="subgroup">audio</s><s k="group_name">Audio</s></m>
    <m n="option"><s k="name">zone</s><s k="display_name">Time Zone</s><s k="group">sysOptions</s>
      <s k="group_name">General</s></m></m>)";

const char* const kProfiles = R"(<m n="profileList">
    <m n="profile"><i k="id">2</i><m n="settings"><s k="name">Studio Link</s><s k="channel">ip</s></m></m>
    <m n="profile"><i k="id">3</i><m n="settings"><s k="name">Phone</s><s k="channel">pots</s>
      <s k="visible">false</s></m></m>
    <m n="profile"><i k="id">4</i><m n="settings"><s k="channel">isdn</s></m></m>
    <m n="profile"><i k="id">5</i><m n="settings"><s k="channel">sip</s></m></m>
    <m n="profile"><i k="id">6</i><m n="settings"><s k="channel">tcp</s></m></m></m>)";

// "Title: Name, Name | Title: ..." for comparing a whole list at once.
QString outline(const SettingGroupList& groups)
{
    QStringList parts;
    for (int g = 0; g < groups.groupCount(); ++g) {
        QStringList names;
        for (int o = 0; o < groups.optionCount(g); ++o)
            names << QString::fromStdString(groups.option(g, o)->displayName());
        parts << QString::fromStdString(groups.groupTitle(g)) + ": " + names.join(", ");
    }
    return parts.join(" | ");
}
} // namespace

class TestSettingGroupList : public QObject {
    Q_OBJECT

private slots:
    void init();
    void profileGroups_data();
    void profileGroups();
    void globalOptionsOfAProfile_data();
    void globalOptionsOfAProfile();
    void channelChoices_data();
    void channelChoices();
    void systemGroups_data();
    void systemGroups();
    void outOfRangeReadsAsNothing();
};

void TestSettingGroupList::init()
{
    answer("channelList", kChannels);
    answer("channelOpts", kChannelOpts);
    answer("systemOpts", kSystemOpts);
    answer("profileList", kProfiles);
}

void TestSettingGroupList::profileGroups_data()
{
    QTest::addColumn<QString>("profileId");
    QTest::addColumn<bool>("showAdvanced");
    QTest::addColumn<QString>("outline");

    const QString global = "Global Settings: Profile Name, Channel, Visible";
    QTest::newRow("local and remote") << "2" << false
                                      << global + " | Local Settings: Encoder, Jitter | Remote Settings: Encoder, Jitter";
    QTest::newRow("advanced shown") << "2" << true
                                    << global + " | Local Settings: Encoder, FEC, Jitter"
                                                " | Remote Settings: Encoder, FEC, Jitter";
    QTest::newRow("no remote settings on the channel") << "3" << false << global + " | Local Settings: Line Mode";
    QTest::newRow("unknown channel has no remote settings") << "4" << false << global;
    QTest::newRow("channel without profile options") << "5" << false << global;
    QTest::newRow("advanced channel still has its options") << "6" << false
        << global + " | Local Settings: TCP Encoder | Remote Settings: TCP Encoder";
    QTest::newRow("profile unknown: the first channel's") << "9" << false
        << global + " | Local Settings: Encoder, Jitter | Remote Settings: Encoder, Jitter";
}

void TestSettingGroupList::profileGroups()
{
    QFETCH(QString, profileId);
    QFETCH(bool, showAdvanced);
    QFETCH(QString, outline);

    SettingGroupList groups;
    groups.buildProfileGroups(profileId.toStdString(), showAdvanced);
    QCOMPARE(::outline(groups), outline);
    for (int g = 1; g < groups.groupCount(); ++g) {
        const std::string section = g == 1 ? "local" : "remote";
        for (int o = 0; o < groups.optionCount(g); ++o)
            QCOMPARE(groups.option(g, o)->getSection(), section);
    }
}

void TestSettingGroupList::globalOptionsOfAProfile_data()
{
    QTest::addColumn<QString>("profileId");
    QTest::addColumn<QString>("profileName");
    QTest::addColumn<QString>("nameText");
    QTest::addColumn<QString>("channelText");
    QTest::addColumn<QString>("visibleText");
    QTest::addColumn<bool>("visibleDefault");

    QTest::newRow("stored") << "3" << "Phone" << "Phone" << "Telephone Line" << "Invisible" << false;
    QTest::newRow("defaults") << "9" << "New Profile" << "New Profile" << "IP (UDP)" << "Visible" << true;
}

void TestSettingGroupList::globalOptionsOfAProfile()
{
    QFETCH(QString, profileId);
    QFETCH(QString, profileName);
    QFETCH(QString, nameText);
    QFETCH(QString, channelText);
    QFETCH(QString, visibleText);
    QFETCH(bool, visibleDefault);

    SettingGroupList groups;
    const SettingOption* channel = groups.buildProfileGroups(profileId.toStdString(), false);
    QCOMPARE(channel, groups.option(0, 1));
    QCOMPARE(QString::fromStdString(groups.profileName()), profileName);
    QCOMPARE(QString::fromStdString(groups.option(0, 0)->currentText()), nameText);
    QCOMPARE(QString::fromStdString(channel->currentText()), channelText);
    QCOMPARE(QString::fromStdString(groups.option(0, 2)->currentText()), visibleText);
    QCOMPARE(groups.option(0, 2)->isDefault(), visibleDefault);
    QCOMPARE(groups.option(0, 2)->defaultText(), std::string("Visible"));
    QCOMPARE(groups.option(0, 2)->units(), std::string("Visible"));
    for (int o = 0; o < 3; ++o)
        QCOMPARE(groups.option(0, o)->getSection(), std::string("settings"));
}

void TestSettingGroupList::channelChoices_data()
{
    QTest::addColumn<QString>("channels");
    QTest::addColumn<bool>("showAdvanced");
    QTest::addColumn<QStringList>("choices");
    QTest::addColumn<QString>("defaultText");

    QTest::newRow("advanced hidden") << kChannels << false
                                     << QStringList{"IP (UDP)=ip", "SIP=sip", "Telephone Line=pots"} << "IP (UDP)";
    QTest::newRow("advanced shown") << kChannels << true
                                    << QStringList{"IP (UDP)=ip", "IP (TCP)=tcp", "SIP=sip", "Telephone Line=pots"}
                                    << "IP (UDP)";
    const QString advancedFirst = R"(<m n="channelList">
        <m n="channel"><s k="id">tcp</s><s k="descr">IP (TCP)</s><b k="advanced">true</b></m>
        <m n="channel"><s k="id">ip</s><s k="descr">IP (UDP)</s></m></m>)";
    QTest::newRow("first channel hidden: no default") << advancedFirst << false << QStringList{"IP (UDP)=ip"} << "";
    QTest::newRow("first channel shown is the default") << advancedFirst << true
                                                        << QStringList{"IP (TCP)=tcp", "IP (UDP)=ip"} << "IP (TCP)";
    QTest::newRow("no channel list") << R"(<m n="channelList"/>)" << true << QStringList{} << "";
}

void TestSettingGroupList::channelChoices()
{
    QFETCH(QString, channels);
    QFETCH(bool, showAdvanced);
    QFETCH(QStringList, choices);
    QFETCH(QString, defaultText);

    answer("channelList", channels.toStdString());
    SettingGroupList groups;
    // Profile 9 does not exist: its channel is the default.
    const SettingOption* channel = groups.buildProfileGroups("9", showAdvanced);
    QStringList actual;
    for (const SettingOption::Choice& choice : channel->choices())
        actual << QString::fromStdString(choice.first + "=" + choice.second);
    QCOMPARE(actual, choices);
    QCOMPARE(QString::fromStdString(channel->defaultText()), defaultText);
    QVERIFY(channel->isDefault());
}

void TestSettingGroupList::systemGroups_data()
{
    QTest::addColumn<bool>("showAdvanced");
    QTest::addColumn<QString>("forgotten");
    QTest::addColumn<QString>("outline");

    QTest::newRow("sorted, system before channel groups")
        << false << ""
        << "Audio: Headphone Gain | Directory: Directory | General: Unit Name, Time Zone"
           " | IP (UDP) Settings: UDP Port | SIP Settings: SIP User | isdn Settings: ISDN Line";
    QTest::newRow("advanced shown") << true << ""
        << "Audio: Headphone Gain | Directory: Directory | General: Unit Name, Time Server, Time Zone"
           " | IP (UDP) Settings: UDP Port, DSCP | SIP Settings: SIP User | isdn Settings: ISDN Line";
    QTest::newRow("no system options") << false << "systemOpts"
                                       << "IP (UDP) Settings: UDP Port | SIP Settings: SIP User | isdn Settings: ISDN Line";
    QTest::newRow("no channel options") << false << "channelOpts"
                                        << "Audio: Headphone Gain | Directory: Directory | General: Unit Name, Time Zone";
    QTest::newRow("no channel names") << false << "channelList"
        << "Audio: Headphone Gain | Directory: Directory | General: Unit Name, Time Zone"
           " | ip Settings: UDP Port | isdn Settings: ISDN Line | sip Settings: SIP User";
}

void TestSettingGroupList::systemGroups()
{
    QFETCH(bool, showAdvanced);
    QFETCH(QString, forgotten);
    QFETCH(QString, outline);

    if (!forgotten.isEmpty())
        cachefeeder::forget(forgotten.toStdString());
    SettingGroupList groups;
    groups.buildSystemGroups(showAdvanced);
    QCOMPARE(::outline(groups), outline);
    // Rebuilding starts afresh.
    groups.buildSystemGroups(showAdvanced);
    QCOMPARE(::outline(groups), outline);
}

void TestSettingGroupList::outOfRangeReadsAsNothing()
{
    SettingGroupList groups;
    groups.buildProfileGroups("2", false);
    QCOMPARE(groups.groupCount(), 3);
    QCOMPARE(groups.groupTitle(3), std::string());
    QCOMPARE(groups.groupTitle(-1), std::string());
    QCOMPARE(groups.optionCount(3), 0);
    QVERIFY(!groups.option(0, 3));
    QVERIFY(!groups.option(-1, 0));
    QVERIFY(groups.option(2, 1));
    groups.clear();
    QCOMPARE(groups.groupCount(), 0);
    QCOMPARE(groups.profileName(), std::string());
}

QTEST_MAIN(TestSettingGroupList)
#include "test_settinggrouplist.moc"
