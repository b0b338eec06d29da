#include "TavikContainer.h"

#include <QDir>
#include <QStandardPaths>

namespace TavikContainer {

namespace {

SyncAvailability s_availability;
MirrorAttacher s_attacher;

std::unique_ptr<ModelContainer> openStore(const QString& path, QString* error) {
    auto context = ModelContext::open(path, error);
    if (!context)
        return nullptr;
    return std::make_unique<ModelContainer>(std::move(context));
}

} // namespace

SyncAvailability syncAvailability() {
    return s_availability;
}

QString storeDirectory() {
    const QString dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    // A failure to create it surfaces as the open's error, which names the path.
    QDir().mkpath(dir);
    return dir;
}

QString realStorePath() {
    return QDir(storeDirectory()).filePath(QStringLiteral("tavik.store"));
}

QString demoStorePath() {
    return QDir(storeDirectory()).filePath(QStringLiteral("tavik-demo.store"));
}

void setMirrorAttacher(MirrorAttacher attacher) {
    s_attacher = std::move(attacher);
}

std::unique_ptr<ModelContainer> create(bool cloudSync, QString* error) {
    if (cloudSync) {
        QString openError;
        if (auto container = openStore(realStorePath(), &openError)) {
            if (!s_attacher) {
                s_availability = {SyncAvailability::Kind::unavailable,
                                  QStringLiteral("no cloud mirror is available in this build")};
                // The store itself opened fine; it is the same file the local path would open.
                return container;
            }
            QString reason;
            if (s_attacher(*container, &reason)) {
                s_availability = {SyncAvailability::Kind::active, {}};
                return container;
            }
            // An attacher that says no has attached nothing, so this container is already
            // the unmirrored store: opening the file a second time would only double the load.
            s_availability = {SyncAvailability::Kind::unavailable,
                              reason.isEmpty() ? QStringLiteral("the cloud mirror failed to attach")
                                               : reason};
            return container;
        }
        s_availability = {SyncAvailability::Kind::unavailable, openError};
    } else {
        s_availability = {SyncAvailability::Kind::localOnly, {}};
    }
    return openStore(realStorePath(), error);
}

std::unique_ptr<ModelContainer> createDemo(QString* error) {
    s_availability = {SyncAvailability::Kind::localOnly, {}};
    return openStore(demoStorePath(), error);
}

} // namespace TavikContainer
