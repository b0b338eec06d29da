#pragma once

#include "ReminderActions.h"

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <optional>

// Where the user's answers to reminders go: a click opens the task on the board, a dismissal
// does nothing, and a button is carried out by ReminderActions with the board left alone.
// The application delegate owns it and gives it the way to bring the board forward.
class ReminderResponseRouter : public QObject {
    Q_OBJECT
public:
    explicit ReminderResponseRouter(const ReminderActions::Environment& environment,
                                    QObject* parent = nullptr);

    void setShowBoard(std::function<void()> showBoard) { m_showBoard = std::move(showBoard); }

    // A response as the notification centre hands it over. The work runs on a later turn of
    // the main loop, and not at all if the router is gone by then.
    void didReceive(const QString& actionIdentifier, const QVariantMap& userInfo);

    void handleNotificationAction(const QString& actionIdentifier,
                                  const std::optional<QString>& taskId);

private:
    ReminderActions::Environment m_environment;
    std::function<void()> m_showBoard;
};
