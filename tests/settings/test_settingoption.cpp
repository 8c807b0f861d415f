#include "cachefeeder.h"
#include "settingoption.h"

#include <QtTest>

using cachefeeder::answer;
using cachefeeder::parse;
using cachefeeder::tree;

Q_DECLARE_METATYPE(std::string)

// Option descriptions of each kind, as the backend sends them.
namespace {
const char* const kUnitName = R"(<m n="option"><s k="name">unit_name</s><s k="type">string</s>
    <s k="default">ORVANE</s><s k="group">sysOptions</s></m>)";
const char* const kNtp = R"(<m n="option"><s k="name">ntp</s><s k="default">pool</s><s k="group">sysOptions</s></m>)";
const char* const kGain = R"(<m n="option"><s k="name">gain</s><s k="type">int</s><s k="default">0</s>
    <s k="group">sysOptions</s><s k="subgroup">audio</s></m>)";
const char* const kMissingSubgroup = R"(<m n="option"><s k="name">gain</s><s k="default">0</s>
    <s k="group">sysOptions</s><s k="subgroup">mixer</s></m>)";
const char* const kNoGroup = R"(<m n="option"><s k="name">unit_name</s><s k="default">ORVANE</s>
    <s k="group">nowhere</s></m>)";
const char* const kDirectory = R"(<m n="option"><s k="name">enabled</s><s k="type">bool</s><s k="default">true</s>
    <s k="group">directoryServer</s></m>)";
const char* const kPort = R"(<m n="option"><s k="name">port</s><s k="type">int</s><s k="default">9000</s>
    <s k="channel">ip</s><b k="profile_opt">false</b></m>)";
const char* const kDscp = R"(<m n="option"><s k="name">dscp</s><s k="type">int</s><s k="default">46</s>
    <s k="channel">ip</s></m>)";
const char* const kPortOfUnknownChannel = R"(<m n="option"><s k="name">port</s><s k="default">9000</s>
    <s k="channel">isdn</s></m>)";
const char* const kProfileName = R"(<m n="option"><s k="name">name</s><s k="default">New Profile</s>
    <s k="channel"></s><b k="profile_opt">true</b></m>)";
const char* const kVisible = R"(<m n="option"><s k="name">visible</s><s k="type">bool</s><b k="default">true</b>
    <s k="channel"></s><b k="profile_opt">true</b></m>)";
const char* const kJitter = R"(<m n="option"><s k="name">jitter</s><s k="type">int</s><s k="default">60</s>
    <s k="channel">ip</s><b k="profile_opt">true</b></m>)";
const char* const kEncoder = R"(<m n="option"><s k="name">encoder</s><s k="type">codec</s><s k="default">!follow</s>
    <s k="channel">ip</s><b k="profile_opt">true</b></m>)";
} // namespace

class TestSettingOption : public QObject {
    Q_OBJECT

private slots:
    void init();
    void typeFromText_data();
    void typeFromText();
    void storedValue_data();
    void storedValue();
    void refreshKeepsTheLastValueFound();
    void isChanged_data();
    void isChanged();
    void displayText_data();
    void displayText();
    void descriptionTexts_data();
    void descriptionTexts();
    void choices_data();
    void choices();
    void commit_data();
    void commit();
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
          <m n="local"><s k="jitter">60</s><s k="encoder">opus</s></m>
          <m n="remote"><s k="encoder">!follow</s></m></m>
        <m n="profile"><i k="id">3</i><s k="name">Phone</s></m>
        <m n="profile"><i k="id">3</i><m n="local"><s k="jitter">80</s></m></m></m>)");
    answer("codecList", R"(<m n="codecList">
        <m n="codec"><s k="id">opus</s><s k="code">OP</s><s k="mode">Stereo</s><s k="name">Opus 128</s></m>
        <m n="codec"><s k="id">g722</s><s k="code">G2</s><s k="mode">Mono</s><s k="name">G.722</s></m></m>)");
    answer("peerList", R"(<m n="peerList"><m n="peer"><i k="id">1</i><s k="name">Studio A</s></m>
        <m n="peer"><i k="id">3</i><s k="name">Van</s></m><m n="peer"><i k="id">3</i><s k="name">Van</s></m></m>)");
}

