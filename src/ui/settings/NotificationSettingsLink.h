#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QStringList>

// The desktop's notification settings, when one of the known settings programs is installed
// (GNOME, KDE Plasma, Xfce). Without one, `available` is false and views hide their link.
class NotificationSettingsLink : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool available READ available CONSTANT)

public:
    explicit NotificationSettingsLink(QObject* parent = nullptr);

    [[nodiscard]] bool available() const { return !m_program.isEmpty(); }
    // Starts the settings program detached; false when there is none or it failed to start.
    Q_INVOKABLE bool open() const;

private:
    QString m_program;
    QStringList m_arguments;
};
