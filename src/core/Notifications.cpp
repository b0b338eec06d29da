#include "Notifications.h"

void NotificationHub::post(const QString& name, const QVariantMap& userInfo) {
    emit posted(name, userInfo);
}

QMetaObject::Connection NotificationHub::observe(const QString& name, QObject* context,
                                                 std::function<void(const QVariantMap&)> handler) {
    return connect(
        this, &NotificationHub::posted, context,
        [name, handler = std::move(handler)](const QString& posted, const QVariantMap& userInfo) {
            if (posted == name)
                handler(userInfo);
        });
}
