// The tunnel settings list: rows from the tunnel's description, the path handed to the option
// editor, the selection kept across re-reads, and the keypad.
#include "braidsettings.h"
#include "cachefeeder.h"
#include "logcapture.h"
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
  </m>
  <m n="group"><s k="name">peers</s><m n="option"><s k="name">far</s><s k="display_name">Far End</s></m></m>
</m></m>)";

// The rows on show, the selected one in brackets.
QString rows(const QTreeWidget* tree)
{
    QStringList out;
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = tree->topLevelItem(i);
        if (!row->isHidden())
            out << (row->isSelected() ? "[" + row->text(0) + "]" : row->text(0));
    }
    return out.join(", ");
}

} // namespace

class TestBraidSettings : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_requests = std::make_unique<RequestLog>();
        m_screen = std::make_unique<BraidSettings>();
        connect(m_screen.get(), &BraidSettings::editBraidSetting, this,
                [this](const std::string& path) { m_edited << QString::fromStdString(path); });
        m_edited.clear();
    }
    void cleanup()
    {
        m_screen.reset();
        m_requests.reset();
    }
    void listEditAndComeBack()
    {
        LogCapture log(LOG_DEBUG);
        QTreeWidget* list = m_screen->treeSettings;
        answer("braidSettings", kTunnel);
        QVERIFY(list->topLevelItemCount() == 0 && !m_screen->buttonEdit->isEnabled());
        m_screen->paneAboutToShow();
        QCOMPARE(m_requests->lastTree(), tree(R"(<m n="cfgDescribe"><s k="path">netmgr.tunnel</s></m>)"));
        QCOMPARE(m_requests->requests().back().params().get_string("seq", ""), std::string("braidSettings"));
        answer("braidSettings", kTunnel);
        QCOMPARE(rows(list), QString("Braid, Maximum Delay"));
        QCOMPARE(list->topLevelItem(1)->text(1), QString("400"));
        QVERIFY(!m_screen->buttonEdit->isEnabled());
        list->setCurrentItem(list->topLevelItem(1));
        QVERIFY(m_screen->buttonEdit->isEnabled());
        m_screen->buttonEdit->click();
        QCOMPARE(m_edited, QStringList{"netmgr.tunnel.max_delay"});
        for (const char* line : {"BraidSettings::handleRecvBraidSettings()", "edit braid setting path=netmgr.tunnel.max_delay"})
            QVERIFY2(log.all().find(line) != std::string::npos, line);

        // Off to the editor and back: read again, the same row selected, one edit per click.
        m_screen->paneAboutToHide();
        m_screen->paneAboutToShow();
        QCOMPARE(m_requests->requests().size(), std::size_t(2));
        answer("braidSettings", kTunnel);
        QCOMPARE(rows(list), QString("Braid, [Maximum Delay]"));
        m_screen->buttonEdit->click();
        QCOMPARE(m_edited.size(), 2);
    }
    void answersWithoutSettingsKeepTheList()
    {
        m_screen->paneAboutToShow();
        answer("braidSettings", kTunnel);
        m_screen->treeSettings->setCurrentItem(m_screen->treeSettings->topLevelItem(0));
        for (const char* other : {R"(<m n="resp"><m n="node"><m n="group"><s k="name">peers</s></m></m></m>)",
                                  R"(<m n="resp"><b k="fail">true</b></m>)"}) {
            answer("braidSettings", other);
            QCOMPARE(rows(m_screen->treeSettings), QString("[Braid], Maximum Delay"));
            QVERIFY(!m_screen->buttonEdit->isEnabled());
        }
    }
    // Down moves through the list, Enter presses Edit.
    void keypad()
    {
        QVERIFY(showActive(m_screen.get()));
        m_screen->paneAboutToShow();
        QVERIFY(m_screen->treeSettings->hasFocus());
        answer("braidSettings", kTunnel);
        m_screen->treeSettings->setCurrentItem(m_screen->treeSettings->topLevelItem(0));
        m_screen->buttonEdit->setFocus();
        for (int key : {Qt::Key_Down, Qt::Key_Enter}) {
            for (bool press : {true, false})
                m_screen->handleKey(key, press, false);
        }
        QTRY_COMPARE(m_edited, QStringList{"netmgr.tunnel.max_delay"});
    }

private:
    std::unique_ptr<RequestLog> m_requests;
    std::unique_ptr<BraidSettings> m_screen;
    QStringList m_edited;
};

QTEST_MAIN(TestBraidSettings)
#include "test_braidsettings.moc"
