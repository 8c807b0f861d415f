#include "clientprobe.h"

#include <QMutexLocker>

LogCapture::LogCapture(LOG_LEVEL threshold)
    : m_previousLevel(g_log.log_level())
{
    g_log.set_log_level(threshold);
    m_previousSink = g_log.set_sink([this](unsigned int, LOG_LEVEL level, const std::string& line) {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_lines << QString::number(level) + ' ' + QString::fromStdString(line);
    });
}

LogCapture::~LogCapture()
{
    g_log.set_sink(m_previousSink);
    g_log.set_log_level(m_previousLevel);
}

QStringList LogCapture::lines() const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_lines;
}

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

QSignalSpy& SignalLog::spy(const QString& name)
{
    return *watched(name).spy;
}

QVariant SignalLog::argument(const QString& name, const QByteArray& parameter)
{
    Watched& signal = watched(name);
    const int index = signal.method.parameterNames().indexOf(parameter);
    if (index < 0 || signal.spy->isEmpty())
        return QVariant();
    return signal.spy->first().at(index);
}

SignalLog::Watched& SignalLog::watched(const QString& name)
{
    for (Watched& signal : m_spies)
        if (signal.method.name() == name.toLatin1())
            return signal;
    qFatal("no signal %s", qPrintable(name));
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

void feedLogin(IPCClient& client)
{
    QMutexLocker lock(client.mutex());
    client.logged_in();
}

void feedConnectionChange(IPCClient& client)
{
    QMutexLocker lock(client.mutex());
    client.connection_changed();
}

Message answer(const std::string& seq, const char* params)
{
    Message msg(seq, Params(params));
    msg.params().set_string("seq", seq);
    return msg;
}

Message cached(IPCClient& client, const std::string& name)
{
    QMutexLocker lock(client.mutex());
    const Message* entry = client.getResponse(name);
    return entry ? *entry : Message("<none>");
}
