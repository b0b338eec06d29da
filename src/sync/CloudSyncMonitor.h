#pragma once

#include "MirrorEvent.h"
#include "TavikContainer.h"

#include <QDateTime>
#include <QObject>
#include <QString>

class CalDavMirror;
class Clock;
class NotificationHub;
class PowerProfile;

// The mirror's events as one small state for the settings section, the end of the last good
// sync, and the reaction to a finished import (tasks from other devices reach the board, the
// count and the reminders). Built once at launch; `off` has no way out.
class CloudSyncMonitor : public QObject {
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(QString stateText READ stateText NOTIFY stateChanged)
    Q_PROPERTY(QDateTime lastSyncedAt READ lastSyncedAt NOTIFY lastSyncedAtChanged)
    Q_PROPERTY(bool lowPowerMode READ lowPowerMode NOTIFY lowPowerModeChanged)
    Q_PROPERTY(int progressDone READ progressDone NOTIFY progressChanged)
    Q_PROPERTY(int progressTotal READ progressTotal NOTIFY progressChanged)
public:
    enum class State { Off, Error, Idle, Syncing };
    Q_ENUM(State)

    // `power` may be null (no power profile to follow); it must outlive the monitor.
    CloudSyncMonitor(const TavikContainer::SyncAvailability& availability, NotificationHub& hub,
                     const Clock& clock, PowerProfile* power, QObject* parent = nullptr);

    [[nodiscard]] State state() const { return m_state; }
    // The reason of `Off` (may be empty) or the short text of `Error`.
    [[nodiscard]] QString stateText() const { return m_stateText; }
    [[nodiscard]] QDateTime lastSyncedAt() const { return m_lastSyncedAt; }
    [[nodiscard]] bool lowPowerMode() const { return m_lowPowerMode; }
    // A long upload's progress, done of total changes; both 0 when none runs.
    [[nodiscard]] int progressDone() const { return m_progressDone; }
    [[nodiscard]] int progressTotal() const { return m_progressTotal; }

    // Follows the mirror's events and progress. Nothing is followed in `Off`.
    void follow(CalDavMirror& mirror);
    void handle(const MirrorEvent& event);

    // What the section shows, worded for this platform.
    Q_INVOKABLE [[nodiscard]] QString header() const;
    Q_INVOKABLE [[nodiscard]] QString title() const;
    Q_INVOKABLE [[nodiscard]] QString detail() const; // empty: no detail line
    Q_INVOKABLE [[nodiscard]] QString footer() const;
    // "刚刚" under a minute, else a short relative time ("5分钟前").
    [[nodiscard]] static QString relativeTime(const QDateTime& at, const QDateTime& now);

signals:
    void stateChanged();
    void lastSyncedAtChanged();
    void lowPowerModeChanged();
    void progressChanged();
    // An import ended well: the app runs the reminders' syncAll on it.
    void importFinished();

private:
    void setState(State state, const QString& text);
    void setProgress(int done, int total);

    NotificationHub& m_hub;
    const Clock& m_clock;
    State m_state = State::Off;
    QString m_stateText;
    QDateTime m_lastSyncedAt;
    bool m_lowPowerMode = false;
    int m_progressDone = 0;
    int m_progressTotal = 0;
};
