#include "peeredit.h"
#include "remotesfeed.h"
#include "tunneltree.h"

namespace {

// Profile 4 is hidden, and so is 6, which does not say; 5 has no settings.
const char* const kProfiles = "profileList {profile id:i=1 {settings name=\"Factory IP\" visible=true}}"
                              " {profile id:i=2 {settings name=\"Studio Link\" visible:b=true}}"
                              " {profile id:i=3 {settings name=\"Phone Line\" visible:b=true}}"
                              " {profile id:i=4 {settings name=\"Engineering Test\" visible:b=false}} {profile id:i=5}"
                              " {profile id:i=6 {settings name=Spare}}";

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
        .join("; ");
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
        answer("profileList", tunnelTree(kProfiles));
    }

    // Remote | adding | what the editor shows (see state()). A new remote cannot back itself up, so
    // the one selected in the list is left out; a hidden profile is offered only to the remote that
    // uses it.
    void editMode_data()
    {
        rows(R"(
          adding | 1 | 1 | Add New Remote; ; ; ; ; (No backup); (Default Profile); 111000; 0 2 3 4; 4
          listed by the directory | 1 | 0 | Edit Remote Settings; Studio A; studio-a.relaybook; ; ; (No backup); Studio Link; 000001; 0 1 2 3 4; 4
          braid remote on a hidden profile | 3 | 0
            | Edit Remote Settings; OB Van 2; 198.51.100.23; van2; 00:1b:7c:0a:51:9f; Newsroom; Engineering Test; 111111; 0 3 1 2 4; 5
          backup of itself | 4 | 0
            | Edit Remote Settings; Booth; 203.0.113.40; b; 00:1b:7c:0a:33:02; (Keep retrying this remote); (Default Profile); 111001; 0 4 1 2 3; 4)");
    }

    // A previous visit in the other mode left its state behind.
    void editMode()
    {
        const auto [peerId, adding, shown] = cells<3>();
        PeerEdit editor;
        open(editor, peerId.toInt(), adding == "0");
        editor.checkBraid->setChecked(peerId != "3");
        editor.checkFallForward->setChecked(peerId != "3");
        open(editor, peerId.toInt(), adding == "1");
        QCOMPARE(state(editor), shown);
        RequestLog tap;
        editor.deletePeer();
        QVERIFY(sentAre(tap, {{"removePeer", "id:i=" + peerId.toStdString() + " seq=removePeer"}}));
    }

    // Remote (0: a new remote, with remote 2 selected in the list) | name and address | Braid | MAC
    // ("keep": left as populated) | OK enabled, MAC editable, MAC marked as incomplete | the request.
    void form_data()
    {
        rows(R"(
          new without MAC | 0 | Name | 0 | | 100 | addPeer id:i=2 plait:b=false
          new without name or address | 0 | | 0 | | 000
          new braid, upper-case hex | 0 | Name | 1 | 00:1B:7C:0A:51:9F | 110 | addPeer id:i=2 unit=00:1B:7C:0A:51:9F plait:b=true use_plait:b=true
          new MAC without braid | 0 | Name | 0 | 00:1b:7c:0a:51:9f | 100 | addPeer id:i=2 unit=00:1b:7c:0a:51:9f plait:b=true use_plait:b=false
          braid with five and a half groups | 0 | Name | 1 | 00:1b:7c:0a:51:9 | 011
          braid with a non-hex digit | 0 | Name | 1 | 00:1b:7c:0a:51:9g | 011
          directory remote, empty name | 1 | | 0 | keep | 100 | peerSettings id:i=1 plait:b=false
          editing a braid remote | 3 | Name | 1 | keep | 100 | peerSettings id:i=3 unit=00:1b:7c:0a:51:9f plait:b=true use_plait:b=true)");
    }

    void form()
    {
        const auto [peerId, text, braid, mac, flags, expected] = cells<6>();
        PeerEdit editor;
        open(editor, peerId == "0" ? 2 : peerId.toInt(), peerId == "0");
        editor.nameEdit->setText(text);
        editor.addressEdit->setText(text);
        editor.passwordEdit->setText("Secret");
        if (mac != "keep")
            editor.macAddrEdit->setText(mac);
        editor.checkBraid->setChecked(braid == "1");
        // Typing keeps the address well-formed.
        QTest::keyClicks(editor.macAddrEdit, "z");
        editor.comboProfile->setCurrentIndex(editor.comboProfile->findData(3));
        editor.comboBackup->setCurrentIndex(editor.comboBackup->findData(4));
        editor.checkFallForward->setChecked(true);
        QCOMPARE(QStringLiteral("%1%2%3").arg(editor.buttonOK->isEnabled()).arg(editor.macAddrEdit->isEnabled())
                     .arg(editor.macAddrEdit->palette().color(QPalette::Base) == QColor(255, 221, 221)),
                 flags);

        RequestLog tap;
        QSignalSpy done(&editor, &PeerEdit::editPeerDone);
        editor.buttonOK->click();
        const QString request = QStringLiteral("name=\"%1\" addr=\"%1\" password=Secret profile:i=3 backup_id:i=4 retry_primary:b=true %2 seq=%3")
                                    .arg(text, expected.section(' ', 1), expected.section(' ', 0, 0));
        QVERIFY(expected.isEmpty() ? tap.requests().empty() && done.isEmpty()
                                   : sentAre(tap, {{peerId == "0" ? "addPeer" : "setPeerSettings", request.toStdString()}}) && done.count() == 1);
    }

    // Starting on the second profile and the second backup, fall forward off: the widget with focus
    // and the key | profile index, backup index, fall forward, widget with focus then.
    void keys_data()
    {
        rows(R"(
          Left on a profile: next         | comboProfile | Left | 2 1 0 comboProfile
          Right on a backup: previous     | comboBackup | Right | 1 0 0 comboBackup
          Left on fall forward toggles it | checkFallForward | Left | 1 1 1 checkFallForward
          Enter on Cancel presses it      | buttonCancel | Enter | 1 1 0 buttonCancel done
          Right on Cancel: OK             | buttonCancel | Right | 1 1 0 buttonOK
          Left on Cancel stays            | buttonCancel | Left | 1 1 0 buttonCancel
          Down: next field                | nameEdit | Down | 1 1 0 passwordEdit)");
    }

    // Shown, so that focus is real: the remote with a Braid unit, which offers every field.
    void keys()
    {
        const auto [focus, key, after] = cells<3>();
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
        QCOMPARE(QStringLiteral("%1 %2 %3 %4%5").arg(editor.comboProfile->currentIndex()).arg(editor.comboBackup->currentIndex())
                     .arg(editor.checkFallForward->isChecked()).arg(focused, done.isEmpty() ? "" : " done"),
                 after);
    }
};

QTEST_MAIN(TestPeerEdit)
#include "test_peeredit.moc"
