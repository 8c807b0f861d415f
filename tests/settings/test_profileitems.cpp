#include "cachefeeder.h"
#include "editsetting.h"
#include "profileitems.h"

#include <QtTest>

namespace {
const char* const kChannels = R"(<m n="channelList">
  <m n="channel"><s k="id">rtp_udp_mux</s><s k="descr">IP (UDP)</s><b k="remote_opts">true</b></m>
  <m n="channel"><s k="id">pots</s><s k="descr">Telephone Line</s><b k="remote_opts">false</b></m></m>)";

const Message kOptions = cachefeeder::optionList("channelOpts", {
    R"(name=jitter type=int default=60 display_name="Jitter Buffer" channel=rtp_udp_mux profile_opt:b=true)",
    R"(name=line_mode type=string default=v34 display_name="Line Mode" channel=pots profile_opt:b=true)",
    "name=port type=int default=9000 display_name=Port channel=rtp_udp_mux profile_opt:b=false"});

// Profile 1, a factory profile on the IP channel, and profile 2 on the channel and with the line
// mode given.
void answerProfiles(const std::string& channel2 = "pots", const std::string& lineMode = "v34")
{
    cachefeeder::answer("profileList", R"(<m n="profileList">
  <m n="profile"><i k="id">1</i><b k="factory">true</b>
    <m n="settings"><s k="name">Factory IP</s><s k="channel">rtp_udp_mux</s><s k="visible">true</s></m>
    <m n="local"><s k="jitter">80</s></m><m n="remote"/></m>
  <m n="profile"><i k="id">2</i>
    <m n="settings"><s k="name">Studio &lt;B&gt;</s><s k="channel">)" + channel2 + R"(</s></m>
    <m n="local"><s k="line_mode">)" + lineMode + R"(</s></m><m n="remote"/></m></m>)");
}

QTreeWidgetItem* rowNamed(const QTreeWidget* tree, const QString& name)
{
    const QList<QTreeWidgetItem*> found = tree->findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
    return found.isEmpty() ? nullptr : found.first();
}

// "Group: Row, Row | ..." with "~" before grey rows; colours must agree across both columns.
QString outline(const QTreeWidget* tree)
{
    const auto mark = [](const QTreeWidgetItem* item) {
        const QColor colour = item->foreground(0).color();
        const bool grey = colour == QColor(128, 128, 128) && item->foreground(1).color() == colour;
        const bool black = colour == QColor(0, 0, 0) && item->foreground(1).color() == colour;
        return QString(grey ? "~" : black ? "" : "?") + item->text(0);
    };
    QStringList groups;
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        QStringList rows;
        for (int o = 0; o < tree->topLevelItem(g)->childCount(); ++o)
            rows << mark(tree->topLevelItem(g)->child(o));
        groups << mark(tree->topLevelItem(g)) + ": " + rows.join(", ");
    }
    return groups.join(" | ");
}
} // namespace

class TestProfileItems : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void rowsOfFactoryProfilesAreGreyButVisible_data();
    void rowsOfFactoryProfilesAreGreyButVisible();
    void channelChangeRebuildsOtherChangesUpdateInPlace();
};

void TestProfileItems::initTestCase()
{
    cachefeeder::answer("channelList", kChannels);
    cachefeeder::answer("channelOpts", kOptions);
    answerProfiles();
}

void TestProfileItems::rowsOfFactoryProfilesAreGreyButVisible_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("outline");

    QTest::newRow("factory") << 1 << "~Global Settings: ~Profile Name, ~Channel, Visible"
                                     " | ~Local Settings: ~Jitter Buffer | ~Remote Settings: ~Jitter Buffer";
    QTest::newRow("user profile") << 2 << "~Global Settings: Profile Name, Channel, Visible | ~Local Settings: Line Mode";
}

// Grey rows are the ones Edit does not act on.
void TestProfileItems::rowsOfFactoryProfilesAreGreyButVisible()
{
    QFETCH(int, id);
    QFETCH(QString, outline);

    EditSetting editor;
    ProfileItems items(&editor);
    items.populateItems(id, id == 1);
    QTreeWidget* tree = items.treeProfileItems;
    QCOMPARE(::outline(tree), outline);
    for (const QTreeWidgetItem* row : tree->findItems("*", Qt::MatchWildcard | Qt::MatchRecursive)) {
        tree->setCurrentItem(const_cast<QTreeWidgetItem*>(row));
        QCOMPARE(items.buttonEdit->isEnabled(), row->parent() && row->foreground(0).color() == QColor(0, 0, 0));
    }
}

void TestProfileItems::channelChangeRebuildsOtherChangesUpdateInPlace()
{
    EditSetting editor;
    ProfileItems items(&editor);
    items.populateItems(2, false);
    QTreeWidget* tree = items.treeProfileItems;
    QCOMPARE(items.labelProfileSettings->text(), QString("Profile Settings - <b>Studio &lt;B&gt;</b>"));
    QTreeWidgetItem* lineMode = rowNamed(tree, "Line Mode");
    QTreeWidgetItem* visible = rowNamed(tree, "Visible");
    tree->setCurrentItem(visible);

    answerProfiles("pots", "voice");
    QCOMPARE(rowNamed(tree, "Line Mode"), lineMode);
    QCOMPARE(lineMode->text(1), QString("voice"));
    QCOMPARE(lineMode->font(1).weight(), int(QFont::Bold));
    QCOMPARE(tree->currentItem(), visible);

    answerProfiles("rtp_udp_mux");
    QCOMPARE(::outline(tree), QString("~Global Settings: Profile Name, Channel, Visible"
                                      " | ~Local Settings: Jitter Buffer | ~Remote Settings: Jitter Buffer"));
    QCOMPARE(rowNamed(tree, "Channel")->text(1), QString("IP (UDP)"));
    answerProfiles();
}

QTEST_MAIN(TestProfileItems)
#include "test_profileitems.moc"
