#include "cachefeeder.h"
#include "configparser.h"

#include <QFont>
#include <QTreeWidget>
#include <QtTest>

namespace {
// A wireless device's own settings and its locations: "studio" can be deleted, "setup" cannot.
const char* const kSettingsGroup = R"(<m n="group"><s k="name"></s>
    <m n="option"><s k="name">region</s><s k="display_name">Region</s><s k="display_value">Europe</s>
      <b k="defaulted">false</b></m>
    <m n="option"><s k="name">mtu</s><s k="display_name">MTU</s><s k="display_value">1500</s>
      <b k="defaulted">true</b><b k="advanced">true</b></m>
    <m n="option"><s k="name">dhcp</s><s k="display_name">Address Mode</s><s k="display_value">DHCP</s>
      <b k="defaulted">true</b></m></m>)";
const char* const kLocationsGroup = R"(<m n="group"><s k="name">loc</s>
    <m n="command"><s k="name">_add</s></m><m n="command"><s k="name">scan</s></m>
    <m n="node"><s k="name">studio</s><s k="display_name">Studio-Net</s><m n="command"><s k="name">_del</s></m>
      <m n="group"><s k="name"></s>
        <m n="option"><s k="name">essid</s><s k="display_name">Network Name</s><s k="display_value">Studio-Net</s></m>
        <m n="option"><s k="name">channel</s><s k="display_name">Channel</s><s k="display_value">6</s>
          <b k="defaulted">true</b><b k="advanced">true</b></m></m></m>
    <m n="node"><s k="name">setup</s><s k="display_name">Setup</s><m n="command"><s k="name">apply</s></m>
      <m n="group"><s k="name"></s>
        <m n="option"><s k="name">essid</s><s k="display_name">Network Name</s><s k="display_value">Setup</s>
          <b k="defaulted">true</b></m></m></m></m>)";

// The parser with its advanced switch reachable, as the screens have it.
class Parser : public ConfigParser {
public:
    void showAdvanced(bool show) { m_show_advanced = show; }
};

// The two trees as the device configuration screen builds them.
void fillSettings(Parser& parser, QTreeWidget& tree)
{
    tree.clear();
    parser.addOptionItems(cachefeeder::parse(kSettingsGroup), &tree, nullptr, "");
}

void fillLocations(Parser& parser, QTreeWidget& tree)
{
    tree.clear();
    const Message group = cachefeeder::parse(kLocationsGroup);
    for (unsigned int i = 0; i < group.num_children("node"); ++i) {
        const Message& location = group.get_child("node", i);
        QTreeWidgetItem* row = parser.addNodeItem(location, &tree);
        parser.addOptionItems(location.get_child("group", 0), nullptr, row, location.params().get_string("name", ""));
    }
}

QTreeWidgetItem* rowAt(QTreeWidget& tree, const QString& path)
{
    return ConfigParser::selectPath(&tree, path) ? tree.currentItem() : nullptr;
}
} // namespace

class TestConfigParser : public QObject {
    Q_OBJECT

private slots:
    void optionRows_data();
    void optionRows();
    void locationRows();
    void advancedFilter();
    void pathRoundTrip_data();
    void pathRoundTrip();
    void removeNodeItem();
    void nothingToAddTo();
};

void TestConfigParser::optionRows_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("inLocations");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("bold");
    QTest::addColumn<bool>("advanced");
    QTest::addColumn<QString>("location");

    QTest::newRow("changed setting is bold") << "region" << false << "Region" << "Europe" << true << false << "";
    QTest::newRow("default setting") << "dhcp" << false << "Address Mode" << "DHCP" << false << false << "";
    QTest::newRow("advanced setting") << "mtu" << false << "MTU" << "1500" << false << true << "";
    QTest::newRow("absent defaulted reads as changed") << "studio.essid" << true << "Network Name" << "Studio-Net"
                                                        << true << false << "studio";
    QTest::newRow("advanced location option") << "studio.channel" << true << "Channel" << "6" << false << true
                                              << "studio";
}

void TestConfigParser::optionRows()
{
    QFETCH(QString, path);
    QFETCH(bool, inLocations);
    Parser parser;
    QTreeWidget tree;
    tree.setColumnCount(2);
    inLocations ? fillLocations(parser, tree) : fillSettings(parser, tree);

    QTreeWidgetItem* row = rowAt(tree, path);
    QVERIFY(row);
    QTEST(row->text(0), "name");
    QTEST(row->text(1), "value");
    QCOMPARE(row->data(0, ConfigParser::NameRole).toString(), path.section('.', -1));
    QFETCH(bool, bold);
    for (int column = 0; column < 2; ++column)
        QCOMPARE(row->font(column).weight(), bold ? 75 : 50);
    QFETCH(bool, advanced);
    QCOMPARE(row->data(0, ConfigParser::AdvancedRole).toBool(), advanced);
    QCOMPARE(row->isHidden(), advanced);
    QTEST(row->data(0, ConfigParser::LocationRole).toString(), "location");
    QCOMPARE(ConfigParser::isOptionItem(row), inLocations);
    if (inLocations)
        QCOMPARE(row->foreground(1).color(), QColor(Qt::black));
}

