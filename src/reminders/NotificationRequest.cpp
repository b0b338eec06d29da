#include "NotificationRequest.h"

namespace {
const QString identifierKey = QStringLiteral("identifier");
const QString titleKey = QStringLiteral("title");
const QString bodyKey = QStringLiteral("body");
const QString categoryKey = QStringLiteral("categoryIdentifier");
const QString userInfoKey = QStringLiteral("userInfo");
const QString triggerKey = QStringLiteral("trigger");
} // namespace

QJsonObject NotificationRequest::toJson() const {
    return {
        {identifierKey, identifier},
        {titleKey, title},
        {bodyKey, body},
        {categoryKey, categoryIdentifier},
        {userInfoKey, QJsonObject::fromVariantMap(userInfo)},
        {triggerKey, trigger.toUTC().toString(Qt::ISODateWithMs)},
    };
}

std::optional<NotificationRequest> NotificationRequest::fromJson(const QJsonObject& object) {
    NotificationRequest request;
    request.identifier = object.value(identifierKey).toString();
    request.trigger = QDateTime::fromString(object.value(triggerKey).toString(), Qt::ISODateWithMs);
    if (request.identifier.isEmpty() || !request.trigger.isValid())
        return std::nullopt;
    request.trigger = request.trigger.toUTC();
    request.title = object.value(titleKey).toString();
    request.body = object.value(bodyKey).toString();
    request.categoryIdentifier = object.value(categoryKey).toString();
    request.userInfo = object.value(userInfoKey).toObject().toVariantMap();
    return request;
}