void TestSettingOption::typeFromText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("type");
    QTest::newRow("int") << "int" << int(OptionType::Int);
    QTest::newRow("bool") << "bool" << int(OptionType::Bool);
    QTest::newRow("select") << "select" << int(OptionType::Select);
    QTest::newRow("peer") << "peer" << int(OptionType::Select);
    QTest::newRow("profile") << "profile" << int(OptionType::Select);
    QTest::newRow("codec") << "codec" << int(OptionType::Codec);
    QTest::newRow("string") << "string" << int(OptionType::String);
    QTest::newRow("unknown") << "float" << int(OptionType::String);
    QTest::newRow("absent") << "" << int(OptionType::String);
}

void TestSettingOption::typeFromText()
{
    QFETCH(QString, text);
    QFETCH(int, type);
    QCOMPARE(int(optionTypeFromText(text.toStdString())), type);
    Message description("option");
    if (!text.isEmpty())
        description.params().set_string("type", text.toStdString());
    QCOMPARE(int(SettingOption(description).getType()), type);
}

void TestSettingOption::storedValue_data()
{
    QTest::addColumn<std::string>("description");
    QTest::addColumn<QString>("profileId");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("current");
    QTest::addColumn<bool>("isDefault");

    QTest::newRow("system, differs from default") << std::string(kUnitName) << "" << "" << "Studio" << false;
    QTest::newRow("system, equals default") << std::string(kNtp) << "" << "" << "pool" << true;
    QTest::newRow("system, first subgroup child") << std::string(kGain) << "" << "" << "-6" << false;
    QTest::newRow("system, subgroup missing") << std::string(kMissingSubgroup) << "" << "" << "0" << true;
    QTest::newRow("system, group never answered") << std::string(kNoGroup) << "" << "" << "ORVANE" << true;
    QTest::newRow("system, bool group value") << std::string(kDirectory) << "" << "" << "false" << false;
    QTest::newRow("channel, equals default yet set") << std::string(kPort) << "" << "" << "9000" << false;
    QTest::newRow("channel, not stored") << std::string(kDscp) << "" << "" << "46" << true;
    QTest::newRow("channel, unknown channel") << std::string(kPortOfUnknownChannel) << "" << "" << "9000" << true;
    QTest::newRow("profile settings, equals default") << std::string(kProfileName) << "2" << "settings"
                                                       << "New Profile" << true;
    QTest::newRow("profile settings, bool default") << std::string(kVisible) << "2" << "settings" << "false"
                                                     << false;
    QTest::newRow("profile local, equals default yet set") << std::string(kJitter) << "2" << "local" << "60"
                                                            << false;
    QTest::newRow("profile remote, not stored") << std::string(kJitter) << "2" << "remote" << "60" << true;
    QTest::newRow("profile, first with the section") << std::string(kJitter) << "3" << "local" << "80" << false;
    QTest::newRow("profile, unknown id") << std::string(kJitter) << "9" << "local" << "60" << true;
}

void TestSettingOption::storedValue()
{
    QFETCH(std::string, description);
    QFETCH(QString, profileId);
    QFETCH(QString, section);
    QFETCH(QString, current);
    QFETCH(bool, isDefault);

    const SettingOption option = profileId.isEmpty()
        ? SettingOption(parse(description))
        : SettingOption(parse(description), profileId.toStdString(), section.toStdString());
    QCOMPARE(QString::fromStdString(option.currentValue()), current);
    QCOMPARE(option.isDefault(), isDefault);
    QVERIFY(!option.isChanged());
    QCOMPARE(QString::fromStdString(option.getSection()), section);
}

