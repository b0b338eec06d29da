#pragma once

#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QStringList>

#include <functional>

// One Tavik per user: the first process owns the session-bus name "dev.orlen.tavik"; a later
// launch hands its arguments to it and exits.
class SingleInstance : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "dev.orlen.tavik.Application")
public:
    inline static const QString serviceName = QStringLiteral("dev.orlen.tavik");
    inline static const QString objectPath = QStringLiteral("/dev/orlen/tavik");

    explicit SingleInstance(QObject* parent = nullptr);

    // Claims the name. False when another instance has it (or no bus: then we run alone,
    // and this answers true).
    bool claim();
    // Hands the arguments to the running instance; false when that failed.
    [[nodiscard]] static bool forward(const QStringList& arguments);
    // Asks the running instance for one sync and waits for its end, handing over each progress
    // line meanwhile. The exit code and the closing line; -1 when the instance did not answer.
    [[nodiscard]] static int requestSync(const std::function<void(const QString&)>& onProgress,
                                         QString* line);

    // The running instance's side of requestSync: a progress line, and the end that answers
    // every sync asked for so far.
    void reportSyncProgress(const QString& line);
    void endSync(int exitCode, const QString& line);

public slots:
    // Called over D-Bus by a second launch.
    Q_SCRIPTABLE void HandleArguments(const QStringList& arguments);
    // Called over D-Bus by `tavik --sync`; answered by endSync.
    Q_SCRIPTABLE void Sync(const QDBusMessage& message);

signals:
    void argumentsReceived(const QStringList& arguments);
    // A sync was asked for and none is being reported yet.
    void syncRequested();
    Q_SCRIPTABLE void SyncProgress(const QString& line);
    void syncProgressReceived(const QString& line);

private slots:
    void relaySyncProgress(const QString& line);

private:
    QList<QDBusMessage> m_syncCalls;
};
