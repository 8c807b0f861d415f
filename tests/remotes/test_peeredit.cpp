#include "peeredit.h"
#include "remotesfeed.h"

#include <QtTest>

namespace {

// Profile 4 is hidden; 5 has no settings.
const char* const kProfiles = R"(<m n="profileList">
  <m n="profile"><i k="id">1</i><m n="settings"><s k="name">Factory IP</s><s k="visible">true</s></m></m>
  <m n="profile"><i k="id">2</i><m n="settings"><s k="name">Studio Link</s><b k="visible">true</b></m></m>
  <m n="profile"><i k="id">3</i><m n="settings"><s k="name">Phone Line</s><b k="visible">true</b></m></m>
  <m n="profile"><i k="id">4</i><m n="settings"><s k="name">Engineering Test</s><b k="visible">false</b></m></m>
  <m n="profile"><i k="id">5</i></m>
</m>)";

void open(PeerEdit& editor, int peerId, bool adding)
{
    editor.setPeerID(peerId);
    editor.setEdit(!adding);
    editor.populate();
}

// Title, fields, backup and profile shown; address editable, MAC and Braid offered, Braid and fall forward
// checked, OK enabled; the backups' ids; the number of profiles offered.
QString state(const PeerEdit& e)
{
    QStringList backups;
    for (int i = 0; i < e.comboBackup->count(); ++i)
        backups << e.comboBackup->itemData(i).toString();
    const QString flags = QStringLiteral("%1%2%3%4%5%6").arg(e.addressEdit->isEnabled()).arg(!e.macAddrEdit->isHidden())
                              .arg(!e.checkBraid->isHidden()).arg(e.checkBraid->isChecked())
                              .arg(e.checkFallForward->isChecked()).arg(e.buttonOK->isEnabled());
    return QStringList{e.labelTitle->text(), e.nameEdit->text(), e.addressEdit->text(), e.passwordEdit->text(),
                       e.macAddrEdit->text(), e.comboBackup->currentText(), e.comboProfile->currentText(), flags,
                       backups.join(' '), QString::number(e.comboProfile->count())}
        .join('|');
}

} // namespace

