#include "StoreLock.h"

#include <QFileInfo>

StoreLock::StoreLock(const QString& storePath)
    : m_storePath(storePath)
    , m_file(storePath + QStringLiteral(".lock")) {
    // A lock is never stale by age: a board runs for weeks.
    m_file.setStaleLockTime(0);
}

bool StoreLock::tryLock(QString* reason) {
    if (m_file.tryLock(0))
        return true;
    qint64 pid = 0;
    QString host;
    QString application;
    if (m_file.error() == QLockFile::LockFailedError &&
        m_file.getLockInfo(&pid, &host, &application)) {
        *reason = QStringLiteral("Tavik is already running on %1: process %2 (%3) on %4")
                      .arg(m_storePath)
                      .arg(pid)
                      .arg(application, host);
        return false;
    }
    const QFileInfo folder(QFileInfo(m_storePath).absolutePath());
    *reason = QStringLiteral("Tavik cannot lock %1: %2")
                  .arg(m_storePath + QStringLiteral(".lock"),
                       !folder.exists()
                           ? QStringLiteral("the folder %1 cannot be made").arg(folder.filePath())
                       : !folder.isWritable()
                           ? QStringLiteral("the folder %1 is not writable").arg(folder.filePath())
                           : QStringLiteral("the lock file cannot be written"));
    return false;
}
