#ifndef SHELLFIXTURE_H
#define SHELLFIXTURE_H

#include "ipcinstances.h"
#include "keypadhandler.h"
#include "mainwindow.h"

#include <QtTest>
#include <QtWidgets>

#include <memory>

// A whole main window, ready as if the backend had logged in, with every request it sends kept.
class ShellFixture {
public:
    ShellFixture()
    {
        // The link start one second in must find no backend, whatever runs on this machine.
        qputenv("LIBIPC_LOCAL_ADDR", QByteArray("/orvane-shell-test-") + QByteArray::number(qApp->applicationPid()));
        QFile(m_dir.filePath("pointercal")).open(QIODevice::WriteOnly);
        window = std::make_unique<MainWindow>();
        window->setCaptureDirectory(m_dir.path());
        window->setPointerCalibrationFile(m_dir.filePath("pointercal"));
        g_ipcClient.setRequestTap([this](const Message& msg) { sent.push_back(msg); });
    }
    ~ShellFixture() { g_ipcClient.setRequestTap(nullptr); }

    void setState(IPCClient::IPC_STATE state, bool defPwd = false) { emit g_ipcClient.changedState(state, defPwd); }
    QString dir() const { return m_dir.path(); }
    // The requests sent, as "name key=value ...".
    QStringList requests() const
    {
        QStringList lines;
        for (const Message& msg : sent)
            lines << QString::fromStdString(msg.dump_text()).trimmed();
        return lines;
    }

    std::unique_ptr<MainWindow> window;
    std::vector<Message> sent;

private:
    QTemporaryDir m_dir;
};

// The operator's choice of F2 behaviour, as made on the user-interface settings screen.
inline void chooseF2Mode(MainWindow& window, int mode)
{
    QComboBox* modes = window.pane().keypadSetup().comboF2KeyMode;
    modes->setCurrentIndex(modes->findData(mode));
}

#endif
