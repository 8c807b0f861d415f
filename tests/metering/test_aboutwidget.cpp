#include "aboutwidget.h"
#include "ipcinstances.h"
#include "platformkey.h"

#include <QFile>
#include <QMutexLocker>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QtTest>

class TestAboutWidget : public QObject {
    Q_OBJECT

    void writeLicense(const QString& text)
    {
        QFile file(m_dir.filePath("license.txt"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text.toUtf8());
    }

    QTemporaryDir m_dir;
    AboutWidget* m_about = nullptr;

private slots:
    void init()
    {
        writeLicense(QStringLiteral("Notice line\n").repeated(300));
        m_about = new AboutWidget(nullptr, m_dir.filePath("license.txt"));
        QVERIFY(showActive(m_about));
    }
    void cleanup() { delete m_about; }

    // The labels must not keep what an earlier answer said.
    void versionFromCache()
    {
        for (const char* text : {"version=previous node_id=previous", "version=4.2.1-rc1 node_id=00:1d:c1", "version=4.2.1"}) {
            Message version("version", Params(text));
            version.params().set_string("seq", "version");
            QMutexLocker lock(g_ipcClient.mutex());
            g_ipcClient.process_response(version);
            if (version.params().has_param("node_id"))
                QCOMPARE(m_about->labelNodeID->text(), QString::fromStdString(version.params().get_string("node_id", "")));
        }
        QCOMPARE(m_about->labelVersion->text() + "|" + m_about->labelNodeID->text(), QString("4.2.1|"));
    }

    void licenseReadAtEveryShowing()
    {
        QCOMPARE(m_about->browserLicense->toPlainText().left(23), QString("Notice line\nNotice line"));
        writeLicense(QStringLiteral("<p>Second <b>notice</b></p>"));
        m_about->tabWidget->setTabText(1, "Renamed");
        m_about->paneAboutToShow();
        QCOMPARE(m_about->browserLicense->toPlainText(), QStringLiteral("Second notice"));
        QCOMPARE(m_about->tabWidget->tabText(1), QString("Legal"));
        // A missing file leaves the tab empty.
        QVERIFY(QFile::remove(m_dir.filePath("license.txt")));
        m_about->paneAboutToShow();
        QVERIFY(m_about->browserLicense->toPlainText().isEmpty());
    }

    void keysScrollTheLegalTabAndSwitchTabs_data()
    {
        QTest::addColumn<int>("tab");
        QTest::addColumn<int>("key");
        QTest::addColumn<bool>("pressed");
        QTest::addColumn<int>("scrolled");
        QTest::addColumn<int>("tabAfter");

        QTest::newRow("down on legal") << 1 << int(Qt::Key_Down) << true << 1 << 1;
        QTest::newRow("up on legal") << 1 << int(Qt::Key_Up) << true << -1 << 1;
        QTest::newRow("release on legal") << 1 << int(Qt::Key_Down) << false << 0 << 1;
        QTest::newRow("down on version") << 0 << int(Qt::Key_Down) << true << 0 << 0;
        QTest::newRow("right") << 0 << int(Qt::Key_Right) << true << 0 << 1;
        QTest::newRow("left") << 1 << int(Qt::Key_Left) << true << 0 << 0;
    }

    void keysScrollTheLegalTabAndSwitchTabs()
    {
        QFETCH(int, tab);
        QFETCH(int, key);
        QFETCH(bool, pressed);
        m_about->tabWidget->setCurrentIndex(1);
        QScrollBar* bar = m_about->browserLicense->verticalScrollBar();
        QVERIFY(bar->maximum() > 0);
        bar->setValue(bar->maximum() / 2);
        m_about->tabWidget->setCurrentIndex(tab);
        m_about->browserLicense->setFocus();
        const int start = bar->value();

        m_about->handleKey(key, pressed, false);
        m_about->handleKey(key, false, false);
        QCoreApplication::sendPostedEvents();
        QTEST(bar->value() > start ? 1 : bar->value() < start ? -1 : 0, "scrolled");
        QTEST(m_about->tabWidget->currentIndex(), "tabAfter");
    }
};

QTEST_MAIN(TestAboutWidget)
#include "test_aboutwidget.moc"
