#ifndef CLIENTPROBE_H
#define CLIENTPROBE_H

#include "ipcclient.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QStringList>

#include <memory>
#include <vector>

// Test helpers shared by the IPC client suites.

// A spy on every signal of one client.
class SignalLog {
public:
    explicit SignalLog(IPCClient& client);

    // Signal names, once per emission, in declaration order.
    QStringList fired() const;
    // The named parameter of the signal's first emission; invalid when it has no such parameter.
    QVariant argument(const QString& name, const QByteArray& parameter);

private:
    struct Watched {
        QMetaMethod method;
        std::unique_ptr<QSignalSpy> spy;
    };

    std::vector<Watched> m_spies;
};

// The library's side of the client: every call with the manager's lock held, as its loop does.
void feedAnswer(IPCClient& client, const Message& msg);
void feedUnso(IPCClient& client, const std::string& id, const Message& msg);

// An answer as the backend sends it: named after, and carrying, its "seq".
Message answer(const std::string& seq, const char* params = "");
// A copy of the cache entry, or an empty message named "<none>".
Message cached(IPCClient& client, const std::string& name);

#endif
