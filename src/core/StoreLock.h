#pragma once

#include <QLockFile>
#include <QString>

// One board per store, whatever the session: two boards on one file revert each other's
// edits. The lock file sits beside the store and is held for the board's life; a board that
// dies leaves a stale lock, which the next one takes over. Reading commands take no lock.
class StoreLock {
public:
    explicit StoreLock(const QString& storePath);

    // False when another live process holds the store, or the lock file cannot be made;
    // `reason` then says which process and where, or which file and why.
    [[nodiscard]] bool tryLock(QString* reason);

private:
    QString m_storePath;
    QLockFile m_file;
};