void TestSettingOption::refreshKeepsTheLastValueFound()
{
    SettingOption option(parse(kPort));
    answer("channelList", R"(<m n="channelList"><m n="channel"><s k="id">ip</s><s k="port">9100</s></m></m>)");
    QVERIFY(option.isChanged());
    option.refresh();
    QCOMPARE(option.currentValue(), std::string("9100"));
    QVERIFY(!option.isDefault());

    // The stored value dropped: the option follows its default and keeps the text it had.
    answer("channelList", R"(<m n="channelList"><m n="channel"><s k="id">ip</s></m></m>)");
    QVERIFY(option.isChanged());
    option.refresh();
    QVERIFY(option.isDefault());
    QCOMPARE(option.currentValue(), std::string("9000"));
    QVERIFY(!option.isChanged());
    option.setValue("9100");
    QCOMPARE(option.currentValue(), std::string("9100"));
}

void TestSettingOption::isChanged_data()
{
    QTest::addColumn<std::string>("description");
    QTest::addColumn<QString>("edit");
    QTest::addColumn<bool>("changed");

    // edit: a value to set, "-" for setDefault(), "v,-" for both in turn.
    QTest::newRow("channel, new value") << std::string(kPort) << "9100" << true;
    QTest::newRow("channel, the stored value again") << std::string(kPort) << "9000" << false;
    QTest::newRow("channel, set value to default") << std::string(kPort) << "-" << true;
    QTest::newRow("channel default, value given") << std::string(kDscp) << "46" << true;
    QTest::newRow("channel default, default again") << std::string(kDscp) << "-" << false;
    QTest::newRow("system, stored text back") << std::string(kUnitName) << "Studio" << false;
    QTest::newRow("system, edited then default") << std::string(kUnitName) << "X,-" << true;
    QTest::newRow("system at default, set to the default text") << std::string(kNtp) << "pool" << true;
}

void TestSettingOption::isChanged()
{
    QFETCH(std::string, description);
    QFETCH(QString, edit);
    QFETCH(bool, changed);

    SettingOption option(parse(description));
    for (const QString& step : edit.split(',')) {
        if (step == "-")
            option.setDefault();
        else
            option.setValue(step.toStdString());
    }
    QCOMPARE(option.isChanged(), changed);
}

void TestSettingOption::displayText_data()
{
    QTest::addColumn<std::string>("description");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("text");

    const std::string plainBool = R"(<m n="option"><s k="type">bool</s></m>)";
    const std::string labelledBool = R"(<m n="option"><s k="type">bool</s><s k="label_true">Online</s>
        <s k="label_false">Offline</s></m>)";
    const std::string select = R"(<m n="option"><s k="type">select</s>
        <m n="select"><s k="name">Off</s><s k="value">off</s></m>
        <m n="select"><s k="name">Low</s><s k="value">low</s></m>
        <m n="select"><s k="name">Low again</s><s k="value">low</s></m></m>)";
    const std::string peer = R"(<m n="option"><s k="type">peer</s></m>)";
    const std::string profile = R"(<m n="option"><s k="type">profile</s></m>)";
    const std::string codec = R"(<m n="option"><s k="type">codec</s></m>)";

    QTest::newRow("bool true") << plainBool << "true" << "Enabled";
    QTest::newRow("bool false") << plainBool << "false" << "Not Enabled";
    QTest::newRow("bool other text") << plainBool << "1" << "Not Enabled";
    QTest::newRow("bool own labels") << labelledBool << "true" << "Online";
    QTest::newRow("bool own false label") << labelledBool << "" << "Offline";
    QTest::newRow("select, first match") << select << "low" << "Low";
    QTest::newRow("select, no match") << select << "high" << "high";
    QTest::newRow("peer none") << peer << "0" << "None";
    QTest::newRow("peer by id") << peer << "3" << "Van";
    QTest::newRow("profile by id") << profile << "2" << "Studio Link";
    QTest::newRow("profile unknown") << profile << "7" << "7";
    QTest::newRow("codec follow") << codec << "!follow" << "Follow local encoder";
    QTest::newRow("codec label") << codec << "g722" << "G2: Mono G.722";
    QTest::newRow("codec unknown") << codec << "mp2" << "mp2";
    QTest::newRow("int as is") << std::string(kPort) << "9000" << "9000";
    QTest::newRow("string as is") << std::string(kUnitName) << "true" << "true";
}

