#include "cachefeeder.h"
#include "settingoption.h"

#include <QtTest>

using cachefeeder::answer;

// Option descriptions of each kind, as the backend sends them.
namespace {
const char* const kUnitName = "name=unit_name type=string default=ORVANE group=sysOptions";
const char* const kNtp = "name=ntp default=pool group=sysOptions";
const char* const kGain = "name=gain type=int default=0 group=sysOptions subgroup=audio";
const char* const kMissingSubgroup = "name=gain default=0 group=sysOptions subgroup=mixer";
const char* const kDirectory = "name=enabled type=bool default=true group=directoryServer";
const char* const kPort = "name=port type=int default=9000 channel=ip profile_opt:b=false";
const char* const kDscp = "name=dscp type=int default=46 channel=ip";
const char* const kProfileName = R"(name=name default="New Profile" channel="" profile_opt:b=true)";
const char* const kVisible = R"(name=visible type=bool default:b=true channel="" profile_opt:b=true)";
const char* const kJitter = "name=jitter type=int default=60 channel=ip profile_opt:b=true";
const char* const kEncoder = "name=encoder type=codec default=!follow channel=ip profile_opt:b=true";
const char* const kPeer = "type=peer";
const char* const kSelect = R"(<m n="option"><s k="type">select</s>
    <m n="select"><s k="name">Off</s><s k="value">off</s></m><m n="select"><s k="name">Low</s><s k="value">low</s></m>
    <m n="select"><s k="name">Low again</s><s k="value">low</s></m></m>)";

// The request that stores `inner` for profile `id`'s `section`.
QString setProfile(const QString& id, const QString& section, const QString& inner)
{
    return "<m n=\"setProfile\"><s k=\"id\">" + id + "</s><m n=\"" + section + "\">" + inner + "</m></m>";
}

const QString kResetJitter = R"(<m n="reset"><s k="name">jitter</s></m>)";

// "system" options carry no profile; otherwise "id/section".
SettingOption makeOption(const QString& description, const QString& where = QString())
{
    const QStringList parts = where.split('/');
    const Message msg = cachefeeder::option(description.toStdString());
    return where.isEmpty() ? SettingOption(msg) : SettingOption(msg, parts[0].toStdString(), parts[1].toStdString());
}
} // namespace

class TestSettingOption : public QObject {
    Q_OBJECT

private slots:
    void init();
    void lifecycle_data();
    void lifecycle();
    void refreshKeepsTheLastValueFound();
    void displayText_data();
    void displayText();
    void choices_data();
    void choices();
};

// The unit's values that every case reads, fed afresh before each test.
void TestSettingOption::init()
{
    answer("sysOptions", R"(<m n="sysOptions"><s k="unit_name">Studio</s><s k="ntp">pool</s>
        <m n="audio"><s k="gain">-6</s></m><m n="audio"><s k="gain">3</s></m></m>)");
    answer("directoryServer", R"(<m n="directoryServer"><b k="enabled">false</b></m>)");
    answer("channelList", R"(<m n="channelList">
        <m n="channel"><s k="id">pots</s><s k="port">1</s></m>
        <m n="channel"><s k="id">ip</s><s k="port">9000</s></m></m>)");
    answer("profileList", R"(<m n="profileList">
        <m n="profile"><i k="id">2</i><s k="name">Studio Link</s>
          <m n="settings"><s k="name">New Profile</s><s k="visible">false</s></m>
          <m n="local"><s k="jitter">60</s><s k="encoder">opus</s></m></m>
        <m n="profile"><i k="id">3</i><s k="name">Phone</s></m>
        <m n="profile"><i k="id">3</i><m n="local"><s k="jitter">80</s></m></m></m>)");
    answer("codecList", R"(<m n="codecList">
        <m n="codec"><s k="id">g722</s><s k="code">G2</s><s k="mode">Mono</s><s k="name">G.722</s></m></m>)");
    answer("peerList", R"(<m n="peerList"><m n="peer"><i k="id">1</i><s k="name">Studio A</s></m>
        <m n="peer"><i k="id">3</i><s k="name">Van</s></m><m n="peer"><i k="id">3</i><s k="name">Van</s></m></m>)");
}

