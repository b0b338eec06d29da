#pragma once

#include <QList>
#include <QString>

// A button on a delivered notification. Answering one never brings the application forward.
struct NotificationAction {
    QString identifier;
    QString title;

    friend bool operator==(const NotificationAction&, const NotificationAction&) = default;
};

// A named set of actions; a request picks its buttons by category identifier.
struct NotificationCategory {
    QString identifier;
    QList<NotificationAction> actions;

    friend bool operator==(const NotificationCategory&, const NotificationCategory&) = default;
};
