#include "cachefeeder.h"
#include "settinggrouplist.h"

#include <QtTest>

using cachefeeder::answer;

// What the backend lists: channels (two without remote settings), their channel
// and profile options, system options in three groups, and two profiles.
namespace {
const char* const kChannels = R"(<m n="channelList">
    <m n="channel"><s k="id">ip</s><s k="descr">IP (UDP)</s><s k="port">9100</s></m>
    <m n="channel"><s k="id">sip</s><s k="descr">SIP</s><b k="remote_opts">false</b></m>
    <m n="channel"><s k="id">pots</s><s k="descr">Telephone Line</s><b k="remote_opts">false</b></m></m>)";
const Message kChannelOpts = cachefeeder::optionList("channelOpts", {
    R"(display_name="UDP Port" channel=ip)", "display_name=DSCP channel=ip advanced:b=true",
    R"(display_name="SIP User" channel=sip)", R"(display_name="ISDN Line" channel=isdn)",
    "display_name=Encoder channel=ip profile_opt:b=true", "display_name=Jitter channel=ip profile_opt:b=true",
    "display_name=FEC channel=ip profile_opt:b=true advanced:b=true",
    R"(display_name="Line Mode" channel=pots profile_opt:b=true)"});
const Message kSystemOpts = cachefeeder::optionList("systemOpts", {
    R"(display_name="Unit Name" group_name=General)", "display_name=Directory group_name=Directory",
    R"(display_name="Time Server" group_name=General advanced:b=true)",
    R"(display_name="Headphone Gain" group_name=Audio)", R"(display_name="Time Zone" group_name=General)"});
const char* const kProfiles = R"(<m n="profileList">
    <m n="profile"><i k="id">2</i><m n="settings"><s k="name">Studio Link</s><s k="channel">ip</s></m></m>
    <m n="profile"><i k="id">3</i><m n="settings"><s k="name">Phone</s><s k="channel">pots</s>
      <s k="visible">false</s></m></m></m>)";

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
    void channelChoicesSkipHiddenAdvanced();
    void systemGroupsSortedBeforeChannelGroups();
};

void TestSettingGroupList::init()
{
    answer("channelList", kChannels);
    answer("channelOpts", kChannelOpts);
    answer("systemOpts", kSystemOpts);
    answer("profileList", kProfiles);
}

// globals: the profile's name, channel and visibility as shown, "*" where at the default.
void TestSettingGroupList::profileGroups_data()
{
    QTest::addColumn<QString>("profileId");
    QTest::addColumn<QString>("outline");
    QTest::addColumn<QString>("globals");

    const QString global = "Global Settings: Profile Name, Channel, Visible";
    const QString ipGroups = " | Local Settings: Encoder, Jitter | Remote Settings: Encoder, Jitter";
    // FEC is advanced, so hidden.
    QTest::newRow("local and remote") << "2" << global + ipGroups << "Studio Link, IP (UDP)*, Visible*";
    QTest::newRow("no remote settings on the channel") << "3" << global + " | Local Settings: Line Mode"
                                                       << "Phone, Telephone Line, Invisible";
}

void TestSettingGroupList::profileGroups()
{
    QFETCH(QString, profileId);
    QFETCH(QString, outline);
    QFETCH(QString, globals);

    SettingGroupList groups;
    groups.buildProfileGroups(profileId.toStdString(), false);
    QCOMPARE(::outline(groups), outline);
    QStringList shown;
    for (int o = 0; o < 3; ++o) {
        const SettingOption* global = groups.option(0, o);
        QCOMPARE(global->getSection(), std::string("settings"));
        shown << QString::fromStdString(global->currentText()) + (global->isDefault() ? "*" : "");
    }
    QCOMPARE(shown.join(", "), globals);
    for (int g = 1; g < groups.groupCount(); ++g)
        for (int o = 0; o < groups.optionCount(g); ++o)
            QCOMPARE(groups.option(g, o)->getSection(), std::string(g == 1 ? "local" : "remote"));
}

// The default channel is the first one offered, so a hidden first channel leaves none.
void TestSettingGroupList::channelChoicesSkipHiddenAdvanced()
{
    answer("channelList", R"(<m n="channelList">
        <m n="channel"><s k="id">tcp</s><s k="descr">IP (TCP)</s><b k="advanced">true</b></m>
        <m n="channel"><s k="id">ip</s><s k="descr">IP (UDP)</s></m></m>)");
    for (bool showAdvanced : {false, true}) {
        SettingGroupList groups;
        // Profile 9 does not exist: its channel is the default.
        const SettingOption* channel = groups.buildProfileGroups("9", showAdvanced);
        QStringList choices;
        for (const SettingOption::Choice& choice : channel->choices())
            choices << QString::fromStdString(choice.first + "=" + choice.second);
        QCOMPARE(choices.join(", "), QString(showAdvanced ? "IP (TCP)=tcp, IP (UDP)=ip" : "IP (UDP)=ip"));
        QCOMPARE(QString::fromStdString(channel->defaultText()), QString(showAdvanced ? "IP (TCP)" : ""));
    }
}

void TestSettingGroupList::systemGroupsSortedBeforeChannelGroups()
{
    const QString channelGroups = " | SIP Settings: SIP User | isdn Settings: ISDN Line";
    SettingGroupList groups;
    groups.buildSystemGroups(true);
    // Rebuilding starts afresh.
    groups.buildSystemGroups(false);
    QCOMPARE(outline(groups), "Audio: Headphone Gain | Directory: Directory | General: Unit Name, Time Zone"
                              " | IP (UDP) Settings: UDP Port" + channelGroups);
    groups.buildSystemGroups(true);
    QCOMPARE(outline(groups), "Audio: Headphone Gain | Directory: Directory | General: Unit Name, Time Server, "
                              "Time Zone | IP (UDP) Settings: UDP Port, DSCP" + channelGroups);
}

QTEST_MAIN(TestSettingGroupList)
#include "test_settinggrouplist.moc"
