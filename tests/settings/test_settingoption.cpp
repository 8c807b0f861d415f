#include "cachefeeder.h"
#include "settingoption.h"

#include <QtTest>

// Option descriptions of each kind, as the backend sends them.
namespace {
const char* const kPeer = "type=peer";
const char* const kJitter = "name=jitter type=int default=60 channel=ip profile_opt:b=true";
const char* const kSelect = R"(<m n="option"><s k="type">select</s>
    <m n="select"><s k="name">Off</s><s k="value">off</s></m><m n="select"><s k="name">Low</s><s k="value">low</s></m>
    <m n="select"><s k="name">Low again</s><s k="value">low</s></m></m>)";

// The request that stores `inner` for profile `id`'s `section`.
QString setProfile(const QString& id, const QString& section, const QString& inner)
{
    return "<m n=\"setProfile\"><s k=\"id\">" + id + "</s><m n=\"" + section + "\">" + inner + "</m></m>";
}

// `where` is "id/section" for a profile's option, empty otherwise.
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
    // The unit's values that every case reads, fed afresh before each test.
    void init()
    {
        cachefeeder::answer("sysOptions", R"(<m n="sysOptions"><s k="unit_name">Studio</s>
            <m n="audio"><s k="gain">-6</s></m><m n="audio"><s k="gain">3</s></m></m>)");
        cachefeeder::answer("directoryServer", R"(<m n="directoryServer"><b k="enabled">false</b></m>)");
        cachefeeder::answer("channelList", R"(<m n="channelList">
            <m n="channel"><s k="id">pots</s><s k="port">1</s></m>
            <m n="channel"><s k="id">ip</s><s k="port">9000</s></m></m>)");
        cachefeeder::answer("profileList", R"(<m n="profileList">
            <m n="profile"><i k="id">2</i><s k="name">Studio Link</s>
              <m n="settings"><s k="name">New Profile</s><s k="visible">false</s></m>
              <m n="local"><s k="jitter">60</s><s k="encoder">opus</s></m></m>
            <m n="profile"><i k="id">3</i><s k="name">Phone</s></m>
            <m n="profile"><i k="id">3</i><m n="local"><s k="jitter">80</s></m></m></m>)");
        cachefeeder::answer("codecList", R"(<m n="codecList">
            <m n="codec"><s k="id">g722</s><s k="code">G2</s><s k="mode">Mono</s><s k="name">G.722</s></m></m>)");
        cachefeeder::answer("peerList", R"(<m n="peerList"><m n="peer"><i k="id">1</i><s k="name">Studio A</s></m>
            <m n="peer"><i k="id">3</i><s k="name">Van</s></m><m n="peer"><i k="id">3</i><s k="name">Van</s></m></m>)");
    }

    // An option's life: read from the cache ("*": at the default), edited (values set in turn, "-"
    // for setDefault()), committed.
    void lifecycle_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("where");
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("edit");
        QTest::addColumn<bool>("changed");
        QTest::addColumn<QString>("request");

        QTest::newRow("system, differs from default; default writes its text")
            << "name=unit_name type=string default=ORVANE group=sysOptions" << "" << "Studio" << "X,-" << true
            << R"(<m n="setSysOptions"><s k="unit_name">ORVANE</s></m>)";
        QTest::newRow("system, first subgroup child")
            << "name=gain type=int default=0 group=sysOptions subgroup=audio" << "" << "-6" << "3" << true
            << R"(<m n="setSysOptions"><m n="audio"><s k="gain">3</s></m></m>)";
        QTest::newRow("system, other group") << "name=enabled type=bool default=true group=directoryServer" << ""
            << "false" << "true" << true << R"(<m n="setDirectoryServer"><s k="enabled">true</s></m>)";
        QTest::newRow("system, not stored") << "name=missing default=7 group=sysOptions" << "" << "7*" << "" << false
            << R"(<m n="setSysOptions"><s k="missing">7</s></m>)";
        QTest::newRow("channel, equals default yet set; reset")
            << "name=port type=int default=9000 channel=ip profile_opt:b=false" << "" << "9000" << "-" << true
            << R"(<m n="setChannelSettings"><s k="id">ip</s><m n="channel"><m n="reset"><s k="name">port</s></m></m></m>)";
        QTest::newRow("channel, not stored") << "name=dscp type=int default=46 channel=ip" << "" << "46*" << "50" << true
            << R"(<m n="setChannelSettings"><s k="id">ip</s><m n="channel"><s k="dscp">50</s></m></m>)";
        QTest::newRow("profile settings, default writes its text")
            << R"(name=visible type=bool default:b=true channel="" profile_opt:b=true)" << "2/settings" << "false" << "-"
            << true << setProfile("2", "settings", R"(<s k="visible">true</s>)");
        QTest::newRow("profile settings, stored default") << R"(name=name default="New Profile" channel="" profile_opt:b=true)"
            << "2/settings" << "New Profile*" << "" << false << setProfile("2", "settings", R"(<s k="name">New Profile</s>)");
        QTest::newRow("profile local, equals default yet set") << kJitter << "2/local" << "60" << "-" << true
            << setProfile("2", "local", R"(<m n="reset"><s k="name">jitter</s></m>)");
        QTest::newRow("profile, first with the section") << kJitter << "3/local" << "80" << "80" << false
            << setProfile("3", "local", R"(<s k="jitter">80</s>)");
        QTest::newRow("profile remote value") << "name=encoder type=codec default=!follow channel=ip profile_opt:b=true"
            << "2/remote" << "!follow*" << "opus" << true << setProfile("2", "remote", R"(<s k="encoder">opus</s>)");
    }

    void lifecycle()
    {
        QFETCH(QString, description);
        QFETCH(QString, where);
        QFETCH(QString, edit);
        QFETCH(bool, changed);
        QFETCH(QString, request);

        SettingOption option = makeOption(description, where);
        QTEST(QString::fromStdString(option.currentValue()) + (option.isDefault() ? "*" : ""), "current");
        QVERIFY(!option.isChanged());
        for (const QString& step : edit.split(',', Qt::SkipEmptyParts))
            step == "-" ? option.setDefault() : option.setValue(step.toStdString());
        QCOMPARE(option.isChanged(), changed);

        cachefeeder::RequestLog log;
        option.commit();
        QCOMPARE(log.requests().size(), std::size_t(1));
        QCOMPARE(log.lastTree(), cachefeeder::tree(request.toStdString()));
    }

    // A value as shown, or with an empty value the choices offered.
    void displayText_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("text");

        QTest::newRow("bool true") << "type=bool" << "true" << "Enabled";
        QTest::newRow("bool other text") << "type=bool" << "1" << "Not Enabled";
        QTest::newRow("bool own labels") << "type=bool label_true=Online label_false=Offline" << "true" << "Online";
        QTest::newRow("select, first match") << kSelect << "low" << "Low";
        QTest::newRow("select, no match") << kSelect << "high" << "high";
        QTest::newRow("peer by id") << kPeer << "3" << "Van";
        QTest::newRow("profile by id") << "type=profile" << "2" << "Studio Link";
        QTest::newRow("codec follow") << "type=codec" << "!follow" << "Follow local encoder";
        QTest::newRow("codec label") << "type=codec" << "g722" << "G2: Mono G.722";
        QTest::newRow("codec unknown") << "type=codec" << "mp3" << "mp3";
        QTest::newRow("int as is") << "type=int" << "true" << "true";
        QTest::newRow("peers, duplicates kept") << kPeer << "" << "None=0, Studio A=1, Van=3, Van=3";
        QTest::newRow("own choices") << kSelect << "" << "Off=off, Low=low, Low again=low";
    }

    void displayText()
    {
        QFETCH(QString, description);
        QFETCH(QString, value);
        QFETCH(QString, text);

        const SettingOption option = makeOption(description);
        QStringList choices;
        for (const SettingOption::Choice& choice : option.choices())
            choices << QString::fromStdString(choice.first + "=" + choice.second);
        QCOMPARE(value.isEmpty() ? choices.join(", ") : QString::fromStdString(option.displayText(value.toStdString())),
                 text);
    }
};

QTEST_MAIN(TestSettingOption)
#include "test_settingoption.moc"
