#include "codec.h"
#include "ipcinstances.h"
#include "peeredit.h"

#include <QMutexLocker>
#include <QtTest>

#include <cstring>
#include <vector>

namespace {

// Missing values take their defaults.
const char* const kPeers = R"(<m n="peerList">
  <m n="peer"><i k="id">1</i><s k="name">Studio A</s><s k="addr">studio-a.relaybook</s><i k="profile">2</i>
    <m n="directory"><b k="online">true</b></m></m>
  <m n="peer"><i k="id">2</i><s k="name">Newsroom</s><s k="addr">+1 555 0142</s><s k="channel">pots</s></m>
  <m n="peer"><i k="id">3</i><s k="name">OB Van 2</s><s k="addr">198.51.100.23</s><s k="password">van2</s>
    <i k="profile">4</i><i k="backup_id">2</i><b k="retry_primary">true</b><b k="plait">true</b>
    <b k="use_plait">true</b><s k="unit">00:1b:7c:0a:51:9f</s></m>
  <m n="peer"><i k="id">4</i><s k="name">Booth</s><s k="addr">203.0.113.40</s><s k="password">b</s>
    <i k="backup_id">4</i><b k="plait">true</b><s k="unit">00:1b:7c:0a:33:02</s></m>
</m>)";

// Profile 4 is hidden; 5 has no settings.
const char* const kProfiles = R"(<m n="profileList">
  <m n="profile"><i k="id">1</i><m n="settings"><s k="name">Factory IP</s><s k="visible">true</s></m></m>
  <m n="profile"><i k="id">2</i><m n="settings"><s k="name">Studio Link</s><b k="visible">true</b></m></m>
  <m n="profile"><i k="id">3</i><m n="settings"><s k="name">Phone Line</s><b k="visible">true</b></m></m>
  <m n="profile"><i k="id">4</i><m n="settings"><s k="name">Engineering Test</s><b k="visible">false</b></m></m>
  <m n="profile"><i k="id">5</i></m>
</m>)";

void answer(const char* xmls)
{
    Message msg;
    std::string error;
    if (!ipc::decode(ipc::Encoding::Xmls, xmls, std::strlen(xmls), msg, error))
        qFatal("bad xmls in test: %s", error.c_str());
    msg.params().set_string("seq", msg.name);
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(msg);
}

void open(PeerEdit& editor, int peerId, bool adding)
{
    editor.setPeerID(peerId);
    editor.setEdit(!adding);
    editor.populate();
}

} // namespace

class TestPeerEdit : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void editMode_data();
    void editMode();
    void form_data();
    void form();

private:
    std::vector<Message> m_sent;
};

void TestPeerEdit::initTestCase()
{
    g_ipcClient.setRequestTap([this](const Message& request) { m_sent.push_back(request); });
    answer(kPeers);
    answer(kProfiles);
}

void TestPeerEdit::editMode_data()
{
    QTest::addColumn<int>("peerId");
    QTest::addColumn<bool>("adding");
    QTest::addColumn<QString>("shown"); // name|address|password|MAC|backup|profile
    QTest::addColumn<bool>("editable");
    QTest::addColumn<bool>("braid");

    QTest::newRow("adding") << 1 << true << "||||(No backup)|(Default Profile)" << true << false;
    QTest::newRow("listed by the directory")
        << 1 << false << "Studio A|studio-a.relaybook|||(No backup)|Studio Link" << false << false;
    QTest::newRow("braid remote on a hidden profile")
        << 3 << false << "OB Van 2|198.51.100.23|van2|00:1b:7c:0a:51:9f|Newsroom|Engineering Test" << true << true;
    QTest::newRow("backup of itself") << 4 << false
                                      << "Booth|203.0.113.40|b|00:1b:7c:0a:33:02|(Keep retrying this remote)|"
                                         "(Default Profile)"
                                      << true << false;
}

void TestPeerEdit::editMode()
{
    QFETCH(int, peerId);
    QFETCH(bool, adding);
    QFETCH(QString, shown);
    QFETCH(bool, editable);
    QFETCH(bool, braid);

    PeerEdit editor;
    // A previous visit in the other mode left its state behind.
    open(editor, peerId, !adding);
    editor.checkBraid->setChecked(!braid);
    editor.checkFallForward->setChecked(!braid);

    open(editor, peerId, adding);
    QCOMPARE(editor.labelTitle->text(), QString(adding ? "Add New Remote" : "Edit Remote Settings"));
    QCOMPARE((QStringList{editor.nameEdit->text(), editor.addressEdit->text(), editor.passwordEdit->text(),
                          editor.macAddrEdit->text(), editor.comboBackup->currentText(),
                          editor.comboProfile->currentText()})
                 .join('|'),
             shown);
    QCOMPARE(editor.addressEdit->isEnabled(), editable);
    QCOMPARE(!editor.macAddrEdit->isHidden(), editable);
    QCOMPARE(!editor.checkBraid->isHidden(), editable);
    QCOMPARE(editor.checkBraid->isChecked(), braid);
    // The scenario's Braid remote is also the only one that retries its primary.
    QCOMPARE(editor.checkFallForward->isChecked(), braid);
    // A new remote cannot back itself up, so the one selected in the list is left out.
    QCOMPARE(editor.comboBackup->itemData(1).toInt(), adding ? 2 : peerId);
    QCOMPARE(editor.comboBackup->count(), adding ? 4 : 5);
    // A hidden profile is offered only to the remote that uses it.
    QCOMPARE(editor.comboProfile->count(), peerId == 3 ? 5 : 4);
    QCOMPARE(editor.buttonOK->isEnabled(), !adding);
}

void TestPeerEdit::form_data()
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
    QTest::newRow("braid with dashes") << 0 << "Name" << true << "00-1b-7c-0a-51-9f" << "";
    QTest::newRow("braid with a non-hex digit") << 0 << "Name" << true << "00:1b:7c:0a:51:9g" << "";
    QTest::newRow("directory remote, empty name")
        << 1 << "" << false << "keep"
        << "name=\"\" addr=\"\" password=Secret profile:i=3 backup_id:i=4 retry_primary:b=true id:i=1 "
           "plait:b=false seq=peerSettings";
    QTest::newRow("editing, braid on without address") << 3 << "Name" << true << "" << "";
    QTest::newRow("editing a braid remote")
        << 3 << "Name" << true << "keep"
        << common + "id:i=3 unit=00:1b:7c:0a:51:9f plait:b=true use_plait:b=true seq=peerSettings";
}

void TestPeerEdit::form()
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

    m_sent.clear();
    editor.buttonOK->click();
    QCOMPARE(m_sent.size(), std::size_t(expected.isEmpty() ? 0 : 1));
    if (expected.isEmpty())
        return;
    QCOMPARE(m_sent[0].name, std::string(peerId ? "setPeerSettings" : "addPeer"));
    QVERIFY2(m_sent[0].params() == Params(expected.toUtf8().constData()), m_sent[0].dump_text().c_str());
}

QTEST_MAIN(TestPeerEdit)
#include "test_peeredit.moc"
