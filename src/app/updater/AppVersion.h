#pragma once

#include <QString>
#include <QUrl>

// What this build says about itself. The values are fixed when the project is configured.
namespace AppVersion {

// The project version, e.g. "0.1.0".
[[nodiscard]] QString shortVersion();

// The build number, e.g. "42"; it tells apart two builds of one version.
[[nodiscard]] QString buildNumber();

// The release feed; empty when the build was configured without one.
[[nodiscard]] QUrl updateFeedUrl();

// The About tab's line: "版本 0.1.0（42）". A blank part shows as "—".
[[nodiscard]] QString versionLine(const QString& shortVersion, const QString& buildNumber);

} // namespace AppVersion
