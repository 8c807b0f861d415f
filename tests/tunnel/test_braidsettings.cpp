// The tunnel settings list: rows from the tunnel's description, the path handed to the option
// editor, the selection kept across re-reads, and the keypad.
#include "braidsettings.h"
#include "cachefeeder.h"
#include "platformkey.h"

#include <QtTest>

using namespace cachefeeder;

namespace {

// The tunnel's own settings, one advanced, and a group of another kind that is not listed.
const char* const kTunnel = R"(<m n="resp"><m n="node"><s k="name">tunnel</s>
  <m n="group"><s k="name"></s>
    <m n="option"><s k="name">enabled</s><s k="display_name">Braid</s><s k="display_value">Enabled</s></m>
    <m n="option"><s k="name">max_delay</s><s k="display_name">Maximum Delay</s><s k="display_value">400</s></m>
    <m n="option"><s k="name">port</s><s k="display_name">Tunnel Port</s><b k="advanced">true</b></m>
    <m n="option"><s k="name">mode</s><s k="display_name">Mode</s><s k="display_value">Bond</s></m>
  </m>
  <m n="group"><s k="name">peers</s>
    <m n="option"><s k="name">far</s><s k="display_name">Far End</s></m>
  </m>
</m></m>)";

QStringList visibleRows(const QTreeWidget* tree)
{
    QStringList rows;
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        if (!tree->topLevelItem(i)->isHidden())
            rows << tree->topLevelItem(i)->text(0);
    }
    return rows;
}

} // namespace

class TestBraidSettings : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void listsTheTunnelsOwnSettings();
    void editSendsThePathAndReturnsToTheRow();
    void answerWithoutSettingsKeepsTheList();
    void keypad();

private:
    std::unique_ptr<BraidSettings> m_screen;
    std::unique_ptr<RequestLog> m_requests;
};

void TestBraidSettings::init()
{
    m_requests = std::make_unique<RequestLog>();
    m_screen = std::make_unique<BraidSettings>();
    m_screen->paneAboutToShow();
}

void TestBraidSettings::cleanup()
{
    m_screen.reset();
    m_requests.reset();
}

void TestBraidSettings::listsTheTunnelsOwnSettings()
{
    QCOMPARE(m_requests->lastTree(), tree(R"(<m n="cfgDescribe"><s k="path">netmgr.tunnel</s></m>)"));
    QCOMPARE(QString::fromStdString(m_requests->requests().back().params().get_string("seq", "")),
             QString("braidSettings"));
    answer("braidSettings", kTunnel);
    QCOMPARE(visibleRows(m_screen->treeSettings), (QStringList{"Braid", "Maximum Delay", "Mode"}));
    QCOMPARE(m_screen->treeSettings->topLevelItem(1)->text(1), QString("400"));
    QVERIFY(!m_screen->buttonEdit->isEnabled());
}

void TestBraidSettings::editSendsThePathAndReturnsToTheRow()
{
    answer("braidSettings", kTunnel);
    QStringList edit;
    connect(m_screen.get(), &BraidSettings::editBraidSetting, this,
            [&edit](const std::string& path) { edit << QString::fromStdString(path); });
    m_screen->treeSettings->setCurrentItem(m_screen->treeSettings->topLevelItem(1));
    QVERIFY(m_screen->buttonEdit->isEnabled());
    m_screen->buttonEdit->click();
    QCOMPARE(edit, QStringList{"netmgr.tunnel.max_delay"});

    // Off to the editor and back: the list is read again and the same row is selected.
    m_screen->paneAboutToHide();
    answer("braidSettings", kTunnel);
    QCOMPARE(m_screen->treeSettings->currentItem()->text(0), QString("Maximum Delay"));
    m_screen->paneAboutToShow();
    answer("braidSettings", kTunnel);
    QCOMPARE(m_screen->treeSettings->selectedItems().size(), 1);
    QCOMPARE(m_screen->treeSettings->selectedItems().first()->text(0), QString("Maximum Delay"));
    QVERIFY(m_screen->buttonEdit->isEnabled());
}

void TestBraidSettings::answerWithoutSettingsKeepsTheList()
{
    answer("braidSettings", kTunnel);
    m_screen->treeSettings->setCurrentItem(m_screen->treeSettings->topLevelItem(0));
    answer("braidSettings", R"(<m n="resp"><m n="node"><m n="group"><s k="name">peers</s></m></m></m>)");
    QCOMPARE(visibleRows(m_screen->treeSettings), (QStringList{"Braid", "Maximum Delay", "Mode"}));
    QVERIFY(!m_screen->buttonEdit->isEnabled());
    answer("braidSettings", R"(<m n="resp"><b k="fail">true</b></m>)");
    QCOMPARE(m_screen->treeSettings->topLevelItemCount(), 4);
}

// Down moves through the list, Enter presses Edit.
void TestBraidSettings::keypad()
{
    QVERIFY(showActive(m_screen.get()));
    m_screen->paneAboutToHide();
    m_screen->paneAboutToShow();
    QVERIFY(m_screen->treeSettings->hasFocus());
    answer("braidSettings", kTunnel);
    QStringList edit;
    connect(m_screen.get(), &BraidSettings::editBraidSetting, this,
            [&edit](const std::string& path) { edit << QString::fromStdString(path); });
    m_screen->treeSettings->setCurrentItem(m_screen->treeSettings->topLevelItem(0));
    for (bool press : {true, false})
        m_screen->handleKey(Qt::Key_Down, press, false);
    QCOMPARE(m_screen->treeSettings->currentItem()->text(0), QString("Maximum Delay"));
    for (bool press : {true, false})
        m_screen->handleKey(Qt::Key_Enter, press, false);
    QCOMPARE(edit, QStringList{"netmgr.tunnel.max_delay"});
}

QTEST_MAIN(TestBraidSettings)
#include "test_braidsettings.moc"
