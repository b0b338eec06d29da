#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

// The newest release as the feed announces it.
struct ReleaseInfo {
    QString version;
    QString build;
    QString notes;
    QUrl url;
};

// The release feed is one small JSON object served over HTTP(S):
//
//   {"version": "1.2.0", "build": "42", "notes": "…", "url": "https://…/tavik-1.2.0.tar.gz"}
//
// "version" (dotted numbers) and "url" (http or https, where to download) are required;
// "build" (a string or a whole number) and "notes" (plain text) may be left out. Unknown
// members are ignored, so the feed can grow without breaking older builds.
namespace ReleaseFeed {

// Reads a feed. On failure returns nothing and, when `problem` is given, says what is wrong.
[[nodiscard]] std::optional<ReleaseInfo> parse(const QByteArray& body, QString* problem = nullptr);

// True when `release` is newer than the running build: a higher version, or the same version
// with a higher build number (a rebuild). Builds that are not numbers are not compared.
[[nodiscard]] bool isNewer(const ReleaseInfo& release, const QString& currentVersion,
                           const QString& currentBuild);

} // namespace ReleaseFeed
