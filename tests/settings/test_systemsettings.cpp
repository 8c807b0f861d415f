#include "cachefeeder.h"
#include "editsetting.h"
#include "qtreewidgetitemsetting.h"
#include "systemsettings.h"

#include <QSignalSpy>
#include <QtTest>

using cachefeeder::answer;

namespace {
const char* const kSystemOpts = R"(<m n="systemOpts">
    <m n="option"><s k="name">unit_name</s><s k="display_name">Unit Name</s><s k="default">ORVANE</s>
      <s k="group">sysOptions</s><s k="group_name">General</s></m>
    <m n="option"><s k="name">ntp</s><s k="display_name">Time Server</s><s k="default">pool</s>
      <s k="group">sysOptions</s><s k="group_name">General</s><b k="advanced">true</b></m>
    <m n="option"><s k="name">enabled</s><s k="type">bool</s><s k="display_name">Directory</s><s k="default">true</s>
      <s k="label_true">Online</s><s k="label_false">Offline</s>
      <s k="group">directoryServer</s><s k="group_name">Directory</s></m></m>)";
const char* const kChannelOpts = R"(<m n="channelOpts">
    <m n="option"><s k="name">port</s><s k="type">int</s><s k="display_name">UDP Port</s><s k="default">9000</s>
      <i k="min">1024</i><i k="max">65535</i>
      <s k="channel">ip</s></m>
    <m n="option"><s k="name">jitter</s><s k="display_name">Jitter</s><s k="channel">ip</s><b k="profile_opt">true</b></m>
    </m>)";

bool showActive(QWidget* window)
{
    window->show();
    QApplication::setActiveWindow(window);
    return QTest::qWaitForWindowActive(window);
}

// "Title: Name=Text(b), ..." with (b) for bold rows, and the colour of the group rows.
QString outline(const QTreeWidget* tree)
{
    QStringList groups;
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        const QTreeWidgetItem* group = tree->topLevelItem(g);
        QStringList rows;
        for (int o = 0; o < group->childCount(); ++o) {
            const QTreeWidgetItem* row = group->child(o);
            const bool bold = row->font(0).weight() == QFont::Bold && row->font(1).weight() == QFont::Bold;
            rows << row->text(0) + "=" + row->text(1) + (bold ? "(b)" : "");
        }
        groups << group->text(0) + ": " + rows.join(", ");
    }
    return groups.join(" | ");
}
} // namespace

class TestSystemSettings : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void treeFromTheDescriptions_data();
    void treeFromTheDescriptions();
    void newValuesRefreshRowsInPlace_data();
    void newValuesRefreshRowsInPlace();
    void editEnabledOnlyOnOptionRows();
    void editHandsTheOptionToTheEditor();
    void keys();

private:
    EditSetting* m_editor = nullptr;
    SystemSettings* m_screen = nullptr;
};

void TestSystemSettings::init()
{
    answer("sysOptions", R"(<m n="sysOptions"><s k="unit_name">Studio</s><s k="ntp">pool</s></m>)");
    answer("directoryServer", R"(<m n="directoryServer"><s k="enabled">true</s></m>)");
    answer("channelList", R"(<m n="channelList"><m n="channel"><s k="id">ip</s><s k="descr">IP (UDP)</s>
        <s k="port">9000</s></m></m>)");
    answer("systemOpts", kSystemOpts);
    m_editor = new EditSetting;
    m_screen = new SystemSettings(m_editor);
    answer("channelOpts", kChannelOpts);
    QVERIFY(showActive(m_screen));
    m_screen->paneAboutToShow();
}

void TestSystemSettings::cleanup()
{
    delete m_screen;
    delete m_editor;
}

void TestSystemSettings::treeFromTheDescriptions_data()
{
    QTest::addColumn<bool>("showAdvanced");
    QTest::addColumn<QString>("outline");

    QTest::newRow("advanced hidden") << false
        << "Directory: Directory=Online | General: Unit Name=Studio(b) | IP (UDP) Settings: UDP Port=9000(b)";
    QTest::newRow("advanced shown") << true
        << "Directory: Directory=Online | General: Unit Name=Studio(b), Time Server=pool"
           " | IP (UDP) Settings: UDP Port=9000(b)";
}

void TestSystemSettings::treeFromTheDescriptions()
{
    QFETCH(bool, showAdvanced);
    QFETCH(QString, outline);

    m_screen->checkAdvanced->setChecked(showAdvanced);
    const QTreeWidget* tree = m_screen->treeSysConfig;
    QCOMPARE(::outline(tree), outline);
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        QVERIFY(tree->topLevelItem(g)->isExpanded());
        for (int column = 0; column < 2; ++column)
            QCOMPARE(tree->topLevelItem(g)->foreground(column).color(), QColor(128, 128, 128));
    }
    QCOMPARE(tree->currentItem(), tree->topLevelItem(0)->child(0));
    QVERIFY(m_screen->buttonEdit->isEnabled());
}

