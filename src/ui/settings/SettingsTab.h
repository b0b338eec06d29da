#pragma once

#include <QQmlEngine>
#include <QString>
#include <QUrl>

// One tab of the settings window: its toolbar button and the view the window builds for it.
struct SettingsTab {
    Q_GADGET
    QML_VALUE_TYPE(settingsTab)
    Q_PROPERTY(QString id MEMBER id CONSTANT)
    Q_PROPERTY(QString title MEMBER title CONSTANT)
    Q_PROPERTY(QString symbol MEMBER symbol CONSTANT)
    Q_PROPERTY(QUrl source MEMBER source CONSTANT)
    Q_PROPERTY(QString windowTitle READ windowTitle CONSTANT)

public:
    QString id;
    // The toolbar label.
    QString title;
    QString symbol;
    // The QML file of the tab's view; it is handed the window's controller.
    QUrl source;

    [[nodiscard]] QString windowTitle() const { return QStringLiteral("Tavik ") + title; }
};