class TestPeerEdit : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Missing values take their defaults; the first remote is listed by the directory.
        feedPeers({"id:i=1 name=\"Studio A\" addr=studio-a.relaybook profile:i=2",
                   "id:i=2 name=Newsroom addr=\"+1 555 0142\" channel=pots",
                   "id:i=3 name=\"OB Van 2\" addr=198.51.100.23 password=van2 profile:i=4 backup_id:i=2 retry_primary:b=true "
                   "plait:b=true use_plait:b=true unit=00:1b:7c:0a:51:9f",
                   "id:i=4 name=Booth addr=203.0.113.40 password=b backup_id:i=4 plait:b=true unit=00:1b:7c:0a:33:02"},
                  "online:b=true");
        answer("profileList", parse(kProfiles));
    }

    void editMode_data()
    {
        QTest::addColumn<int>("peerId");
        QTest::addColumn<bool>("adding");
        QTest::addColumn<QString>("shown");

        // A new remote cannot back itself up, so the one selected in the list is left out.
        QTest::newRow("adding") << 1 << true << "Add New Remote|||||(No backup)|(Default Profile)|111000|0 2 3 4|4";
        QTest::newRow("listed by the directory")
            << 1 << false << "Edit Remote Settings|Studio A|studio-a.relaybook|||(No backup)|Studio Link|000001|0 1 2 3 4|4";
        // A hidden profile is offered only to the remote that uses it.
        QTest::newRow("braid remote on a hidden profile") << 3 << false
            << "Edit Remote Settings|OB Van 2|198.51.100.23|van2|00:1b:7c:0a:51:9f|Newsroom|Engineering Test|111111|0 3 1 2 4|5";
        QTest::newRow("backup of itself") << 4 << false << "Edit Remote Settings|Booth|203.0.113.40|b|00:1b:7c:0a:33:02|"
                                                           "(Keep retrying this remote)|(Default Profile)|111001|0 4 1 2 3|4";
    }

    // A previous visit in the other mode left its state behind.
    void editMode()
    {
        QFETCH(int, peerId);
        QFETCH(bool, adding);
        PeerEdit editor;
        open(editor, peerId, !adding);
        editor.checkBraid->setChecked(peerId != 3);
        editor.checkFallForward->setChecked(peerId != 3);
        open(editor, peerId, adding);
        QTEST(state(editor), "shown");
    }

    void form_data()
    {
        QTest::addColumn<int>("peerId"); // 0: a new remote, with remote 2 selected in the list
        QTest::addColumn<QString>("text"); // name and address
        QTest::addColumn<bool>("braid");
        QTest::addColumn<QString>("mac"); // "keep": left as populated
        QTest::addColumn<QString>("expected"); // empty: OK stays disabled

        const QString common = "name=Name addr=Name password=Secret profile:i=3 backup_id:i=4 retry_primary:b=true ";
        QTest::newRow("new without MAC") << 0 << "Name" << false << "" << common + "id:i=2 plait:b=false seq=addPeer";
        QTest::newRow("new without name or address") << 0 << "" << false << "" << "";
        QTest::newRow("new braid, upper-case hex")
            << 0 << "Name" << true << "00:1B:7C:0A:51:9F"
            << common + "id:i=2 unit=00:1B:7C:0A:51:9F plait:b=true use_plait:b=true seq=addPeer";
        QTest::newRow("new MAC without braid")
            << 0 << "Name" << false << "00:1b:7c:0a:51:9f"
            << common + "id:i=2 unit=00:1b:7c:0a:51:9f plait:b=true use_plait:b=false seq=addPeer";
        QTest::newRow("braid with five and a half groups") << 0 << "Name" << true << "00:1b:7c:0a:51:9" << "";
        QTest::newRow("braid with a non-hex digit") << 0 << "Name" << true << "00:1b:7c:0a:51:9g" << "";
        QTest::newRow("directory remote, empty name")
            << 1 << "" << false << "keep"
            << "name=\"\" addr=\"\" password=Secret profile:i=3 backup_id:i=4 retry_primary:b=true id:i=1 "
               "plait:b=false seq=peerSettings";
        QTest::newRow("editing a braid remote")
            << 3 << "Name" << true << "keep"
            << common + "id:i=3 unit=00:1b:7c:0a:51:9f plait:b=true use_plait:b=true seq=peerSettings";
    }

    void form()
    {
        QFETCH(int, peerId);
        QFETCH(QString, text);
        QFETCH(bool, braid);
        QFETCH(QString, mac);
        QFETCH(QString, expected);

        PeerEdit editor;
        open(editor, peerId ? peerId : 2, peerId == 0);
        editor.nameEdit->setText(text);
        editor.addressEdit->setText(text);
        editor.passwordEdit->setText("Secret");
        editor.checkBraid->setChecked(braid);
        if (mac != "keep")
            editor.macAddrEdit->setText(mac);
        editor.comboProfile->setCurrentIndex(editor.comboProfile->findData(3));
        editor.comboBackup->setCurrentIndex(editor.comboBackup->findData(4));
        editor.checkFallForward->setChecked(true);
        QCOMPARE(editor.buttonOK->isEnabled(), !expected.isEmpty());
        // Only a new remote takes a MAC, marked until it is complete.
        QCOMPARE(editor.macAddrEdit->isEnabled(), peerId == 0 && braid);
        QCOMPARE(editor.macAddrEdit->palette().color(QPalette::Base) == QColor(255, 221, 221),
                 peerId == 0 && braid && expected.isEmpty());

        RequestLog tap;
        QSignalSpy done(&editor, &PeerEdit::editPeerDone);
        editor.buttonOK->click();
        if (expected.isEmpty())
            QVERIFY(tap.requests().empty() && done.isEmpty());
        else
            QVERIFY(sentAre(tap, {{peerId ? "setPeerSettings" : "addPeer", expected.toStdString()}}) && done.count() == 1);
    }

    void keys_data()
    {
        QTest::addColumn<QString>("focus");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("after"); // profile index, backup index, fall forward, widget with focus

        // Starting on the second profile and the second backup, fall forward off.
        QTest::newRow("Left on a profile: next") << "comboProfile" << int(Qt::Key_Left) << "2 1 0 comboProfile";
        QTest::newRow("Right on a backup: previous") << "comboBackup" << int(Qt::Key_Right) << "1 0 0 comboBackup";
        QTest::newRow("Left on fall forward toggles it") << "checkFallForward" << int(Qt::Key_Left) << "1 1 1 checkFallForward";
        QTest::newRow("Enter on Cancel presses it") << "buttonCancel" << int(Qt::Key_Enter) << "1 1 0 buttonCancel done";
        QTest::newRow("Right on Cancel: OK") << "buttonCancel" << int(Qt::Key_Right) << "1 1 0 buttonOK";
        QTest::newRow("Down: next field") << "nameEdit" << int(Qt::Key_Down) << "1 1 0 passwordEdit";
    }

    // Shown, so that focus is real: the remote with a Braid unit, which offers every field.
    void keys()
    {
        QFETCH(QString, focus);
        QFETCH(int, key);
        PeerEdit editor;
        QVERIFY(showActive(&editor));
        open(editor, 3, false);
        editor.paneAboutToShow();
        QVERIFY(editor.nameEdit->hasFocus());
        editor.comboProfile->setCurrentIndex(1);
        editor.comboBackup->setCurrentIndex(1);
        editor.checkFallForward->setChecked(false);
        QSignalSpy done(&editor, &PeerEdit::editPeerDone);
        const QString focused = pressOn(editor, focus, key);
        QTEST(QStringLiteral("%1 %2 %3 %4%5").arg(editor.comboProfile->currentIndex()).arg(editor.comboBackup->currentIndex())
                  .arg(editor.checkFallForward->isChecked()).arg(focused, done.isEmpty() ? "" : " done"), "after");
    }
};

QTEST_MAIN(TestPeerEdit)
#include "test_peeredit.moc"
