#ifndef CLIENTPROBE_H
#define CLIENTPROBE_H

#include "ipcclient.h"

#include <QMetaMethod>
#include <QMutexLocker>
#include <QSignalSpy>
#include <QStringList>

#include <memory>
#include <vector>

// Test helpers shared by the IPC client suites.

// A spy on every signal of one client.
class SignalLog {
public:
    explicit SignalLog(IPCClient& client)
    {
        const QMetaObject* meta = client.metaObject();
        for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
            const QMetaMethod method = meta->method(i);
            if (method.methodType() == QMetaMethod::Signal)
                m_spies.push_back({method, std::make_unique<QSignalSpy>(&client, ('2' + method.methodSignature()).constData())});
        }
    }

    // Signal names, once per emission, in declaration order.
    QStringList fired() const
    {
        QStringList names;
        for (const Watched& signal : m_spies)
            for (int i = 0; i < signal.spy->count(); ++i)
                names << QString::fromLatin1(signal.method.name());
        return names;
    }
    // Whether every emission so far carried `msg` where the signal has a "msg" parameter, and `id`
    // where it has an "id".
    bool carried(const Message& msg, const QString& id) const
    {
        for (const Watched& signal : m_spies) {
            const int msgAt = signal.method.parameterNames().indexOf("msg");
            const int idAt = signal.method.parameterNames().indexOf("id");
            for (const QList<QVariant>& arguments : *signal.spy)
                if ((msgAt >= 0 && !(qvariant_cast<Message>(arguments.at(msgAt)) == msg))
                    || (idAt >= 0 && arguments.at(idAt).toString() != id))
                    return false;
        }
        return true;
    }

private:
    struct Watched {
        QMetaMethod method;
        std::unique_ptr<QSignalSpy> spy;
    };

    std::vector<Watched> m_spies;
};

// The library's side of the client: every call with the manager's lock held, as its loop does.
inline void feedAnswer(IPCClient& client, const Message& msg)
{
    QMutexLocker lock(client.mutex());
    client.process_response(msg);
}
inline void feedUnso(IPCClient& client, const std::string& id, const Message& msg)
{
    QMutexLocker lock(client.mutex());
    client.process_unso_id(id, msg);
}

// An answer as the backend sends it: named after, and carrying, its "seq".
inline Message answer(const std::string& seq, const char* params = "")
{
    Message msg(seq, Params(params));
    msg.params().set_string("seq", seq);
    return msg;
}
// A copy of the cache entry, or an empty message named "<none>".
inline Message cached(IPCClient& client, const std::string& name)
{
    Message copy("<none>");
    client.copyResponse(name, copy);
    return copy;
}

#endif