void TestSettingOption::displayText()
{
    QFETCH(std::string, description);
    QFETCH(QString, value);
    QFETCH(QString, text);
    QCOMPARE(QString::fromStdString(SettingOption(parse(description)).displayText(value.toStdString())), text);
}

void TestSettingOption::descriptionTexts_data()
{
    QTest::addColumn<std::string>("description");
    QTest::addColumn<QString>("units");
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<QString>("currentText");
    QTest::addColumn<QString>("defaultText");

    QTest::newRow("int with units") << std::string(R"(<m n="option"><s k="type">int</s><s k="units">dB</s>
        <i k="min">-40</i><i k="max">12</i><s k="default">0</s><s k="group">sysOptions</s>
        <s k="subgroup">audio</s><s k="name">gain</s></m>)") << "dB" << -40 << 12 << "-6" << "0";
    QTest::newRow("int bare") << std::string(R"(<m n="option"><s k="type">int</s></m>)") << "" << 0 << 0 << "" << "";
    QTest::newRow("bool without units") << std::string(R"(<m n="option"><s k="type">bool</s>
        <s k="label_true">Register</s><s k="default">false</s></m>)") << "Register" << 0 << 0 << "Not Enabled"
                                        << "Not Enabled";
    QTest::newRow("bool with units") << std::string(R"(<m n="option"><s k="type">bool</s><s k="units">Shown</s>
        <s k="default">true</s></m>)")
                                     << "Shown" << 0 << 0 << "Enabled" << "Enabled";
}

void TestSettingOption::descriptionTexts()
{
    QFETCH(std::string, description);
    QFETCH(QString, units);
    QFETCH(int, minimum);
    QFETCH(int, maximum);
    QFETCH(QString, currentText);
    QFETCH(QString, defaultText);

    const SettingOption option(parse(description));
    QCOMPARE(QString::fromStdString(option.units()), units);
    QCOMPARE(option.minimum(), minimum);
    QCOMPARE(option.maximum(), maximum);
    QCOMPARE(QString::fromStdString(option.currentText()), currentText);
    QCOMPARE(QString::fromStdString(option.defaultText()), defaultText);
}

void TestSettingOption::choices_data()
{
    QTest::addColumn<std::string>("description");
    QTest::addColumn<QString>("forgotten");
    QTest::addColumn<QStringList>("choices");

    const std::string peer = R"(<m n="option"><s k="type">peer</s></m>)";
    const std::string profile = R"(<m n="option"><s k="type">profile</s></m>)";
    QTest::newRow("peers, duplicates kept") << peer << "" << QStringList{"None=0", "Studio A=1", "Van=3", "Van=3"};
    QTest::newRow("profiles") << profile << "" << QStringList{"None=0", "Studio Link=2", "Phone=3", "=3"};
    QTest::newRow("no peer list") << peer << "peerList" << QStringList{"None=0"};
    QTest::newRow("own choices") << std::string(R"(<m n="option"><s k="type">select</s>
        <m n="select"><s k="name">Off</s><s k="value">off</s></m>
        <m n="select"><s k="name">On</s><s k="value">on</s></m></m>)") << "" << QStringList{"Off=off", "On=on"};
    QTest::newRow("select without choices") << std::string(R"(<m n="option"><s k="type">select</s></m>)") << ""
                                            << QStringList{};
}

void TestSettingOption::choices()
{
    QFETCH(std::string, description);
    QFETCH(QString, forgotten);
    QFETCH(QStringList, choices);

    if (!forgotten.isEmpty())
        cachefeeder::forget(forgotten.toStdString());
    QStringList actual;
    for (const SettingOption::Choice& choice : SettingOption(parse(description)).choices())
        actual << QString::fromStdString(choice.first + "=" + choice.second);
    QCOMPARE(actual, choices);
}

