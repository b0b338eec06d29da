#pragma once

#include <QObject>

class QSocketNotifier;

// SIGTERM (a logout, a shutdown, a plain kill), SIGHUP and SIGINT end the board the way its
// Quit does, through the event loop, so the last save runs. A handler may only write to a
// pipe; the loop reads it and emits `received`. One per process.
class QuitSignals : public QObject {
    Q_OBJECT
public:
    explicit QuitSignals(QObject* parent = nullptr);
    ~QuitSignals() override;

signals:
    void received(int signal);

private:
    void readPipe();

    QSocketNotifier* m_notifier = nullptr;
};
