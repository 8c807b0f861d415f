#include "cachefeeder.h"
#include "editsetting.h"
#include "platformkey.h"
#include "profileitems.h"
#include "qtreewidgetitemsetting.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

const char* const kChannels = R"(<m n="channelList">
  <m n="channel"><s k="id">rtp_udp_mux</s><s k="descr">IP (UDP)</s><b k="remote_opts">true</b></m>
  <m n="channel"><s k="id">pots</s><s k="descr">Telephone Line</s><b k="remote_opts">false</b></m>
</m>)";

const char* const kOptions = R"(<m n="channelOpts">
  <m n="option"><s k="name">jitter</s><s k="type">int</s><s k="default">60</s><s k="display_name">Jitter Buffer</s>
    <s k="channel">rtp_udp_mux</s><b k="profile_opt">true</b></m>
  <m n="option"><s k="name">fec</s><s k="type">bool</s><s k="default">false</s><s k="display_name">Error Correction</s>
    <s k="channel">rtp_udp_mux</s><b k="profile_opt">true</b><b k="advanced">true</b></m>
  <m n="option"><s k="name">line_mode</s><s k="type">string</s><s k="default">v34</s><s k="display_name">Line Mode</s>
    <s k="channel">pots</s><b k="profile_opt">true</b></m>
  <m n="option"><s k="name">port</s><s k="type">int</s><s k="default">9000</s><s k="display_name">Port</s>
    <s k="channel">rtp_udp_mux</s><b k="profile_opt">false</b></m>
</m>)";

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
    <m n="local"><s k="line_mode">)" + lineMode + R"(</s></m><m n="remote"/></m>
</m>)");
}

QStringList groupTitles(const QTreeWidget* tree)
{
    QStringList titles;
    for (int g = 0; g < tree->topLevelItemCount(); ++g)
        titles << tree->topLevelItem(g)->text(0);
    return titles;
}

QTreeWidgetItem* rowNamed(const QTreeWidget* tree, const QString& name)
{
    const QList<QTreeWidgetItem*> found = tree->findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
    return found.isEmpty() ? nullptr : found.first();
}

bool isGray(const QTreeWidgetItem* row)
{
    return row->foreground(0).color() == QColor(128, 128, 128) && row->foreground(1).color() == QColor(128, 128, 128);
}

bool isBlack(const QTreeWidgetItem* row)
{
    return row->foreground(0).color() == QColor(0, 0, 0) && row->foreground(1).color() == QColor(0, 0, 0);
}

} // namespace

class TestProfileItems : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void nothingShownUntilAProfileIsChosen();
    void rowsOfFactoryProfilesAreGrayButVisible_data();
    void rowsOfFactoryProfilesAreGrayButVisible();
    void titleNamesTheProfile();
    void channelChangeRebuildsTheTree();
    void otherChangesUpdateRowsInPlace();
    void advancedSettingsToggle();
    void editHandsTheRowToTheEditor();
    void keypad();
};

void TestProfileItems::initTestCase()
{
    cachefeeder::answer("channelList", kChannels);
    cachefeeder::answer("channelOpts", kOptions);
}

void TestProfileItems::init()
{
    answerProfiles();
}

void TestProfileItems::nothingShownUntilAProfileIsChosen()
{
    EditSetting editor;
    ProfileItems items(&editor);
    answerProfiles("rtp_udp_mux");
    items.checkAdvanced->setChecked(true);
    QCOMPARE(items.treeProfileItems->topLevelItemCount(), 0);
    QVERIFY(!items.buttonEdit->isEnabled());
}

void TestProfileItems::rowsOfFactoryProfilesAreGrayButVisible_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<bool>("factory");
    QTest::addColumn<QStringList>("groups");
    QTest::addColumn<QStringList>("editable");

    QTest::newRow("factory") << 1 << true << QStringList{"Global Settings", "Local Settings", "Remote Settings"}
                             << QStringList{"Visible"};
    QTest::newRow("user profile") << 2 << false << QStringList{"Global Settings", "Local Settings"}
                                  << QStringList{"Profile Name", "Channel", "Visible", "Line Mode"};
}

void TestProfileItems::rowsOfFactoryProfilesAreGrayButVisible()
{
    QFETCH(int, id);
    QFETCH(bool, factory);
    QFETCH(QStringList, groups);
    QFETCH(QStringList, editable);

    EditSetting editor;
    ProfileItems items(&editor);
    items.populateItems(id, factory);
    QTreeWidget* tree = items.treeProfileItems;
    QCOMPARE(groupTitles(tree), groups);

    QStringList editableRows;
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        QTreeWidgetItem* group = tree->topLevelItem(g);
        QVERIFY(isGray(group));
        tree->setCurrentItem(group);
        QVERIFY(!items.buttonEdit->isEnabled());
        for (int o = 0; o < group->childCount(); ++o) {
            QTreeWidgetItem* row = group->child(o);
            tree->setCurrentItem(row);
            if (items.buttonEdit->isEnabled()) {
                editableRows << row->text(0);
                QVERIFY(isBlack(row));
            } else {
                QVERIFY(isGray(row));
            }
        }
    }
    QCOMPARE(editableRows, editable);
}