void TestSettingOption::commit_data()
{
    QTest::addColumn<std::string>("description");
    QTest::addColumn<QString>("profileId");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("edit");
    QTest::addColumn<QString>("seq");
    QTest::addColumn<std::string>("request");

    // edit: a value to set, "-" to go back to the default, "" to commit the option as read.
    QTest::newRow("system value") << std::string(kUnitName) << "" << "" << "Rack 2" << "sysOptions"
                                  << std::string(R"(<m n="setSysOptions"><s k="unit_name">Rack 2</s></m>)");
    QTest::newRow("system default writes its text")
        << std::string(kUnitName) << "" << "" << "-" << "sysOptions"
        << std::string(R"(<m n="setSysOptions"><s k="unit_name">ORVANE</s></m>)");
    QTest::newRow("system subgroup") << std::string(kGain) << "" << "" << "4" << "sysOptions"
                                     << std::string(R"(<m n="setSysOptions"><m n="audio"><s k="gain">4</s></m></m>)");
    QTest::newRow("system subgroup default") << std::string(kGain) << "" << "" << "-" << "sysOptions"
                                     << std::string(R"(<m n="setSysOptions"><m n="audio"><s k="gain">0</s></m></m>)");
    QTest::newRow("other group") << std::string(kDirectory) << "" << "" << "true" << "directoryServer"
                                 << std::string(R"(<m n="setDirectoryServer"><s k="enabled">true</s></m>)");
    QTest::newRow("channel value") << std::string(kPort) << "" << "" << "9100" << "channelSettings"
        << std::string(R"(<m n="setChannelSettings"><s k="id">ip</s><m n="channel"><s k="port">9100</s></m></m>)");
    QTest::newRow("channel reset") << std::string(kPort) << "" << "" << "-" << "channelSettings"
        << std::string(R"(<m n="setChannelSettings"><s k="id">ip</s>
            <m n="channel"><m n="reset"><s k="name">port</s></m></m></m>)");
    QTest::newRow("profile settings value") << std::string(kProfileName) << "2" << "settings" << "Remote Booth"
        << "profile"
        << std::string(R"(<m n="setProfile"><s k="id">2</s><m n="settings"><s k="name">Remote Booth</s></m></m>)");
    QTest::newRow("profile settings default writes its text")
        << std::string(kVisible) << "2" << "settings" << "-" << "profile"
        << std::string(R"(<m n="setProfile"><s k="id">2</s><m n="settings"><s k="visible">true</s></m></m>)");
    QTest::newRow("profile local reset") << std::string(kJitter) << "2" << "local" << "-" << "profile"
        << std::string(R"(<m n="setProfile"><s k="id">2</s><m n="local"><m n="reset"><s k="name">jitter</s></m></m></m>)");
    QTest::newRow("profile remote value") << std::string(kEncoder) << "2" << "remote" << "opus" << "profile"
        << std::string(R"(<m n="setProfile"><s k="id">2</s><m n="remote"><s k="encoder">opus</s></m></m>)");
    QTest::newRow("profile remote, unchanged default") << std::string(kJitter) << "2" << "remote" << "" << "profile"
        << std::string(R"(<m n="setProfile"><s k="id">2</s><m n="remote"><m n="reset"><s k="name">jitter</s></m></m></m>)");
}

void TestSettingOption::commit()
{
    QFETCH(std::string, description);
    QFETCH(QString, profileId);
    QFETCH(QString, section);
    QFETCH(QString, edit);
    QFETCH(QString, seq);
    QFETCH(std::string, request);

    SettingOption option = profileId.isEmpty()
        ? SettingOption(parse(description))
        : SettingOption(parse(description), profileId.toStdString(), section.toStdString());
    if (edit == "-")
        option.setDefault();
    else if (!edit.isEmpty())
        option.setValue(edit.toStdString());

    cachefeeder::RequestLog log;
    option.commit();
    QCOMPARE(log.requests().size(), std::size_t(1));
    QCOMPARE(QString::fromStdString(log.requests().front().params().get_string("seq", "")), seq);
    QCOMPARE(QString::fromStdString(log.lastTree()), QString::fromStdString(tree(request)));
}

QTEST_MAIN(TestSettingOption)
#include "test_settingoption.moc"
