#include "codec.h"
#include "ipcinstances.h"
#include "peeredit.h"

#include <QMutexLocker>
#include <QSignalSpy>
#include <QtTest>

#include <cstring>
#include <vector>

namespace {

const char* const kPeers = R"(<m n="peerList">
  <m n="peer"><i k="id">1</i><s k="name">Studio A</s><s k="addr">studio-a.relaybook</s><s k="password"></s>
    <i k="profile">2</i><i k="backup_id">0</i><b k="retry_primary">false</b><b k="plait">false</b>
    <m n="directory"><b k="online">true</b></m></m>
  <m n="peer"><i k="id">2</i><s k="name">Newsroom</s><s k="addr">+1 555 0142</s><s k="channel">pots</s>
    <i k="profile">3</i></m>
  <m n="peer"><i k="id">3</i><s k="name">OB Van 2</s><s k="addr">198.51.100.23</s><s k="password">van2</s>
    <i k="profile">4</i><i k="backup_id">2</i><b k="retry_primary">true</b><b k="plait">true</b>
    <b k="use_plait">true</b><s k="unit">00:1b:7c:0a:51:9f</s></m>
  <m n="peer"><i k="id">4</i><s k="name">Booth</s><s k="addr">203.0.113.40</s><s k="password">b</s>
    <i k="profile">0</i><i k="backup_id">4</i><b k="plait">true</b><b k="use_plait">false</b>
    <s k="unit">00:1b:7c:0a:33:02</s></m>
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

QStringList items(const QComboBox* combo)
{
    QStringList out;
    for (int i = 0; i < combo->count(); ++i)
        out << QStringLiteral("%1=%2").arg(combo->itemText(i)).arg(combo->itemData(i).toInt());
    return out;
}

QColor macBase(const PeerEdit& editor)
{
    return editor.macAddrEdit->palette().color(QPalette::Base);
}

const QColor kTint(255, 221, 221);

} // namespace

class TestPeerEdit : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void addMode();
    void editMode_data();
    void editMode();
    void okRule_data();
    void okRule();
    void request_data();
    void request();
    void cancelAndDelete();

private:
    std::vector<Message> m_sent;
};

void TestPeerEdit::initTestCase()
{
    g_ipcClient.setRequestTap([this](const Message& request) { m_sent.push_back(request); });
    answer(kPeers);
    answer(kProfiles);
}

void TestPeerEdit::init()
{
    m_sent.clear();
}

void TestPeerEdit::addMode()
{
    PeerEdit editor;
    editor.setPeerID(1);
    editor.setEdit(true);
    editor.populate();
    editor.setEdit(false);
    editor.populate();
    QCOMPARE(editor.labelTitle->text(), QString("Add New Remote"));
    for (QLineEdit* edit : {editor.nameEdit, editor.addressEdit, editor.passwordEdit, editor.macAddrEdit})
        QVERIFY(edit->text().isEmpty());
    QVERIFY(editor.nameEdit->isEnabled() && !editor.macAddrEdit->isEnabled());
    QVERIFY(!editor.checkBraid->isHidden() && !editor.checkBraid->isChecked());
    // The remote selected in the list is left out of the backups.
    QCOMPARE(items(editor.comboBackup), (QStringList{"(No backup)=0", "Newsroom=2", "OB Van 2=3", "Booth=4"}));
    QCOMPARE(items(editor.comboProfile),
             (QStringList{"(Default Profile)=0", "Factory IP=1", "Studio Link=2", "Phone Line=3"}));
    QVERIFY(!editor.buttonOK->isEnabled());

    // Only a new remote takes a MAC, marked until it is complete.
    editor.checkBraid->setChecked(true);
    QVERIFY(editor.macAddrEdit->isEnabled());
    QCOMPARE(macBase(editor), kTint);
    editor.checkBraid->setChecked(false);
    QCOMPARE(macBase(editor), QColor(Qt::white));
    editor.setPeerID(4);
    editor.setEdit(true);
    editor.populate();
    editor.checkBraid->setChecked(true);
    QVERIFY(!editor.macAddrEdit->isEnabled());
}

