#include "cachefeeder.h"
#include "logcapture.h"
#include "modalwatch.h"
#include "profilelist.h"
#include "tunneltree.h"

#include <QtTest>

using cachefeeder::RequestLog;

namespace {
// The listed profiles by id: 1 the factory one, 2 the default one; 4 has another name outside its
// settings, which win.
const QMap<QString, Message> kProfiles{
    {"1", tunnelTree("profile id:i=1 name=\"Factory IP\" factory:b=true {settings name=\"Factory IP\"}")},
    {"2", tunnelTree("profile id:i=2 name=\"Studio Link\" default:b=true {settings name=\"Studio Link\"}")},
    {"3", tunnelTree("profile id:i=3 name=\"Phone Line\" {settings name=\"Phone Line\"}")},
    {"4", tunnelTree("profile id:i=4 name=Old {settings name=Renamed default:b=true}")},
    {"9", tunnelTree("profile id:i=9 name=\"New Profile\" {settings name=\"New Profile\"}")}};

// A "profileList" answer with the profiles of the ids given, in that order.
void answerProfiles(const QString& ids)
{
    Message list("profileList");
    for (const QString& id : ids.split(' ', Qt::SkipEmptyParts))
        list.add_child(kProfiles.value(id));
    cachefeeder::answer("profileList", list);
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
        answerProfiles("1 2 3");
        QCOMPARE(state(list), QString(">Factory IP, *Studio Link, Phone Line | View factory"));
        list.listProfiles->setCurrentRow(2);
        QCOMPARE(state(list), QString("Factory IP, *Studio Link, >Phone Line | Edit Remove"));
        answerProfiles("2 3 1");
        QCOMPARE(state(list), QString("*Studio Link, >Phone Line, Factory IP | Edit Remove"));
        // When the current profile is gone, the first row takes over.
        answerProfiles("4 1");
        QCOMPARE(state(list), QString(">*Renamed, Factory IP | Edit Remove"));
    }

    // Each request acts on the current profile; a new one is selected once its list arrives.
    void requestsForTheCurrentProfile()
    {
        ProfileList list;
        answerProfiles("1 2 3");
        list.listProfiles->setCurrentRow(1);
        QSignalSpy edit(&list, &ProfileList::editProfile);
        RequestLog log;
        list.buttonCopy->click();
        list.buttonDefault->click();
        list.buttonEdit->click();
        list.listProfiles->setCurrentRow(0);
        list.buttonEdit->click();
        QCOMPARE(QList<QVariantList>(edit), (QList<QVariantList>{{2, false}, {1, true}}));
        list.buttonNew->click();
        QCOMPARE(log.sent(), QString("copyProfile id=2 name=Copy of Studio Link; setProfile default=true id=2; "
                                         "addProfile channel=rtp_udp_mux name=New Profile"));
        cachefeeder::answer("addProfile", tunnelTree("addProfile id:i=9"));
        answerProfiles("1 2 3 9");
        QCOMPARE(list.listProfiles->currentItem()->text(), QString("New Profile"));
    }

    // The profile asked about is the one deleted, even when a new list took its row meanwhile.
    void removalQuestion_data()
    {
        cachefeeder::table({"sent"}, R"(
yes | deleteProfile id=2
no |
yes after the list changed | deleteProfile id=2
)");
    }

    void removalQuestion()
    {
        const QString sent = cachefeeder::cell("sent");
        ProfileList list;
        answerProfiles("1 2 3");
        list.listProfiles->setCurrentRow(1);
        QSignalSpy modal(&list, &ProfileList::changeModal);
        RequestLog log;
        QString question;
        answerNextQuestion(&list, sent.isEmpty() ? QMessageBox::No : QMessageBox::Yes, [&](QMessageBox& box) {
            question = box.text() + QString(" modal=%1").arg(modal.count());
            if (QString(QTest::currentDataTag()).contains("changed"))
                answerProfiles("3");
        });
        list.buttonRemove->click();

        QCOMPARE(question, QString("This will delete the '*Studio Link' profile.\n\nDo you wish to continue? modal=1"));
        QCOMPARE(QList<QVariantList>(modal), (QList<QVariantList>{{true}, {false}}));
        QCOMPARE(log.sent(), sent);
    }
};

QTEST_MAIN(TestProfileList)
#include "test_profilelist.moc"
