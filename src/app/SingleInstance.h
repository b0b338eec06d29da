#pragma once

#include <QObject>
#include <QStringList>

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

public slots:
    // Called over D-Bus by a second launch.
    Q_SCRIPTABLE void HandleArguments(const QStringList& arguments);

signals:
    void argumentsReceived(const QStringList& arguments);
};
