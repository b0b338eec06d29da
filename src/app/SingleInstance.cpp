#include "SingleInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <limits>

namespace {

const QString interfaceName = QStringLiteral("dev.orlen.tavik.Application");

} // namespace

SingleInstance::SingleInstance(QObject* parent)
    : QObject(parent) {}

bool SingleInstance::claim() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return true;
    if (!bus.registerService(serviceName))
        return false;
    bus.registerObject(objectPath, this,
                       QDBusConnection::ExportScriptableSlots |
                           QDBusConnection::ExportScriptableSignals);
    return true;
}

bool SingleInstance::forward(const QStringList& arguments) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName,
                                                       QStringLiteral("HandleArguments"));
    call << arguments;
    const QDBusMessage reply = bus.call(call, QDBus::Block, 5000);
    return reply.type() == QDBusMessage::ReplyMessage;
}

void SingleInstance::HandleArguments(const QStringList& arguments) {
    emit argumentsReceived(arguments);
}

int SingleInstance::requestSync(const std::function<void(const QString&)>& onProgress,
                                QString* line) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return -1;
    SingleInstance listener;
    connect(&listener, &SingleInstance::syncProgressReceived, &listener, onProgress);
    bus.connect(serviceName, objectPath, interfaceName, QStringLiteral("SyncProgress"), &listener,
                SLOT(relaySyncProgress(QString)));
    const QDBusMessage call = QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName,
                                                             QStringLiteral("Sync"));
    // A first upload may take minutes: no time limit; a board that quits ends the call.
    QDBusPendingCallWatcher watcher(bus.asyncCall(call, std::numeric_limits<int>::max()));
    QEventLoop loop;
    connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!watcher.isFinished())
        loop.exec();
    const QDBusMessage reply = watcher.reply();
    const QList<QVariant> values = reply.arguments();
    if (reply.type() != QDBusMessage::ReplyMessage || values.size() != 2) {
        *line = reply.errorMessage();
        return -1;
    }
    *line = values.at(1).toString();
    return values.at(0).toInt();
}

void SingleInstance::Sync(const QDBusMessage& message) {
    message.setDelayedReply(true);
    m_syncCalls.append(message);
    if (m_syncCalls.size() == 1)
        emit syncRequested();
}

void SingleInstance::reportSyncProgress(const QString& line) {
    emit SyncProgress(line);
}

void SingleInstance::endSync(int exitCode, const QString& line) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    for (const QDBusMessage& call : std::as_const(m_syncCalls))
        bus.send(call.createReply(QList<QVariant>{exitCode, line}));
    m_syncCalls.clear();
}

void SingleInstance::relaySyncProgress(const QString& line) {
    emit syncProgressReceived(line);
}
