#include "cachefeeder.h"
#include "logger.h"
#include "platformkey.h"
#include "profilelist.h"

#include <QMessageBox>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

using cachefeeder::RequestLog;

namespace {

struct Profile {
    int id;
    const char* name;
    bool factory;
    bool isDefault;
};

std::string profileXml(const Profile& p)
{
    const std::string id = std::to_string(p.id);
    return "<m n=\"profile\"><i k=\"id\">" + id + "</i><s k=\"name\">" + p.name + "</s><b k=\"factory\">"
           + (p.factory ? "true" : "false") + "</b><b k=\"default\">" + (p.isDefault ? "true" : "false")
           + "</b><m n=\"settings\"><s k=\"name\">" + p.name + "</s><s k=\"channel\">rtp_udp_mux</s></m></m>";
}

void answerProfiles(const std::vector<Profile>& profiles)
{
    std::string xml = "<m n=\"profileList\">";
    for (const Profile& p : profiles)
        xml += profileXml(p);
    cachefeeder::answer("profileList", xml + "</m>");
}

const std::vector<Profile> kProfiles = {
    {1, "Factory IP", true, false},
    {2, "Studio Link", false, true},
    {3, "Phone Line", false, false},
};

QStringList rowTexts(const ProfileList& list)
{
    QStringList texts;
    for (int row = 0; row < list.listProfiles->count(); ++row)
        texts << list.listProfiles->item(row)->text();
    return texts;
}

QString currentText(const ProfileList& list)
{
    const QListWidgetItem* current = list.listProfiles->currentItem();
    return current ? current->text() : QString();
}

QImage iconImage(const QIcon& icon)
{
    return icon.pixmap(16, 16).toImage();
}

// Answers the removal question as soon as it is open, noting its text.
class QuestionAnswerer : public QObject {
public:
    QuestionAnswerer(QMessageBox::StandardButton answer, std::function<void()> whileOpen = nullptr)
        : m_answer(answer)
        , m_whileOpen(std::move(whileOpen))
    {
        QTimer::singleShot(0, this, [this] { answerWhenOpen(); });
    }

    QString text;
    QString title;
    QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;

private:
    void answerWhenOpen()
    {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) {
            QTimer::singleShot(10, this, [this] { answerWhenOpen(); });
            return;
        }
        text = box->text();
        title = box->windowTitle();
        defaultButton = box->standardButton(box->defaultButton());
        if (m_whileOpen)
            m_whileOpen();
        box->button(m_answer)->click();
    }

    QMessageBox::StandardButton m_answer;
    std::function<void()> m_whileOpen;
};

} // namespace

class TestProfileList : public QObject {
    Q_OBJECT

private slots:
    void rowsShowNamesDefaultMarkAndIcons();
    void factoryRowsAreViewOnly_data();
    void factoryRowsAreViewOnly();
    void refillKeepsTheCurrentProfile();
    void addedProfileIsSelectedOnceItsListArrives();
    void requestsForTheCurrentProfile();
    void removalQuestion_data();
    void removalQuestion();
    void emptyListDoesNothing();
    void keypad();
};

void TestProfileList::rowsShowNamesDefaultMarkAndIcons()
{
    ProfileList list;
    answerProfiles(kProfiles);
    QCOMPARE(rowTexts(list), (QStringList{"Factory IP", "*Studio Link", "Phone Line"}));
    QCOMPARE(currentText(list), QString("Factory IP"));

    const QImage factory = iconImage(QIcon(":/icons/factory.png"));
    const QImage blank = iconImage(QIcon(":/icons/blank_16x16.png"));
    QVERIFY(!factory.isNull());
    QVERIFY(factory != blank);
    QCOMPARE(iconImage(list.listProfiles->item(0)->icon()), factory);
    QCOMPARE(iconImage(list.listProfiles->item(1)->icon()), blank);
    QCOMPARE(iconImage(list.listProfiles->item(2)->icon()), blank);

    // A profile's global settings override its own parameters.
    cachefeeder::answer("profileList", "<m n=\"profileList\"><m n=\"profile\"><i k=\"id\">4</i><s k=\"name\">Old</s>"
                                       "<m n=\"settings\"><s k=\"name\">Renamed</s><b k=\"default\">true</b></m></m></m>");
    QCOMPARE(rowTexts(list), QStringList{"*Renamed"});
}

void TestProfileList::factoryRowsAreViewOnly_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("editText");
    QTest::addColumn<bool>("removable");
    QTest::newRow("factory") << 0 << "View" << false;
    QTest::newRow("default") << 1 << "Edit" << true;
    QTest::newRow("plain") << 2 << "Edit" << true;
}

void TestProfileList::factoryRowsAreViewOnly()
{
    QFETCH(int, row);
    QFETCH(QString, editText);
    QFETCH(bool, removable);

    ProfileList list;
    QVERIFY(showActive(&list));
    answerProfiles(kProfiles);
    // Coming from the other kind of row, so that every label is switched.
    list.listProfiles->setCurrentRow(row == 0 ? 2 : 0);
    list.listProfiles->setCurrentRow(row);
    QCOMPARE(list.buttonEdit->text(), editText);
    QCOMPARE(list.buttonRemove->isEnabled(), removable);
    QCOMPARE(list.labelFactory->isVisible(), !removable);
}

void TestProfileList::refillKeepsTheCurrentProfile()
{
    ProfileList list;
    answerProfiles(kProfiles);
    list.listProfiles->setCurrentRow(2);
    answerProfiles({kProfiles[2], kProfiles[1], kProfiles[0]});
    QCOMPARE(currentText(list), QString("Phone Line"));
    QCOMPARE(list.listProfiles->currentRow(), 0);

    // When the current profile is gone, the first row takes over.
    answerProfiles({kProfiles[1], kProfiles[0]});
    QCOMPARE(currentText(list), QString("*Studio Link"));
}