void TestConfigParser::locationRows()
{
    Parser parser;
    QTreeWidget tree;
    tree.setColumnCount(2);
    fillLocations(parser, tree);

    QCOMPARE(tree.topLevelItemCount(), 2);
    const QTreeWidgetItem* studio = tree.topLevelItem(0);
    const QTreeWidgetItem* setup = tree.topLevelItem(1);
    QCOMPARE(studio->text(0), QString("Studio-Net"));
    QVERIFY(studio->isFirstColumnSpanned());
    QCOMPARE(studio->foreground(0).color(), QColor(128, 128, 128));
    QCOMPARE(studio->data(0, ConfigParser::DeletableRole).toBool(), true);
    QCOMPARE(setup->data(0, ConfigParser::DeletableRole).toBool(), false);
    QCOMPARE(studio->childCount(), 2);
    QVERIFY(!ConfigParser::isOptionItem(studio));

    const std::vector<std::string> commands = ConfigParser::nodeCommands(cachefeeder::parse(kLocationsGroup));
    QCOMPARE(commands, (std::vector<std::string>{"_add", "scan"}));
    QVERIFY(ConfigParser::hasCommand(commands, "scan"));
    QVERIFY(!ConfigParser::hasCommand(commands, "_del"));
}

// Switching advanced on shows the rows already built; nothing is read again.
void TestConfigParser::advancedFilter()
{
    Parser parser;
    QTreeWidget settings;
    settings.setColumnCount(2);
    fillSettings(parser, settings);
    QTreeWidgetItem* mtu = rowAt(settings, "mtu");
    QTreeWidgetItem* region = rowAt(settings, "region");
    QVERIFY(mtu->isHidden());

    parser.showAdvanced(true);
    parser.applyAdvancedFilter(mtu);
    parser.applyAdvancedFilter(region);
    QVERIFY(!mtu->isHidden());
    QVERIFY(!region->isHidden());

    parser.showAdvanced(false);
    parser.applyAdvancedFilter(mtu);
    QVERIFY(mtu->isHidden());

    parser.showAdvanced(true);
    fillSettings(parser, settings);
    QVERIFY(!rowAt(settings, "mtu")->isHidden());
}

void TestConfigParser::pathRoundTrip_data()
{
    QTest::addColumn<bool>("inLocations");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("resolves");

    QTest::newRow("setting") << false << "dhcp" << true;
    QTest::newRow("location") << true << "setup" << true;
    QTest::newRow("location option") << true << "studio.essid" << true;
    QTest::newRow("option of a later location") << true << "setup.essid" << true;
    QTest::newRow("unknown option of a location") << true << "studio.key" << false;
    QTest::newRow("unknown setting") << false << "gateway" << false;
    QTest::newRow("nothing") << false << "" << false;
}

// The selection survives the tree being cleared and rebuilt from the same description.
void TestConfigParser::pathRoundTrip()
{
    QFETCH(bool, inLocations);
    QFETCH(QString, path);
    QFETCH(bool, resolves);
    Parser parser;
    QTreeWidget tree;
    tree.setColumnCount(2);
    auto fill = [&] { inLocations ? fillLocations(parser, tree) : fillSettings(parser, tree); };
    fill();

    QCOMPARE(ConfigParser::selectPath(&tree, path), resolves);
    const QString remembered = ConfigParser::selectedPath(&tree);
    QCOMPARE(remembered, resolves ? path : QString());
    fill();
    QCOMPARE(ConfigParser::selectedPath(&tree), QString());
    QCOMPARE(ConfigParser::selectPath(&tree, remembered), resolves);
    QCOMPARE(ConfigParser::selectedPath(&tree), remembered);
    if (resolves && path.contains('.')) {
        QTreeWidgetItem* location = tree.currentItem()->parent();
        QVERIFY(location->isExpanded());
        for (int i = 0; i < tree.topLevelItemCount(); ++i) {
            if (tree.topLevelItem(i) != location)
                QVERIFY(!tree.topLevelItem(i)->isExpanded());
        }
    }
}

void TestConfigParser::removeNodeItem()
{
    Parser parser;
    QTreeWidget tree;
    fillLocations(parser, tree);
    for (int i = 0; i < tree.topLevelItemCount(); ++i)
        tree.topLevelItem(i)->setExpanded(true);
    ConfigParser::collapseOthers(&tree, tree.topLevelItem(1));
    QVERIFY(!tree.topLevelItem(0)->isExpanded());
    QVERIFY(tree.topLevelItem(1)->isExpanded());

    QVERIFY(parser.removeNodeItem("setup", &tree));
    QVERIFY(!parser.removeNodeItem("setup", &tree));
    QCOMPARE(tree.topLevelItemCount(), 1);
    QCOMPARE(tree.topLevelItem(0)->data(0, ConfigParser::NameRole).toString(), QString("studio"));
}

void TestConfigParser::nothingToAddTo()
{
    Parser parser;
    QCOMPARE(parser.addOptionItems(cachefeeder::parse(kSettingsGroup), nullptr, nullptr, ""), 0);
    QTreeWidget tree;
    QCOMPARE(parser.addOptionItems(cachefeeder::parse(kSettingsGroup), &tree, nullptr, ""), 3);
}

QTEST_MAIN(TestConfigParser)
#include "test_configparser.moc"
