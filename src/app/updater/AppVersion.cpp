#include "AppVersion.h"

namespace {

QString orDash(const QString& value) {
    const QString trimmed = value.trimmed();
    return trimmed.isEmpty() ? QStringLiteral("—") : trimmed;
}

} // namespace

QString AppVersion::shortVersion() {
    return QString::fromUtf8(TAVIK_VERSION);
}

QString AppVersion::buildNumber() {
    return QString::fromUtf8(TAVIK_BUILD_NUMBER);
}

QUrl AppVersion::updateFeedUrl() {
    return QUrl(QString::fromUtf8(TAVIK_UPDATE_FEED_URL).trimmed());
}

QString AppVersion::versionLine(const QString& shortVersion, const QString& buildNumber) {
    return QStringLiteral("版本 ") + orDash(shortVersion) + QStringLiteral("（") +
           orDash(buildNumber) + QStringLiteral("）");
}
