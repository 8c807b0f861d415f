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
    void versionFromCache_data();
    void versionFromCache();
    void licenseReadAtEveryShowing();
    void upDownScrollOnlyTheLegalTab_data();
    void upDownScrollOnlyTheLegalTab();
    void leftRightSwitchTabs();

private:
    void writeLicense(const QString &text);
    QString licensePath() const { return m_dir.filePath(QStringLiteral("license.txt")); }

    QTemporaryDir m_dir;
};

void TestAboutWidget::writeLicense(const QString &text)
{
    QFile file(licensePath());
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text.toUtf8());
}

void TestAboutWidget::versionFromCache_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("shown");

    QTest::newRow("both") << "version=4.2.1-rc1 node_id=00:1d:c1:02:3a:7f" << "4.2.1-rc1 00:1d:c1:02:3a:7f";
    QTest::newRow("no node id") << "version=4.2.1" << "4.2.1 ";
}

void TestAboutWidget::versionFromCache()
{
    QFETCH(QString, answer);
    QFETCH(QString, shown);

    AboutWidget about(nullptr, licensePath());
    const QByteArray latest = answer.toLatin1();
    // The labels must not keep what an earlier answer said.
    for (const char* text : {"version=previous node_id=previous", latest.constData()}) {
        Message version("version", Params(text));
        version.params().set_string("seq", "version");
        QMutexLocker lock(g_ipcClient.mutex());
        g_ipcClient.process_response(version);
    }
    QCOMPARE(about.labelVersion->text() + " " + about.labelNodeID->text(), shown);
}

void TestAboutWidget::licenseReadAtEveryShowing()
{
    writeLicense(QStringLiteral("First notice\n  indented line"));
    AboutWidget about(nullptr, licensePath());
    QCOMPARE(about.browserLicense->toPlainText(), QStringLiteral("First notice\n  indented line"));

    writeLicense(QStringLiteral("<p>Second <b>notice</b></p>"));
    about.paneAboutToShow();
    QCOMPARE(about.browserLicense->toPlainText(), QStringLiteral("Second notice"));

    // A missing file leaves the tab empty.
    QVERIFY(QFile::remove(licensePath()));
    about.paneAboutToShow();
    QVERIFY(about.browserLicense->toPlainText().isEmpty());
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
}

void TestAboutWidget::upDownScrollOnlyTheLegalTab()
{
    QFETCH(int, tab);
    QFETCH(int, key);
    QFETCH(bool, pressed);
    QFETCH(int, scrolled);

    writeLicense(QStringLiteral("Notice line\n").repeated(300));
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

void TestAboutWidget::leftRightSwitchTabs()
{
    AboutWidget about(nullptr, licensePath());
    about.show();
    QVERIFY(QTest::qWaitForWindowActive(&about));
    about.paneAboutToShow();
    for (const auto& [key, tab] : {std::pair{Qt::Key_Right, 1}, std::pair{Qt::Key_Left, 0}}) {
        about.handleKey(key, true, false);
        about.handleKey(key, false, false);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(about.tabWidget->currentIndex(), tab);
    }
}

QTEST_MAIN(TestAboutWidget)
#include "test_aboutwidget.moc"
