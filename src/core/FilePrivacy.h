#pragma once

#include <QString>

// Task titles, notes and the pending reminders are nobody else's business: Tavik's files are
// the owner's alone, whatever umask the session has.
namespace FilePrivacy {

// From here on, files and folders this process creates are 0600 and 0700.
void restrictNewFiles();

// Makes `folder` 0700 and every file directly in it 0600 (the store, its -wal and -shm, the
// pending notifications, the preferences). Does nothing where the folder does not exist.
void restrictFolder(const QString& folder);

} // namespace FilePrivacy
