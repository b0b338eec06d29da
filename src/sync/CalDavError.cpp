#include "CalDavError.h"

#include <QDateTime>
#include <QLocale>
#include <QTimeZone>

QString CalDavError::userText() const {
    switch (kind) {
    case Kind::none:
        return {};
    case Kind::network:
        return QStringLiteral("网络不可用，恢复后会自动重试");
    case Kind::signIn:
        return QStringLiteral("未登录同步账户 — 在设置中登录后会自动恢复同步");
    case Kind::quota:
        return QStringLiteral("同步服务器储存空间已满");
    default:
        return QStringLiteral("同步暂时失败，稍后会自动重试");
    }
}

CalDavError CalDavError::fromStatus(int status, const QByteArray& body) {
    CalDavError error;
    error.httpStatus = status;
    error.detail = QStringLiteral("HTTP %1").arg(status);
    if (status >= 200 && status < 300)
        return error;
    // A precondition named in the body says more than the status does.
    const bool tokenNamed = body.contains("valid-sync-token");
    const bool quotaNamed = body.contains("quota-not-exceeded");
    if (tokenNamed) {
        error.kind = Kind::tokenRefused;
        error.detail += QStringLiteral(" valid-sync-token");
    } else if (status == 507 || quotaNamed) {
        error.kind = Kind::quota;
    } else if (status == 401 || status == 403) {
        error.kind = Kind::signIn;
    } else if (status == 412) {
        error.kind = Kind::conflict;
    } else if (status == 404 || status == 410) {
        error.kind = Kind::notFound;
    } else if (status == 400 || status == 409 || status == 413 || status == 415) {
        error.kind = Kind::rejected;
    } else {
        error.kind = Kind::server;
    }
    return error;
}

CalDavError CalDavError::network(const QString& detail) {
    CalDavError error;
    error.kind = Kind::network;
    error.detail = detail;
    return error;
}

CalDavError CalDavError::protocol(int status, const QString& detail) {
    CalDavError error;
    error.kind = Kind::server;
    error.httpStatus = status;
    error.detail = detail;
    return error;
}

int CalDavError::parseRetryAfter(const QByteArray& value, const QDateTime& now) {
    const QByteArray trimmed = value.trimmed();
    if (trimmed.isEmpty())
        return -1;
    bool ok = false;
    const int seconds = trimmed.toInt(&ok);
    if (ok)
        return seconds < 0 ? -1 : seconds;
    // The HTTP date form: "Wed, 21 Oct 2015 07:28:00 GMT".
    const QDateTime at = QLocale::c().toDateTime(QString::fromLatin1(trimmed.chopped(4)),
                                                 QStringLiteral("ddd, dd MMM yyyy HH:mm:ss"));
    if (!at.isValid() || !trimmed.endsWith("GMT"))
        return -1;
    const QDateTime utc(at.date(), at.time(), QTimeZone::utc());
    return static_cast<int>(qMax<qint64>(0, now.secsTo(utc)));
}
