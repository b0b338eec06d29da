#pragma once

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QUrl>

// What the update dialog shows at the end of a check the user asked for.
class UpdateCheckResult {
    Q_GADGET
    Q_PROPERTY(Kind kind MEMBER kind)
    Q_PROPERTY(QString message MEMBER message)
    Q_PROPERTY(QString version MEMBER version)
    Q_PROPERTY(QString build MEMBER build)
    Q_PROPERTY(QString notes MEMBER notes)
    Q_PROPERTY(QUrl downloadUrl MEMBER downloadUrl)
public:
    enum class Kind {
        UpdateFound, // version, build, notes and downloadUrl describe the newer release
        UpToDate,    // message is "已是最新版本"
        Failed,      // message says why, in the user's words
        Cancelled,   // the check was called off; there is nothing to show
        NotOffered,  // this build has no release feed, so nothing was asked
    };
    Q_ENUM(Kind)

    Kind kind = Kind::Failed;
    QString message;
    QString version;
    QString build;
    QString notes;
    QUrl downloadUrl;
};

Q_DECLARE_METATYPE(UpdateCheckResult)
