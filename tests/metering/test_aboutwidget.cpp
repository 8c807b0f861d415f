#include "aboutwidget.h"
#include "cachefeeder.h"
#include "platformkey.h"
#include "screentest.h"

#include <QFile>
#include <QScrollBar>
#include <QTemporaryDir>

using namespace cachefeeder;

class TestAboutWidget : public QObject {
    Q_OBJECT

    void writeLicense(const QString& text)
    {
        QFile file(m_dir.filePath("license.txt"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text.toUtf8());
    }

    QTemporaryDir m_dir;
    std::unique_ptr<AboutWidget> m_about;

private slots:
    void init()
    {
        writeLicense(QStringLiteral("Notice line\n").repeated(300));
        m_about = std::make_unique<AboutWidget>(nullptr, m_dir.filePath("license.txt"));
        QVERIFY(showActive(m_about.get()));
    }

    // The labels must not keep what an earlier answer said; the notices are read at every showing.
    void versionAndLicense()
    {
        const auto labels = [this] { return m_about->labelVersion->text() + "|" + m_about->labelNodeID->text(); };
        answer("version", Message("version", Params("version=4.2.1-rc1 node_id=00:1d:c1")));
        QCOMPARE(labels(), QString("4.2.1-rc1|00:1d:c1"));
        answer("version", Message("version", Params("version=4.2.1")));
        QCOMPARE(labels(), QString("4.2.1|"));

        QCOMPARE(m_about->browserLicense->toPlainText().left(23), QString("Notice line\nNotice line"));
        writeLicense(QStringLiteral("<p>Second <b>notice</b></p>"));
        m_about->tabWidget->setTabText(1, "Renamed");
        m_about->paneAboutToShow();
        QCOMPARE(m_about->browserLicense->toPlainText() + "|" + m_about->tabWidget->tabText(1), QString("Second notice|Legal"));
        // A missing file leaves the tab empty.
        QVERIFY(QFile::remove(m_dir.filePath("license.txt")));
        m_about->paneAboutToShow();
        QVERIFY(m_about->browserLicense->toPlainText().isEmpty());
    }

    // Each key pressed and released from the middle of the notices: the tab shown | the key | how
    // far they scrolled, the tab then.
    void keys_data()
    {
        rows(R"(
          down on legal   | 1 | Down  | 1 1
          up on legal     | 1 | Up    | -1 1
          down on version | 0 | Down  | 0 0
          right           | 0 | Right | 0 1
          left            | 1 | Left  | 0 0)");
    }

    void keys()
    {
        const auto [tab, key, after] = cells<3>();
        m_about->tabWidget->setCurrentIndex(1);
        QScrollBar* bar = m_about->browserLicense->verticalScrollBar();
        bar->setValue(bar->maximum() / 2);
        m_about->tabWidget->setCurrentIndex(tab.toInt());
        const int start = bar->value();
        QVERIFY(start > 0);
        pressOn(*m_about, "browserLicense", key);
        QCOMPARE(QStringLiteral("%1 %2").arg((bar->value() > start) - (bar->value() < start)).arg(m_about->tabWidget->currentIndex()),
                 after);
    }
};

QTEST_MAIN(TestAboutWidget)
#include "test_aboutwidget.moc"
