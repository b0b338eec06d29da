#include "TavikContainer.h"

#include <QDir>
#include <QStandardPaths>

namespace TavikContainer {

namespace {

std::unique_ptr<ModelContainer> openStore(const QString& path, QString* error) {
    auto context = ModelContext::open(path, error);
    if (!context)
        return nullptr;
    return std::make_unique<ModelContainer>(std::move(context));
}

} // namespace

QString storeDirectory() {
    const QString dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    // A failure to create it surfaces as the open's error, which names the path.
    QDir().mkpath(dir);
    return dir;
}

QString realStorePath() {
    return QDir(storeDirectory()).filePath(QLatin1String(realStoreName));
}

QString demoStorePath() {
    return QDir(storeDirectory()).filePath(QLatin1String(demoStoreName));
}

Opened create(bool cloudSync, const MirrorAttacher& attacher, QString* error) {
    Opened opened;
    if (!cloudSync) {
        opened.container = openStore(realStorePath(), error);
        return opened;
    }
    QString openError;
    opened.container = openStore(realStorePath(), &openError);
    if (!opened.container) {
        opened.sync = {SyncAvailability::Kind::unavailable, openError};
        opened.container = openStore(realStorePath(), error);
        return opened;
    }
    if (!attacher) {
        // The store itself opened fine; it is the same file the local path would open.
        opened.sync = {SyncAvailability::Kind::unavailable,
                       QStringLiteral("no cloud mirror is available in this build")};
        return opened;
    }
    QString reason;
    if (attacher(*opened.container, &reason)) {
        opened.sync = {SyncAvailability::Kind::active, {}};
        return opened;
    }
    // An attacher that says no has attached nothing, so this container is already the
    // unmirrored store: opening the file a second time would only double the load.
    opened.sync = {SyncAvailability::Kind::unavailable,
                   reason.isEmpty() ? QStringLiteral("the cloud mirror failed to attach") : reason};
    return opened;
}

Opened createDemo(QString* error) {
    return {openStore(demoStorePath(), error), {}};
}

} // namespace TavikContainer
