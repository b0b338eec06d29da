#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>

// Names of the internal notifications. Each name's string value is the name itself.
namespace TavikNotification {
inline const QString tasksChanged = QStringLiteral("tavikTasksChanged");
inline const QString saveFailed = QStringLiteral("tavikSaveFailed");
inline const QString windowShown = QStringLiteral("tavikWindowShown");
inline const QString openTask = QStringLiteral("tavikOpenTask");
inline const QString blurInput = QStringLiteral("tavikBlurInput");
inline const QString checkForUpdates = QStringLiteral("tavikCheckForUpdates");
inline const QString updateAvailabilityChanged = QStringLiteral("tavikUpdateAvailabilityChanged");
} // namespace TavikNotification

// The process's notification centre: posting is synchronous, on the poster's thread (always
// the main thread here), with no object and an optional user info map. main() makes the one
// the app uses and hands it to whoever posts or observes; tests make their own.
class NotificationHub : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    void post(const QString& name, const QVariantMap& userInfo = {});

    // Calls `handler` for every post of `name` while `context` lives.
    QMetaObject::Connection observe(const QString& name, QObject* context,
                                    std::function<void(const QVariantMap&)> handler);

signals:
    void posted(const QString& name, const QVariantMap& userInfo);
};
