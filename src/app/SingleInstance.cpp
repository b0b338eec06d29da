#include "SingleInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

SingleInstance::SingleInstance(QObject* parent)
    : QObject(parent) {}

bool SingleInstance::claim() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return true;
    if (!bus.registerService(serviceName))
        return false;
    bus.registerObject(objectPath, this, QDBusConnection::ExportScriptableSlots);
    return true;
}

bool SingleInstance::forward(const QStringList& arguments) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(
        serviceName, objectPath, QStringLiteral("dev.orlen.tavik.Application"),
        QStringLiteral("HandleArguments"));
    call << arguments;
    const QDBusMessage reply = bus.call(call, QDBus::Block, 5000);
    return reply.type() == QDBusMessage::ReplyMessage;
}

void SingleInstance::HandleArguments(const QStringList& arguments) {
    emit argumentsReceived(arguments);
}
