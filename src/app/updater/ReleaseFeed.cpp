#include "ReleaseFeed.h"

#include "VersionNumber.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

#include <cmath>

namespace {

std::optional<ReleaseInfo> reject(QString* problem, const QString& why) {
    if (problem)
        *problem = why;
    return std::nullopt;
}

// A build number travels as a string, but a hand-written feed may use a JSON number.
std::optional<QString> readBuild(const QJsonValue& value) {
    if (value.isUndefined() || value.isNull())
        return QString();
    if (value.isString())
        return value.toString().trimmed();
    if (value.isDouble()) {
        const double number = value.toDouble();
        if (number >= 0 && number <= 9007199254740992.0 && std::floor(number) == number)
            return QString::number(static_cast<qint64>(number));
    }
    return std::nullopt;
}

} // namespace

std::optional<ReleaseInfo> ReleaseFeed::parse(const QByteArray& body, QString* problem) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        return reject(problem, QStringLiteral("不是有效的 JSON"));
    if (!document.isObject())
        return reject(problem, QStringLiteral("不是 JSON 对象"));
    const QJsonObject object = document.object();

    // A version given as a JSON number would lose its meaning ("1.10" reads as 1.1).
    const QJsonValue version = object.value(QLatin1String("version"));
    if (!version.isString())
        return reject(problem, QStringLiteral("缺少版本号"));
    ReleaseInfo release;
    release.version = version.toString().trimmed();
    if (!VersionNumber::isValid(release.version))
        return reject(problem, QStringLiteral("版本号“%1”无法识别").arg(release.version));

    const std::optional<QString> build = readBuild(object.value(QLatin1String("build")));
    if (!build)
        return reject(problem, QStringLiteral("构建号格式不对"));
    release.build = *build;

    const QJsonValue notes = object.value(QLatin1String("notes"));
    if (notes.isString())
        release.notes = notes.toString().trimmed();
    else if (!notes.isUndefined() && !notes.isNull())
        return reject(problem, QStringLiteral("更新说明格式不对"));

    const QJsonValue url = object.value(QLatin1String("url"));
    release.url = QUrl(url.toString().trimmed(), QUrl::StrictMode);
    const QString scheme = release.url.scheme().toLower();
    if (!url.isString() || !release.url.isValid() || release.url.host().isEmpty() ||
        (scheme != QLatin1String("https") && scheme != QLatin1String("http")))
        return reject(problem, QStringLiteral("下载地址无效"));

    return release;
}

bool ReleaseFeed::isNewer(const ReleaseInfo& release, const QString& currentVersion,
                          const QString& currentBuild) {
    if (const int order = VersionNumber::compare(release.version, currentVersion); order != 0)
        return order > 0;
    // A build number is a version of one component: digits only, compared as a number.
    if (release.build.contains(u'.') || currentBuild.contains(u'.') ||
        !VersionNumber::isValid(release.build) || !VersionNumber::isValid(currentBuild))
        return false;
    return VersionNumber::compare(release.build, currentBuild) > 0;
}
