#pragma once

#include <QDate>
#include <QObject>
#include <QTimer>

// Tells when the local day changes: a timer set for the next local midnight, re-armed after
// wake from suspend (logind's PrepareForSleep) and after a time-zone or clock change, which a
// coarse tick notices. Also reports the wake itself.
class DayChangeWatcher : public QObject {
    Q_OBJECT
public:
    explicit DayChangeWatcher(QObject* parent = nullptr);

signals:
    void dayChanged();
    void woke();

private slots:
    void prepareForSleep(bool sleeping);

private:
    void check();
    void arm();

    QTimer m_midnight;
    QTimer m_tick;
    QDate m_day;
    qint64 m_offset = 0;
};
