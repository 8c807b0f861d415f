// Resident memory of the whole program around the web browser, against the simulated unit: with
// the browser never shown, while it shows a page served on the loopback address, and after it
// has been left again (its page must be gone). Then a few more showings, to see whether each
// one leaves something behind. Prints the figures; run it with the offscreen platform.
#include "localwebserver.h"
#include "shellsession.h"
#include "webbrowser.h"

#include <QApplication>
#include <QFile>
#include <QWebPage>
#include <QtTest>

#include <cstdio>

namespace {

constexpr int kSettleMs = 1000;
constexpr int kRounds = 10;

// Resident memory in KiB: all of it, the heap and other private pages, and pages of mapped files
// (mostly the code of the libraries, which the engine's first use pages in for good).
struct Resident {
    long total = -1;
    long anonymous = -1;
    long files = -1;
};

Resident resident()
{
    Resident r;
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return r;
    for (const QByteArray& line : status.readAll().split('\n')) {
        const long kib = line.mid(line.indexOf(':') + 1).trimmed().split(' ').value(0).toLong();
        if (line.startsWith("VmRSS:"))
            r.total = kib;
        else if (line.startsWith("RssAnon:"))
            r.anonymous = kib;
        else if (line.startsWith("RssFile:"))
            r.files = kib;
    }
    return r;
}

void report(const QByteArray& what, const Resident& r)
{
    std::printf("%-36s %8ld KiB resident (%6.1f MiB): %8ld KiB private, %8ld KiB of files\n", what.constData(),
                r.total, r.total / 1024.0, r.anonymous, r.files);
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    LocalWebServer portal;
    ShellSession shell;
    if (!portal.start() || !shell.start({QStringLiteral("--stats-rate"), QStringLiteral("0")})) {
        std::fprintf(stderr, "bench_browser_memory: no web server or no simulated unit\n");
        return 1;
    }
    Pane& pane = shell.window().pane();
    WebBrowser& browser = *shell.screen<WebBrowser>(Pane::ScreenBrowser);
    browser.browserHomeChanged(portal.url(QStringLiteral("/")).toString());

    QTest::qWait(kSettleMs);
    const Resident neverShown = resident();

    auto showPage = [&] {
        pane.showScreen(Pane::ScreenBrowser);
        return QTest::qWaitFor([&] { return browser.buttonReload->isEnabled(); }, ShellSession::kCommandMs);
    };
    auto leave = [&] {
        pane.showScreen(Pane::ScreenPeerList);
        QTest::qWait(kSettleMs);
        return browser.webView->findChild<QWebPage*>() == nullptr;
    };

    if (!showPage()) {
        std::fprintf(stderr, "bench_browser_memory: the local page did not load\n");
        return 1;
    }
    QTest::qWait(kSettleMs);
    const Resident showing = resident();
    const bool pageGone = leave();
    const Resident left = resident();

    for (int round = 0; round < kRounds; ++round) {
        if (!showPage() || !leave()) {
            std::fprintf(stderr, "bench_browser_memory: round %d failed\n", round);
            return 1;
        }
    }
    const Resident afterRounds = resident();

    report("browser never shown", neverShown);
    report("browser showing a local page", showing);
    report(pageGone ? "browser left, page gone" : "browser left, PAGE STILL THERE", left);
    report(QByteArray::number(kRounds) + " more showings, each left", afterRounds);
    return pageGone ? 0 : 1;
}