void TestPeerEdit::editMode_data()
{
    QTest::addColumn<int>("peerId");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<bool>("fieldsEnabled");
    QTest::addColumn<bool>("plaitShown");
    QTest::addColumn<bool>("braid");
    QTest::addColumn<QString>("backup");
    QTest::addColumn<QString>("profile");

    QTest::newRow("listed by the directory") << 1 << QStringList{"Studio A", "studio-a.relaybook", "", ""} << false
                                             << false << false << "(No backup)" << "Studio Link";
    QTest::newRow("braid remote on a hidden profile")
        << 3 << QStringList{"OB Van 2", "198.51.100.23", "van2", "00:1b:7c:0a:51:9f"} << true << true << true
        << "Newsroom" << "Engineering Test";
    QTest::newRow("backup of itself") << 4 << QStringList{"Booth", "203.0.113.40", "b", "00:1b:7c:0a:33:02"} << true
                                      << true << false << "(Keep retrying this remote)" << "(Default Profile)";
}

void TestPeerEdit::editMode()
{
    QFETCH(int, peerId);
    QFETCH(QStringList, texts);
    QFETCH(bool, fieldsEnabled);
    QFETCH(bool, plaitShown);
    QFETCH(bool, braid);
    QFETCH(QString, backup);
    QFETCH(QString, profile);

    PeerEdit editor;
    // A previous visit in add mode left its state behind.
    editor.setEdit(false);
    editor.populate();
    editor.checkBraid->setChecked(true);
    editor.checkFallForward->setChecked(true);

    editor.setPeerID(peerId);
    editor.setEdit(true);
    editor.populate();
    QCOMPARE(editor.labelTitle->text(), QString("Edit Remote Settings"));
    QCOMPARE((QStringList{editor.nameEdit->text(), editor.addressEdit->text(), editor.passwordEdit->text(),
                          editor.macAddrEdit->text()}),
             texts);
    QCOMPARE(editor.addressEdit->isEnabled(), fieldsEnabled);
    QCOMPARE(!editor.macAddrEdit->isHidden(), plaitShown);
    QCOMPARE(!editor.checkBraid->isHidden(), plaitShown);
    QCOMPARE(editor.checkBraid->isChecked(), braid);
    // The scenario's Braid remote is also the only one that retries its primary.
    QCOMPARE(editor.checkFallForward->isChecked(), braid);
    QCOMPARE(editor.comboBackup->currentText(), backup);
    QCOMPARE(editor.comboBackup->itemData(1).toInt(), peerId);
    QCOMPARE(editor.comboBackup->count(), 5);
    // A hidden profile is offered only to the remote that uses it.
    QCOMPARE(editor.comboProfile->count(), peerId == 3 ? 5 : 4);
    QCOMPARE(editor.comboProfile->currentText(), profile);
    QVERIFY(editor.buttonOK->isEnabled());
}

void TestPeerEdit::okRule_data()
{
    QTest::addColumn<int>("peerId");
    QTest::addColumn<bool>("adding");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("braid");
    QTest::addColumn<QString>("mac");
    QTest::addColumn<bool>("ok");

    QTest::newRow("complete, no braid") << 1 << true << "A" << "a" << false << "" << true;
    QTest::newRow("no name") << 1 << true << "" << "a" << false << "" << false;
    QTest::newRow("no address") << 1 << true << "A" << "" << false << "" << false;
    QTest::newRow("braid with upper-case hex") << 1 << true << "A" << "a" << true << "00:1B:7C:0A:51:9F" << true;
    QTest::newRow("braid with five and a half groups") << 1 << true << "A" << "a" << true << "00:1b:7c:0a:51:9"
                                                       << false;
    QTest::newRow("braid with dashes") << 1 << true << "A" << "a" << true << "00-1b-7c-0a-51-9f" << false;
    QTest::newRow("braid with seven groups") << 1 << true << "A" << "a" << true << "00:1b:7c:0a:51:9f:00" << false;
    QTest::newRow("braid with a non-hex digit") << 1 << true << "A" << "a" << true << "00:1b:7c:0a:51:9g" << false;
    QTest::newRow("braid off, half an address") << 1 << true << "A" << "a" << false << "00:1b" << true;
    QTest::newRow("directory remote, empty name") << 1 << false << "" << "" << false << "" << true;
    QTest::newRow("editing, braid on without address") << 3 << false << "A" << "a" << true << "" << false;
    QTest::newRow("editing, no braid widgets") << 2 << false << "A" << "a" << true << "" << true;
}