void TestProfileItems::titleNamesTheProfile()
{
    EditSetting editor;
    ProfileItems items(&editor);
    items.populateItems(2, false);
    QCOMPARE(items.labelProfileSettings->text(), QString("Profile Settings - <b>Studio &lt;B&gt;</b>"));
}

void TestProfileItems::channelChangeRebuildsTheTree()
{
    EditSetting editor;
    ProfileItems items(&editor);
    items.populateItems(2, false);
    QVERIFY(rowNamed(items.treeProfileItems, "Line Mode"));

    answerProfiles("rtp_udp_mux");
    QCOMPARE(groupTitles(items.treeProfileItems),
             (QStringList{"Global Settings", "Local Settings", "Remote Settings"}));
    QVERIFY(!rowNamed(items.treeProfileItems, "Line Mode"));
    QCOMPARE(rowNamed(items.treeProfileItems, "Channel")->text(1), QString("IP (UDP)"));
}

void TestProfileItems::otherChangesUpdateRowsInPlace()
{
    EditSetting editor;
    ProfileItems items(&editor);
    items.populateItems(2, false);
    QTreeWidgetItem* lineMode = rowNamed(items.treeProfileItems, "Line Mode");
    QTreeWidgetItem* visible = rowNamed(items.treeProfileItems, "Visible");
    items.treeProfileItems->setCurrentItem(visible);

    answerProfiles("pots", "voice");
    QCOMPARE(rowNamed(items.treeProfileItems, "Line Mode"), lineMode);
    QCOMPARE(lineMode->text(1), QString("voice"));
    QCOMPARE(lineMode->font(1).weight(), int(QFont::Bold));
    QCOMPARE(items.treeProfileItems->currentItem(), visible);
}

void TestProfileItems::advancedSettingsToggle()
{
    EditSetting editor;
    ProfileItems items(&editor);
    items.populateItems(1, true);
    QVERIFY(!rowNamed(items.treeProfileItems, "Error Correction"));
    items.checkAdvanced->setChecked(true);
    QVERIFY(rowNamed(items.treeProfileItems, "Error Correction"));
    // Rebuilt rows follow the same colour rule.
    QVERIFY(isGray(rowNamed(items.treeProfileItems, "Error Correction")));
    QVERIFY(isBlack(rowNamed(items.treeProfileItems, "Visible")));
}

void TestProfileItems::editHandsTheRowToTheEditor()
{
    EditSetting editor;
    ProfileItems items(&editor);
    connect(&items, &ProfileItems::editProfileSetting, &editor, &EditSetting::populateProfileItem);
    QSignalSpy edit(&items, &ProfileItems::editProfileSetting);
    items.populateItems(1, true);
    items.treeProfileItems->setCurrentItem(rowNamed(items.treeProfileItems, "Visible"));
    items.buttonEdit->click();
    QCOMPARE(edit.count(), 1);
    QCOMPARE(editor.labelTitle->text(), QString("Visible"));
}

void TestProfileItems::keypad()
{
    EditSetting editor;
    ProfileItems items(&editor);
    QVERIFY(showActive(&items));
    items.populateItems(2, false);
    items.paneAboutToShow();
    const auto type = [&items](int key) {
        items.handleKey(key, true, false);
        items.handleKey(key, false, false);
        QCoreApplication::sendPostedEvents();
    };
    QTreeWidget* tree = items.treeProfileItems;
    QCOMPARE(tree->currentItem()->text(0), QString("Profile Name"));
    QVERIFY(items.buttonEdit->hasFocus());

    type(Qt::Key_Down);
    type(Qt::Key_Down);
    QCOMPARE(tree->currentItem()->text(0), QString("Visible"));
    type(Qt::Key_Up);
    QCOMPARE(tree->currentItem()->text(0), QString("Channel"));
    // Up onto a group row disables Edit, so the focus goes to Done.
    type(Qt::Key_Up);
    type(Qt::Key_Up);
    QCOMPARE(tree->currentItem()->text(0), QString("Global Settings"));
    QVERIFY(items.buttonDone->hasFocus());

    QSignalSpy done(&items, &ProfileItems::doneClicked);
    type(Qt::Key_Enter);
    QCOMPARE(done.count(), 1);
    type(Qt::Key_Right);
    QVERIFY(items.checkAdvanced->hasFocus());
    type(Qt::Key_Enter);
    QVERIFY(items.checkAdvanced->isChecked());
    // The rebuilt tree selects its first setting, and Edit takes the focus.
    QVERIFY(items.buttonEdit->isEnabled());
    QVERIFY(items.buttonEdit->hasFocus());
    type(Qt::Key_Right);
    QVERIFY(items.buttonDone->hasFocus());
    type(Qt::Key_Left);
    QVERIFY(items.buttonEdit->hasFocus());
}

QTEST_MAIN(TestProfileItems)
#include "test_profileitems.moc"
