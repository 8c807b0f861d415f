#include "cachefeeder.h"
#include "logcapture.h"
#include "modalwatch.h"
#include "profilelist.h"

#include <QSignalSpy>
#include <QtTest>

using cachefeeder::RequestLog;

namespace {
// A listed profile; `flag` is "factory", "default" or empty.
std::string profile(int id, const std::string& name, const std::string& flag = std::string())
{
    const std::string flagXml = flag.empty() ? "" : "<b k=\"" + flag + "\">true</b>";
    return "<m n=\"profile\"><i k=\"id\">" + std::to_string(id) + "</i><s k=\"name\">" + name + "</s>" + flagXml
           + "<m n=\"settings\"><s k=\"name\">" + name + "</s></m></m>";
}

const std::string kProfiles = profile(1, "Factory IP", "factory") + profile(2, "Studio Link", "default")
                              + profile(3, "Phone Line");

void answerProfiles(const std::string& profiles)
{
    cachefeeder::answer("profileList", "<m n=\"profileList\">" + profiles + "</m>");
}

// The rows, ">" before the current one, then what the buttons offer for it.
QString state(const ProfileList& list)
{
    QStringList texts;
    for (int row = 0; row < list.listProfiles->count(); ++row)
        texts << (row == list.listProfiles->currentRow() ? ">" : "") + list.listProfiles->item(row)->text();
    const bool factory = !list.labelFactory->isHidden();
    return texts.join(", ") + " | " + list.buttonEdit->text() + (list.buttonRemove->isEnabled() ? " Remove" : "")
           + (factory ? " factory" : "");
}
} // namespace

class TestProfileList : public QObject {
    Q_OBJECT

private slots:
    void init() { answerProfiles(kProfiles); }

    void rowsFollowTheListAndKeepTheCurrentProfile()
    {
        // Without profiles there is nothing to edit and no factory mark.
        answerProfiles("");
        ProfileList list;
        QSignalSpy edit(&list, &ProfileList::editProfile);
        LogCapture log(LOG_ERROR);
        list.buttonEdit->click();
        QVERIFY(edit.isEmpty() && list.labelFactory->isHidden());
        QVERIFY(log.all().find("profile list, item is null") != std::string::npos);
        answerProfiles(kProfiles);
        QCOMPARE(state(list), QString(">Factory IP, *Studio Link, Phone Line | View factory"));
        list.listProfiles->setCurrentRow(2);
        QCOMPARE(state(list), QString("Factory IP, *Studio Link, >Phone Line | Edit Remove"));
        answerProfiles(profile(2, "Studio Link", "default") + profile(3, "Phone Line") + profile(1, "Factory IP", "factory"));
        QCOMPARE(state(list), QString("*Studio Link, >Phone Line, Factory IP | Edit Remove"));
        // When the current profile is gone, the first row takes over; global settings override the
        // profile's own parameters.
        answerProfiles("<m n=\"profile\"><i k=\"id\">4</i><s k=\"name\">Old</s>"
                       "<m n=\"settings\"><s k=\"name\">Renamed</s><b k=\"default\">true</b></m></m>"
                       + profile(1, "Factory IP", "factory"));
        QCOMPARE(state(list), QString(">*Renamed, Factory IP | Edit Remove"));
    }

    // Each request acts on the current profile; a new one is selected once its list arrives.
    void requestsForTheCurrentProfile()
    {
        ProfileList list;
        answerProfiles(kProfiles);
        list.listProfiles->setCurrentRow(1);
        QSignalSpy edit(&list, &ProfileList::editProfile);
        RequestLog log;
        list.buttonCopy->click();
        QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"copyProfile\"><i k=\"id\">2</i>"
                                                   "<s k=\"name\">Copy of Studio Link</s></m>"));
        list.buttonDefault->click();
        QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"setProfile\"><i k=\"id\">2</i><b k=\"default\">true</b></m>"));
        list.buttonEdit->click();
        list.listProfiles->setCurrentRow(0);
        list.buttonEdit->click();
        QCOMPARE(QList<QVariantList>(edit), (QList<QVariantList>{{2, false}, {1, true}}));

        list.buttonNew->click();
        QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"addProfile\"><s k=\"name\">New Profile</s>"
                                                   "<s k=\"channel\">rtp_udp_mux</s></m>"));
        QCOMPARE(log.requests().size(), std::size_t(3));
        cachefeeder::answer("addProfile", "<m n=\"addProfile\"><i k=\"id\">9</i></m>");
        answerProfiles(kProfiles + profile(9, "New Profile"));
        QCOMPARE(list.listProfiles->currentItem()->text(), QString("New Profile"));
    }

    void removalQuestion_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("refillWhileAsking");
        QTest::newRow("yes") << int(QMessageBox::Yes) << false;
        QTest::newRow("no") << int(QMessageBox::No) << false;
        // The profile asked about is the one deleted, even when a new list took its row meanwhile.
        QTest::newRow("yes after the list changed") << int(QMessageBox::Yes) << true;
    }

    void removalQuestion()
    {
        QFETCH(int, answer);
        QFETCH(bool, refillWhileAsking);

        ProfileList list;
        answerProfiles(kProfiles);
        list.listProfiles->setCurrentRow(1);
        QSignalSpy modal(&list, &ProfileList::changeModal);
        RequestLog log;
        QString question;
        answerNextQuestion(&list, QMessageBox::StandardButton(answer), [&](QMessageBox& box) {
            question = box.text() + QString(" modal=%1").arg(modal.count());
            if (refillWhileAsking)
                answerProfiles(profile(3, "Phone Line"));
        });
        list.buttonRemove->click();

        QCOMPARE(question, QString("This will delete the '*Studio Link' profile.\n\nDo you wish to continue? modal=1"));
        QCOMPARE(QList<QVariantList>(modal), (QList<QVariantList>{{true}, {false}}));
        QCOMPARE(log.lastTree(), answer == QMessageBox::Yes ? cachefeeder::tree("<m n=\"deleteProfile\"><i k=\"id\">2</i></m>")
                                                            : "");
    }
};

QTEST_MAIN(TestProfileList)
#include "test_profilelist.moc"
