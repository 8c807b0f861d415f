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
    // Listed on show, edited with the keypad, read again on coming back with the same row selected.
    void listEditAndComeBack()
    {
        LogCapture log(LOG_DEBUG);
        RequestLog requests;
        BraidSettings screen;
        QStringList edited;
        connect(&screen, &BraidSettings::editBraidSetting, this, [&edited](const std::string& path) { edited << QString::fromStdString(path); });
        QTreeWidget* list = screen.treeSettings;
        answer("braidSettings", kTunnel);
        QVERIFY(list->topLevelItemCount() == 0 && !screen.buttonEdit->isEnabled());
        QVERIFY(showActive(&screen));
        list->clearFocus();
        screen.paneAboutToShow();
        QVERIFY(list->hasFocus());
        QCOMPARE(requests.lastTree(), tree(R"(<m n="cfgDescribe"><s k="path">netmgr.tunnel</s></m>)"));
        QCOMPARE(requests.requests().back().params().get_string("seq", ""), std::string("braidSettings"));
        answer("braidSettings", kTunnel);
        QCOMPARE(rows(list), QString("Braid, Maximum Delay"));
        QCOMPARE(list->topLevelItem(1)->text(1), QString("400"));
        list->setCurrentItem(list->topLevelItem(0));
        list->clearFocus();
        // Down moves through the list, Enter presses Edit.
        for (int key : {Qt::Key_Down, Qt::Key_Enter}) {
            for (bool press : {true, false})
                screen.handleKey(key, press, false);
        }
        QTRY_COMPARE(edited, QStringList{"netmgr.tunnel.max_delay"});
        for (const char* line : {"BraidSettings::handleRecvBraidSettings()", "edit braid setting path=netmgr.tunnel.max_delay"})
            QVERIFY2(log.all().find(line) != std::string::npos, line);
        QVERIFY(log.all().find("exception") == std::string::npos);

        // Off to the editor and back: read again, the same row selected, one edit per click.
        screen.paneAboutToHide();
        screen.paneAboutToShow();
        QCOMPARE(requests.requests().size(), std::size_t(2));
        answer("braidSettings", kTunnel);
        QCOMPARE(rows(list), QString("Braid, [Maximum Delay]"));
        screen.buttonEdit->click();
        QCOMPARE(edited.size(), 2);
        // Answers without the tunnel's settings keep the list.
        for (const char* other : {R"(<m n="resp"><m n="node"><m n="group"><s k="name">peers</s></m></m></m>)",
                                  R"(<m n="resp"><b k="fail">true</b></m>)"}) {
            answer("braidSettings", other);
            QCOMPARE(rows(list), QString("Braid, [Maximum Delay]"));
            QVERIFY(!screen.buttonEdit->isEnabled());
        }
    }
};

QTEST_MAIN(TestBraidSettings)
#include "test_braidsettings.moc"
