#include "FilePrivacy.h"

#include <QDir>
#include <QFile>
#include <sys/stat.h>

namespace FilePrivacy {

void restrictNewFiles() {
    ::umask(S_IRWXG | S_IRWXO);
}

void restrictFolder(const QString& folder) {
    const QDir dir(folder);
    if (!dir.exists())
        return;
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QFileInfoList files = dir.entryInfoList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QFileInfo& file : files) {
        if (!file.isSymLink())
            QFile::setPermissions(file.filePath(), QFile::ReadOwner | QFile::WriteOwner);
    }
}

} // namespace FilePrivacy
