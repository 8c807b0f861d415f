#include "aboutwidget.h"
#include "ipcinstances.h"

#include <QFile>
#include <QMutexLocker>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QtTest>

class TestAboutWidget : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    // Runs first: nothing is cached yet.
    void noAnswerKeepsPlaceholders();
    void versionFromCache_data();
    void versionFromCache();
    void missingLicenseLeavesTabEmpty();
    void licenseReloadedAtEveryShowing();
    void showingFocusesTabs();
    void leftRightSwitchTabs();
    void upDownScrollOnlyTheLegalTab_data();
    void upDownScrollOnlyTheLegalTab();

private:
    void writeLicense(const QString &text);
    QString licensePath() const { return m_dir.filePath(QStringLiteral("license.txt")); }
    static void answerVersion(const Params &params);

    QTemporaryDir m_dir;
};

void TestAboutWidget::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

void TestAboutWidget::writeLicense(const QString &text)
{
    QFile file(licensePath());
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text.toUtf8());
}

void TestAboutWidget::answerVersion(const Params &params)
{
    Message answer("version", params);
    answer.params().set_string("seq", "version");
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(answer);
}

void TestAboutWidget::noAnswerKeepsPlaceholders()
{
    {
        QMutexLocker lock(g_ipcClient.mutex());
        QVERIFY(!g_ipcClient.getResponse("version"));
    }
    AboutWidget about(nullptr, licensePath());
    emit g_ipcClient.recvVersion();
    QCOMPARE(about.labelVersion->text(), QStringLiteral("version"));
    QCOMPARE(about.labelNodeID->text(), QStringLiteral("node_id"));
}

void TestAboutWidget::versionFromCache_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("nodeId");

    QTest::newRow("both") << "version=4.2.1-rc1 node_id=00:1d:c1:02:3a:7f" << "4.2.1-rc1"
                          << "00:1d:c1:02:3a:7f";
    QTest::newRow("no node id") << "version=4.2.1" << "4.2.1" << "";
    QTest::newRow("empty answer") << "" << "" << "";
}

void TestAboutWidget::versionFromCache()
{
    QFETCH(QString, answer);
    QFETCH(QString, version);
    QFETCH(QString, nodeId);

    AboutWidget about(nullptr, licensePath());
    answerVersion(Params("version=previous node_id=previous"));
    answerVersion(Params(answer.toLatin1().constData()));
    QCOMPARE(about.labelVersion->text(), version);
    QCOMPARE(about.labelNodeID->text(), nodeId);
}

void TestAboutWidget::missingLicenseLeavesTabEmpty()
{
    AboutWidget absent(nullptr, m_dir.filePath(QStringLiteral("absent.txt")));
    absent.paneAboutToShow();
    QVERIFY(absent.browserLicense->toPlainText().isEmpty());
    QCOMPARE(absent.tabWidget->tabText(1), QStringLiteral("Legal"));

    writeLicense(QStringLiteral("Notice"));
    AboutWidget removed(nullptr, licensePath());
    QVERIFY(QFile::remove(licensePath()));
    removed.paneAboutToShow();
    QVERIFY(removed.browserLicense->toPlainText().isEmpty());
}

void TestAboutWidget::licenseReloadedAtEveryShowing()
{
    writeLicense(QStringLiteral("First notice\n  indented line"));
    AboutWidget about(nullptr, licensePath());
    QCOMPARE(about.browserLicense->toPlainText(), QStringLiteral("First notice\n  indented line"));

    writeLicense(QStringLiteral("<p>Second <b>notice</b></p>"));
    about.tabWidget->setTabText(1, QStringLiteral("changed"));
    about.paneAboutToShow();
    QCOMPARE(about.browserLicense->toPlainText(), QStringLiteral("Second notice"));
    QCOMPARE(about.tabWidget->tabText(1), QStringLiteral("Legal"));
}

void TestAboutWidget::showingFocusesTabs()
{
    AboutWidget about(nullptr, licensePath());
    about.show();
    QVERIFY(QTest::qWaitForWindowActive(&about));
    about.browserLicense->setFocusPolicy(Qt::StrongFocus);
    about.browserLicense->setFocus();
    about.paneAboutToShow();
    QVERIFY(about.tabWidget->hasFocus());
}

void TestAboutWidget::leftRightSwitchTabs()
{
    AboutWidget about(nullptr, licensePath());
    about.show();
    QVERIFY(QTest::qWaitForWindowActive(&about));
    QCOMPARE(about.tabWidget->currentIndex(), 0);
    // The keys must reach the tabs even when something else holds the focus.
    about.browserLicense->setFocusPolicy(Qt::StrongFocus);
    about.browserLicense->setFocus();

    about.handleKey(Qt::Key_Right, true, false);
    about.handleKey(Qt::Key_Right, false, false);
    QTRY_COMPARE(about.tabWidget->currentIndex(), 1);

    about.handleKey(Qt::Key_Left, true, false);
    about.handleKey(Qt::Key_Left, false, false);
    QTRY_COMPARE(about.tabWidget->currentIndex(), 0);
}

void TestAboutWidget::upDownScrollOnlyTheLegalTab_data()
{
    QTest::addColumn<int>("tab");
    QTest::addColumn<int>("key");
    QTest::addColumn<bool>("pressed");
    QTest::addColumn<int>("scrolled");

    QTest::newRow("down on legal") << 1 << int(Qt::Key_Down) << true << 1;
    QTest::newRow("up on legal") << 1 << int(Qt::Key_Up) << true << -1;
    QTest::newRow("release on legal") << 1 << int(Qt::Key_Down) << false << 0;
    QTest::newRow("down on version") << 0 << int(Qt::Key_Down) << true << 0;
    QTest::newRow("enter on legal") << 1 << int(Qt::Key_Return) << true << 0;
    QTest::newRow("page down on legal") << 1 << int(Qt::Key_PageDown) << true << 0;
}

void TestAboutWidget::upDownScrollOnlyTheLegalTab()
{
    QFETCH(int, tab);
    QFETCH(int, key);
    QFETCH(bool, pressed);
    QFETCH(int, scrolled);

    QStringList lines;
    for (int line = 1; line <= 300; ++line)
        lines << QStringLiteral("Notice line %1").arg(line);
    writeLicense(lines.join(QLatin1Char('\n')));

    AboutWidget about(nullptr, licensePath());
    about.show();
    QVERIFY(QTest::qWaitForWindowExposed(&about));
    about.tabWidget->setCurrentIndex(1);
    QScrollBar *bar = about.browserLicense->verticalScrollBar();
    QVERIFY(bar->maximum() > 0);
    bar->setValue(bar->maximum() / 2);
    about.tabWidget->setCurrentIndex(tab);
    const int start = bar->value();

    about.handleKey(key, pressed, false);
    QCoreApplication::sendPostedEvents();
    const int moved = bar->value() - start;
    QCOMPARE(moved > 0 ? 1 : moved < 0 ? -1 : 0, scrolled);
}

QTEST_MAIN(TestAboutWidget)
#include "test_aboutwidget.moc"