void TestSystemSettings::newValuesRefreshRowsInPlace_data()
{
    QTest::addColumn<QString>("seq");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("outline");

    QTest::newRow("system options")
        << "sysOptions" << R"(<m n="sysOptions"><s k="unit_name">ORVANE</s></m>)"
        << "Directory: Directory=Online | General: Unit Name=ORVANE | IP (UDP) Settings: UDP Port=9000(b)";
    QTest::newRow("directory server")
        << "directoryServer" << R"(<m n="directoryServer"><s k="enabled">false</s></m>)"
        << "Directory: Directory=Offline(b) | General: Unit Name=Studio(b) | IP (UDP) Settings: UDP Port=9000(b)";
    QTest::newRow("channel list")
        << "channelList" << R"(<m n="channelList"><m n="channel"><s k="id">ip</s><s k="descr">IP</s></m></m>)"
        << "Directory: Directory=Online | General: Unit Name=Studio(b) | IP (UDP) Settings: UDP Port=9000";
}

void TestSystemSettings::newValuesRefreshRowsInPlace()
{
    QFETCH(QString, seq);
    QFETCH(QString, answer);
    QFETCH(QString, outline);

    QTreeWidget* tree = m_screen->treeSysConfig;
    tree->topLevelItem(0)->setExpanded(false);
    QTreeWidgetItem* selected = tree->topLevelItem(2)->child(0);
    tree->setCurrentItem(selected);

    cachefeeder::answer(seq.toStdString(), answer.toStdString());
    QCOMPARE(::outline(tree), outline);
    QVERIFY(!tree->topLevelItem(0)->isExpanded());
    QCOMPARE(tree->currentItem(), selected);
}

void TestSystemSettings::editEnabledOnlyOnOptionRows()
{
    QTreeWidget* tree = m_screen->treeSysConfig;
    tree->setCurrentItem(tree->topLevelItem(1));
    QVERIFY(!m_screen->buttonEdit->isEnabled());
    tree->setCurrentItem(tree->topLevelItem(1)->child(0));
    QVERIFY(m_screen->buttonEdit->isEnabled());
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonEdit);
    tree->clearSelection();
    QVERIFY(!m_screen->buttonEdit->isEnabled());
}

void TestSystemSettings::editHandsTheOptionToTheEditor()
{
    QSignalSpy editOption(m_screen, &SystemSettings::editOption);
    connect(m_screen, &SystemSettings::editOption, m_editor, &EditSetting::populateChannelItem);
    QTreeWidget* tree = m_screen->treeSysConfig;
    tree->setCurrentItem(tree->topLevelItem(2)->child(0));
    QTest::mouseClick(m_screen->buttonEdit, Qt::LeftButton);
    QCOMPARE(editOption.count(), 1);
    QCOMPARE(m_editor->labelTitle->text(), QStringLiteral("UDP Port"));
    QCOMPARE(m_editor->spinValue->value(), 9000);

    tree->clearSelection();
    m_screen->editSelected();
    QCOMPARE(editOption.count(), 1);
}

void TestSystemSettings::keys()
{
    QTreeWidget* tree = m_screen->treeSysConfig;
    QCOMPARE(tree->currentItem(), tree->topLevelItem(0)->child(0));
    auto press = [this](int key) {
        m_screen->handleKey(key, true, false);
        m_screen->handleKey(key, false, false);
        QCoreApplication::processEvents();
    };
    press(Qt::Key_Down);
    QCOMPARE(tree->currentItem(), tree->topLevelItem(1));
    QVERIFY(!m_screen->buttonEdit->isEnabled());
    press(Qt::Key_Down);
    QCOMPARE(tree->currentItem(), tree->topLevelItem(1)->child(0));
    press(Qt::Key_Up);
    QCOMPARE(tree->currentItem(), tree->topLevelItem(1));
    press(Qt::Key_Down);

    QCOMPARE(QApplication::focusWidget(), m_screen->buttonEdit);
    press(Qt::Key_Right);
    QCOMPARE(QApplication::focusWidget(), m_screen->checkAdvanced);
    press(Qt::Key_Enter);
    QVERIFY(m_screen->checkAdvanced->isChecked());
    QCOMPARE(::outline(tree).count("Time Server"), 1);
    // The rebuilt tree selects its first option row, which hands the focus back to Edit.
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonEdit);
    press(Qt::Key_Left);
    QCOMPARE(QApplication::focusWidget(), m_screen->checkAdvanced);

    QSignalSpy editOption(m_screen, &SystemSettings::editOption);
    tree->setCurrentItem(tree->topLevelItem(1)->child(1));
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonEdit);
    press(Qt::Key_Enter);
    QCOMPARE(editOption.count(), 1);
}

QTEST_MAIN(TestSystemSettings)
#include "test_systemsettings.moc"
