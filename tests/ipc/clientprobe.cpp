#include "clientprobe.h"

#include <QMutexLocker>

#include <algorithm>

SignalLog::SignalLog(IPCClient& client)
{
    const QMetaObject* meta = client.metaObject();
    for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        if (method.methodType() != QMetaMethod::Signal)
            continue;
        const QByteArray signal = '2' + method.methodSignature();
        m_spies.push_back({method, std::make_unique<QSignalSpy>(&client, signal.constData())});
    }
}

QStringList SignalLog::fired() const
{
    QStringList names;
    for (const Watched& signal : m_spies)
        for (int i = 0; i < signal.spy->count(); ++i)
            names << QString::fromLatin1(signal.method.name());
    return names;
}

QVariant SignalLog::argument(const QString& name, const QByteArray& parameter)
{
    const auto signal = std::find_if(m_spies.begin(), m_spies.end(),
                                     [&](const Watched& watched) { return watched.method.name() == name.toLatin1(); });
    if (signal == m_spies.end())
        qFatal("no signal %s", qPrintable(name));
    const int index = signal->method.parameterNames().indexOf(parameter);
    return index < 0 || signal->spy->isEmpty() ? QVariant() : signal->spy->first().at(index);
}

void feedAnswer(IPCClient& client, const Message& msg)
{
    QMutexLocker lock(client.mutex());
    client.process_response(msg);
}

void feedUnso(IPCClient& client, const std::string& id, const Message& msg)
{
    QMutexLocker lock(client.mutex());
    client.process_unso_id(id, msg);
}

Message answer(const std::string& seq, const char* params)
{
    Message msg(seq, Params(params));
    msg.params().set_string("seq", seq);
    return msg;
}

Message cached(IPCClient& client, const std::string& name)
{
    Message copy("<none>");
    client.copyResponse(name, copy);
    return copy;
}