void TestPeerEdit::okRule()
{
    QFETCH(int, peerId);
    QFETCH(bool, adding);
    QFETCH(QString, name);
    QFETCH(QString, address);
    QFETCH(bool, braid);
    QFETCH(QString, mac);
    QFETCH(bool, ok);

    PeerEdit editor;
    editor.setPeerID(peerId);
    editor.setEdit(!adding);
    editor.populate();
    editor.nameEdit->setText(name);
    editor.addressEdit->setText(address);
    editor.checkBraid->setChecked(braid);
    editor.macAddrEdit->setText(mac);
    QCOMPARE(editor.buttonOK->isEnabled(), ok);
    QCOMPARE(macBase(editor), adding && braid && !ok ? kTint : QColor(Qt::white));
}

void TestPeerEdit::request_data()
{
    QTest::addColumn<int>("peerId");
    QTest::addColumn<bool>("adding");
    QTest::addColumn<bool>("braid");
    QTest::addColumn<QString>("mac");
    QTest::addColumn<QString>("expected");

    const QString common = "name=Name addr=Address password=Secret profile:i=3 backup_id:i=4 retry_primary:b=true ";
    QTest::newRow("adding without MAC") << 2 << true << false << "" << common + "id:i=2 plait:b=false seq=addPeer";
    QTest::newRow("adding with braid") << 2 << true << true << "00:1b:7c:0a:51:9f"
                                       << common + "id:i=2 unit=00:1b:7c:0a:51:9f plait:b=true use_plait:b=true "
                                                   "seq=addPeer";
    QTest::newRow("adding a MAC without braid") << 2 << true << false << "00:1b:7c:0a:51:9f"
                                                << common + "id:i=2 unit=00:1b:7c:0a:51:9f plait:b=true "
                                                            "use_plait:b=false seq=addPeer";
    QTest::newRow("adding half a MAC without braid") << 2 << true << false << "00:1b:7c"
                                                     << common + "id:i=2 plait:b=false seq=addPeer";
    QTest::newRow("editing a braid remote") << 3 << false << true << "unchanged"
                                            << common + "id:i=3 unit=00:1b:7c:0a:51:9f plait:b=true use_plait:b=true "
                                                        "seq=peerSettings";
}

void TestPeerEdit::request()
{
    QFETCH(int, peerId);
    QFETCH(bool, adding);
    QFETCH(bool, braid);
    QFETCH(QString, mac);
    QFETCH(QString, expected);

    PeerEdit editor;
    editor.setPeerID(peerId);
    editor.setEdit(!adding);
    editor.populate();
    editor.nameEdit->setText("Name");
    editor.addressEdit->setText("Address");
    editor.passwordEdit->setText("Secret");
    editor.checkBraid->setChecked(braid);
    if (mac != "unchanged")
        editor.macAddrEdit->setText(mac);
    editor.comboProfile->setCurrentIndex(editor.comboProfile->findData(3));
    editor.comboBackup->setCurrentIndex(editor.comboBackup->findData(4));
    editor.checkFallForward->setChecked(true);

    std::size_t sentWhenDone = 0;
    connect(&editor, &PeerEdit::editPeerDone, this, [&] { sentWhenDone = m_sent.size(); });
    editor.buttonOK->click();
    QCOMPARE(sentWhenDone, std::size_t(1));
    QCOMPARE(m_sent.size(), std::size_t(1));
    QCOMPARE(m_sent[0].name, std::string(adding ? "addPeer" : "setPeerSettings"));
    QVERIFY2(m_sent[0].params() == Params(expected.toUtf8().constData()), m_sent[0].dump_text().c_str());
}

void TestPeerEdit::cancelAndDelete()
{
    PeerEdit editor;
    editor.setPeerID(4);
    editor.populate();
    QSignalSpy done(&editor, &PeerEdit::editPeerDone);
    editor.buttonCancel->click();
    QCOMPARE(done.count(), 1);
    QVERIFY(m_sent.empty());

    editor.setPeerID(3);
    editor.deletePeer();
    QCOMPARE(m_sent.size(), std::size_t(1));
    QCOMPARE(m_sent[0].name, std::string("removePeer"));
    QVERIFY(m_sent[0].params() == Params("id:i=3 seq=removePeer"));
    QCOMPARE(done.count(), 1);
}

QTEST_MAIN(TestPeerEdit)
#include "test_peeredit.moc"