// An option's life: read from the cache, edited (values set in turn, "-" for setDefault()), committed.
void TestSettingOption::lifecycle_data()
{
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("where");
    QTest::addColumn<QString>("current");
    QTest::addColumn<bool>("isDefault");
    QTest::addColumn<QString>("edit");
    QTest::addColumn<bool>("changed");
    QTest::addColumn<QString>("request");

    QTest::newRow("system, differs from default; default writes its text") << kUnitName << "" << "Studio" << false
        << "X,-" << true << R"(<m n="setSysOptions"><s k="unit_name">ORVANE</s></m>)";
    QTest::newRow("system, equals default") << kNtp << "" << "pool" << true << "pool" << true
                                            << R"(<m n="setSysOptions"><s k="ntp">pool</s></m>)";
    QTest::newRow("system, first subgroup child") << kGain << "" << "-6" << false << "3" << true
        << R"(<m n="setSysOptions"><m n="audio"><s k="gain">3</s></m></m>)";
    QTest::newRow("system, subgroup missing") << kMissingSubgroup << "" << "0" << true << "-" << false
        << R"(<m n="setSysOptions"><m n="mixer"><s k="gain">0</s></m></m>)";
    QTest::newRow("system, other group") << kDirectory << "" << "false" << false << "true" << true
                                         << R"(<m n="setDirectoryServer"><s k="enabled">true</s></m>)";
    QTest::newRow("channel, equals default yet set; reset") << kPort << "" << "9000" << false << "-" << true
        << R"(<m n="setChannelSettings"><s k="id">ip</s><m n="channel"><m n="reset"><s k="name">port</s></m></m></m>)";
    QTest::newRow("channel, stored value again") << kPort << "" << "9000" << false << "9000" << false
        << R"(<m n="setChannelSettings"><s k="id">ip</s><m n="channel"><s k="port">9000</s></m></m>)";
    QTest::newRow("channel, not stored") << kDscp << "" << "46" << true << "-" << false
        << R"(<m n="setChannelSettings"><s k="id">ip</s><m n="channel"><m n="reset"><s k="name">dscp</s></m></m></m>)";
    QTest::newRow("profile settings, equals default") << kProfileName << "2/settings" << "New Profile" << true << "-"
        << false << setProfile("2", "settings", R"(<s k="name">New Profile</s>)");
    QTest::newRow("profile settings, default writes its text") << kVisible << "2/settings" << "false" << false << "-"
        << true << setProfile("2", "settings", R"(<s k="visible">true</s>)");
    QTest::newRow("profile local, equals default yet set") << kJitter << "2/local" << "60" << false << "-" << true
                                                           << setProfile("2", "local", kResetJitter);
    QTest::newRow("profile, first with the section") << kJitter << "3/local" << "80" << false << "80" << false
                                                     << setProfile("3", "local", R"(<s k="jitter">80</s>)");
    QTest::newRow("profile, unknown id") << kJitter << "9/local" << "60" << true << "61" << true
                                         << setProfile("9", "local", R"(<s k="jitter">61</s>)");
    QTest::newRow("profile remote value") << kEncoder << "2/remote" << "!follow" << true << "opus" << true
                                          << setProfile("2", "remote", R"(<s k="encoder">opus</s>)");
    QTest::newRow("profile remote, unchanged default") << kJitter << "2/remote" << "60" << true << "" << false
                                                       << setProfile("2", "remote", kResetJitter);
}

void TestSettingOption::lifecycle()
{
    QFETCH(QString, description);
    QFETCH(QString, where);
    QFETCH(QString, current);
    QFETCH(bool, isDefault);
    QFETCH(QString, edit);
    QFETCH(bool, changed);
    QFETCH(QString, request);

    SettingOption option = makeOption(description, where);
    QCOMPARE(QString::fromStdString(option.currentValue()), current);
    QCOMPARE(option.isDefault(), isDefault);
    QVERIFY(!option.isChanged());
    for (const QString& step : edit.split(',', Qt::SkipEmptyParts)) {
        if (step == "-")
            option.setDefault();
        else
            option.setValue(step.toStdString());
    }
    QCOMPARE(option.isChanged(), changed);

    cachefeeder::RequestLog log;
    option.commit();
    QCOMPARE(log.requests().size(), std::size_t(1));
    QCOMPARE(log.lastTree(), cachefeeder::tree(request.toStdString()));
}

void TestSettingOption::refreshKeepsTheLastValueFound()
{
    SettingOption option = makeOption(kPort);
    answer("channelList", R"(<m n="channelList"><m n="channel"><s k="id">ip</s><s k="port">9100</s></m></m>)");
    option.refresh();
    QCOMPARE(option.currentValue(), std::string("9100"));
    // The stored value dropped: the option follows its default and keeps the text it had.
    answer("channelList", R"(<m n="channelList"><m n="channel"><s k="id">ip</s></m></m>)");
    option.refresh();
    QVERIFY(option.isDefault() && !option.isChanged());
}

void TestSettingOption::displayText_data()
{
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("text");

    const QString plainBool = "type=bool";
    const QString labelledBool = "type=bool label_true=Online label_false=Offline";
    const QString codec = "type=codec";

    QTest::newRow("bool true") << plainBool << "true" << "Enabled";
    QTest::newRow("bool other text") << plainBool << "1" << "Not Enabled";
    QTest::newRow("bool own labels") << labelledBool << "true" << "Online";
    QTest::newRow("bool own false label") << labelledBool << "" << "Offline";
    QTest::newRow("select, first match") << kSelect << "low" << "Low";
    QTest::newRow("select, no match") << kSelect << "high" << "high";
    QTest::newRow("peer by id") << kPeer << "3" << "Van";
    QTest::newRow("profile by id") << "type=profile" << "2" << "Studio Link";
    QTest::newRow("codec follow") << codec << "!follow" << "Follow local encoder";
    QTest::newRow("codec label") << codec << "g722" << "G2: Mono G.722";
    QTest::newRow("codec unknown") << codec << "mp2" << "mp2";
    QTest::newRow("string as is") << kUnitName << "true" << "true";
}

void TestSettingOption::displayText()
{
    QFETCH(QString, description);
    QFETCH(QString, value);
    QFETCH(QString, text);
    QCOMPARE(QString::fromStdString(makeOption(description).displayText(value.toStdString())), text);
}

void TestSettingOption::choices_data()
{
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("forgotten");
    QTest::addColumn<QStringList>("choices");

    QTest::newRow("peers, duplicates kept") << kPeer << "" << QStringList{"None=0", "Studio A=1", "Van=3", "Van=3"};
    QTest::newRow("no peer list") << kPeer << "peerList" << QStringList{"None=0"};
    QTest::newRow("own choices") << kSelect << "" << QStringList{"Off=off", "Low=low", "Low again=low"};
}

void TestSettingOption::choices()
{
    QFETCH(QString, description);
    QFETCH(QString, forgotten);
    QFETCH(QStringList, choices);

    if (!forgotten.isEmpty())
        cachefeeder::forget(forgotten.toStdString());
    QStringList actual;
    for (const SettingOption::Choice& choice : makeOption(description).choices())
        actual << QString::fromStdString(choice.first + "=" + choice.second);
    QCOMPARE(actual, choices);
}

QTEST_MAIN(TestSettingOption)
#include "test_settingoption.moc"
