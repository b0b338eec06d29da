#pragma once

#include <QLockFile>
#include <QString>

// One board per store, whatever the session: two boards on one file revert each other's
// edits. The lock file sits beside the store and is held for the board's life; a board that
// dies leaves a stale lock, which the next one takes over. Reading commands take no lock.
class StoreLock {
public:
    explicit StoreLock(const QString& storePath);

    // False when another live process holds the store; `holder` then says which and where.
    [[nodiscard]] bool tryLock(QString* holder);

private:
    QLockFile m_file;
};
