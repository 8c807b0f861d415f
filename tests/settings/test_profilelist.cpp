#include "cachefeeder.h"
#include "modalwatch.h"
#include "profilelist.h"

#include <QMessageBox>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

using cachefeeder::RequestLog;

namespace {
// A listed profile; `flag` is "factory", "default" or empty.
std::string profile(int id, const std::string& name, const std::string& flag = std::string())
{
    const std::string flagXml = flag.empty() ? "" : "<b k=\"" + flag + "\">true</b>";
    return "<m n=\"profile\"><i k=\"id\">" + std::to_string(id) + "</i><s k=\"name\">" + name + "</s>" + flagXml
           + "<m n=\"settings\"><s k=\"name\">" + name + "</s><s k=\"channel\">rtp_udp_mux</s></m></m>";
}

const std::string kFactory = profile(1, "Factory IP", "factory");
const std::string kStudio = profile(2, "Studio Link", "default");
const std::string kPhone = profile(3, "Phone Line");

void answerProfiles(const std::string& profiles)
{
    cachefeeder::answer("profileList", "<m n=\"profileList\">" + profiles + "</m>");
}

QStringList rowTexts(const ProfileList& list)
{
    QStringList texts;
    for (int row = 0; row < list.listProfiles->count(); ++row)
        texts << (row == list.listProfiles->currentRow() ? ">" : "") + list.listProfiles->item(row)->text();
    return texts;
}

} // namespace

class TestProfileList : public QObject {
    Q_OBJECT

private slots:
    void rowsFollowTheListAndKeepTheCurrentProfile();
    void addedProfileIsSelectedOnceItsListArrives();
    void requestsForTheCurrentProfile();
    void removalQuestion_data();
    void removalQuestion();
};

void TestProfileList::rowsFollowTheListAndKeepTheCurrentProfile()
{
    ProfileList list;
    answerProfiles(kFactory + kStudio + kPhone);
    QCOMPARE(rowTexts(list), (QStringList{">Factory IP", "*Studio Link", "Phone Line"}));
    list.listProfiles->setCurrentRow(2);
    answerProfiles(kPhone + kStudio + kFactory);
    QCOMPARE(rowTexts(list), (QStringList{">Phone Line", "*Studio Link", "Factory IP"}));
    // When the current profile is gone, the first row takes over.
    answerProfiles(kStudio + kFactory);
    QCOMPARE(rowTexts(list), (QStringList{">*Studio Link", "Factory IP"}));

    // A profile's global settings override its own parameters.
    answerProfiles("<m n=\"profile\"><i k=\"id\">4</i><s k=\"name\">Old</s>"
                   "<m n=\"settings\"><s k=\"name\">Renamed</s><b k=\"default\">true</b></m></m>");
    QCOMPARE(rowTexts(list), QStringList{">*Renamed"});
}

void TestProfileList::addedProfileIsSelectedOnceItsListArrives()
{
    ProfileList list;
    answerProfiles(kFactory + kStudio + kPhone);
    list.listProfiles->setCurrentRow(1);

    RequestLog log;
    list.buttonNew->click();
    QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"addProfile\"><s k=\"name\">New Profile</s>"
                                               "<s k=\"channel\">rtp_udp_mux</s></m>"));
    cachefeeder::answer("addProfile", "<m n=\"addProfile\"><i k=\"id\">9</i></m>");
    answerProfiles(kFactory + kStudio + kPhone + profile(9, "New Profile"));
    QCOMPARE(list.listProfiles->currentItem()->text(), QString("New Profile"));
}

void TestProfileList::requestsForTheCurrentProfile()
{
    ProfileList list;
    answerProfiles(kFactory + kStudio + kPhone);
    list.listProfiles->setCurrentRow(1);
    QSignalSpy edit(&list, &ProfileList::editProfile);

    RequestLog log;
    list.buttonCopy->click();
    QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"copyProfile\"><i k=\"id\">2</i>"
                                               "<s k=\"name\">Copy of Studio Link</s></m>"));
    list.buttonDefault->click();
    QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"setProfile\"><i k=\"id\">2</i><b k=\"default\">true</b></m>"));

    // A factory profile opens read-only.
    list.listProfiles->setCurrentRow(0);
    list.buttonEdit->click();
    QCOMPARE(edit.at(0), (QVariantList{1, true}));
    QCOMPARE(log.requests().size(), std::size_t(2));
}

void TestProfileList::removalQuestion_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("refillWhileAsking");
    QTest::newRow("yes") << int(QMessageBox::Yes) << false;
    QTest::newRow("no") << int(QMessageBox::No) << false;
    // The profile asked about is the one deleted, even when a new list took its row meanwhile.
    QTest::newRow("yes after the list changed") << int(QMessageBox::Yes) << true;
}

void TestProfileList::removalQuestion()
{
    QFETCH(int, answer);
    QFETCH(bool, refillWhileAsking);

    ProfileList list;
    answerProfiles(kFactory + kStudio + kPhone);
    list.listProfiles->setCurrentRow(1);
    QSignalSpy modal(&list, &ProfileList::changeModal);
    RequestLog log;
    QString question;
    int modalWhileAsking = 0;
    answerNextQuestion(&list, QMessageBox::StandardButton(answer), [&](QMessageBox& box) {
        question = box.text();
        modalWhileAsking = modal.count();
        if (refillWhileAsking)
            answerProfiles(kPhone + kFactory);
    });
    list.buttonRemove->click();

    QCOMPARE(question, QString("This will delete the '*Studio Link' profile.\n\nDo you wish to continue?"));
    QCOMPARE(modalWhileAsking, 1);
    QCOMPARE(modal.count(), 2);
    QCOMPARE(modal.at(1).at(0).toBool(), false);
    const bool deletes = answer == QMessageBox::Yes;
    QCOMPARE(log.lastTree(), deletes ? cachefeeder::tree("<m n=\"deleteProfile\"><i k=\"id\">2</i></m>") : "");
}

QTEST_MAIN(TestProfileList)
#include "test_profilelist.moc"
