#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QVariantMap>
#include <optional>

// A notification waiting for its moment, as the notification centre keeps it.
struct NotificationRequest {
    QString identifier;
    QString title;
    QString body; // empty: no body
    QString categoryIdentifier;
    QVariantMap userInfo;
    QDateTime trigger; // UTC

    [[nodiscard]] QJsonObject toJson() const;
    // Null when the object lacks an identifier or a valid trigger.
    [[nodiscard]] static std::optional<NotificationRequest> fromJson(const QJsonObject& object);

    friend bool operator==(const NotificationRequest&, const NotificationRequest&) = default;
};
