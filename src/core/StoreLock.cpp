#include "StoreLock.h"

StoreLock::StoreLock(const QString& storePath)
    : m_file(storePath + QStringLiteral(".lock")) {
    // A lock is never stale by age: a board runs for weeks.
    m_file.setStaleLockTime(0);
}

bool StoreLock::tryLock(QString* holder) {
    if (m_file.tryLock(0))
        return true;
    qint64 pid = 0;
    QString host;
    QString application;
    if (m_file.error() == QLockFile::LockFailedError &&
        m_file.getLockInfo(&pid, &host, &application))
        *holder = QStringLiteral("process %1 (%2) on %3").arg(pid).arg(application, host);
    else
        *holder = QStringLiteral("its lock file cannot be written (%1)").arg(m_file.error());
    return false;
}