void TestProfileList::addedProfileIsSelectedOnceItsListArrives()
{
    ProfileList list;
    answerProfiles(kProfiles);
    list.listProfiles->setCurrentRow(1);

    RequestLog log;
    list.buttonNew->click();
    QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"addProfile\"><s k=\"name\">New Profile</s>"
                                               "<s k=\"channel\">rtp_udp_mux</s></m>"));

    cachefeeder::answer("addProfile", "<m n=\"addProfile\"><i k=\"id\">9</i></m>");
    std::vector<Profile> grown = kProfiles;
    grown.push_back({9, "New Profile", false, false});
    answerProfiles(grown);
    QCOMPARE(currentText(list), QString("New Profile"));

    // Later lists keep whatever the operator chose.
    list.listProfiles->setCurrentRow(0);
    answerProfiles(grown);
    QCOMPARE(currentText(list), QString("Factory IP"));
}

void TestProfileList::requestsForTheCurrentProfile()
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
    QCOMPARE(edit.count(), 2);
    QCOMPARE(edit.at(0), (QVariantList{2, false}));
    QCOMPARE(edit.at(1), (QVariantList{1, true}));
    QCOMPARE(log.requests().size(), std::size_t(2));
}

void TestProfileList::removalQuestion_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("refillWhileAsking");
    QTest::addColumn<bool>("deletes");
    QTest::newRow("yes") << int(QMessageBox::Yes) << false << true;
    QTest::newRow("no") << int(QMessageBox::No) << false << false;
    // The profile asked about is the one deleted, even when a new list took its row meanwhile.
    QTest::newRow("yes after the list changed") << int(QMessageBox::Yes) << true << true;
}

void TestProfileList::removalQuestion()
{
    QFETCH(int, answer);
    QFETCH(bool, refillWhileAsking);
    QFETCH(bool, deletes);

    ProfileList list;
    answerProfiles(kProfiles);
    list.listProfiles->setCurrentRow(1);
    QSignalSpy modal(&list, &ProfileList::changeModal);
    RequestLog log;

    QuestionAnswerer answerer(QMessageBox::StandardButton(answer), [&] {
        QCOMPARE(modal.count(), 1);
        if (refillWhileAsking)
            answerProfiles({kProfiles[2], kProfiles[0]});
    });
    list.buttonRemove->click();

    QCOMPARE(answerer.title, QString("Warning!"));
    QCOMPARE(answerer.text, QString("This will delete the '*Studio Link' profile.\n\nDo you wish to continue?"));
    QCOMPARE(answerer.defaultButton, QMessageBox::No);
    QCOMPARE(modal.count(), 2);
    QCOMPARE(modal.at(0).at(0).toBool(), true);
    QCOMPARE(modal.at(1).at(0).toBool(), false);
    if (deletes) {
        QCOMPARE(log.requests().size(), std::size_t(1));
        QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"deleteProfile\"><i k=\"id\">2</i></m>"));
    } else {
        QVERIFY(log.requests().empty());
    }
}

void TestProfileList::emptyListDoesNothing()
{
    ProfileList list;
    answerProfiles({});
    QCOMPARE(list.listProfiles->count(), 0);
    QVERIFY(!list.listProfiles->currentItem());

    std::vector<std::string> lines;
    const Logger::Sink previous = g_log.set_sink(
        [&lines](unsigned int, LOG_LEVEL, const std::string& line) { lines.push_back(line); });
    QSignalSpy edit(&list, &ProfileList::editProfile);
    QSignalSpy modal(&list, &ProfileList::changeModal);
    RequestLog log;
    // Remove starts disabled; enable it to prove that it would not act either.
    list.buttonRemove->setEnabled(true);
    for (QPushButton* button : {list.buttonEdit, list.buttonCopy, list.buttonDefault, list.buttonRemove})
        button->click();
    g_log.set_sink(previous);

    QVERIFY(edit.isEmpty());
    QVERIFY(modal.isEmpty());
    QVERIFY(log.requests().empty());
    QCOMPARE(lines.size(), std::size_t(1));
    QVERIFY(QString::fromStdString(lines.front()).contains("profile list, item is null"));
}

void TestProfileList::keypad()
{
    ProfileList list;
    QVERIFY(showActive(&list));
    answerProfiles(kProfiles);
    list.paneAboutToShow();
    QVERIFY(list.buttonEdit->hasFocus());
    const auto type = [&list](int key) {
        list.handleKey(key, true, false);
        list.handleKey(key, false, false);
        QCoreApplication::sendPostedEvents();
    };

    type(Qt::Key_Down);
    type(Qt::Key_Down);
    QCOMPARE(list.listProfiles->currentRow(), 2);
    type(Qt::Key_Up);
    QCOMPARE(list.listProfiles->currentRow(), 1);
    // The selection moves without taking the focus from the buttons.
    QVERIFY(list.buttonEdit->hasFocus());

    type(Qt::Key_Right);
    QVERIFY(list.buttonNew->hasFocus());
    type(Qt::Key_Left);
    QVERIFY(list.buttonEdit->hasFocus());

    QSignalSpy edit(&list, &ProfileList::editProfile);
    type(Qt::Key_Enter);
    QCOMPARE(edit.count(), 1);
    QCOMPARE(edit.at(0), (QVariantList{2, false}));
}

QTEST_MAIN(TestProfileList)
#include "test_profilelist.moc"
