#pragma once

#include <QDBusConnection>
#include <QDateTime>
#include <QObject>
#include <QTimer>
#include <chrono>

class CalDavMirror;
class Clock;
class ModelContext;

// When the mirror runs: soon after launch, a few seconds after each save, on a coarse timer,
// on wake from suspend and when the network comes back. A failed run is retried a bounded
// number of times with a growing pause, never sooner than the server's Retry-After; a save or
// the timer never hurries a server that asked to wait. Never two runs at once.
class SyncScheduler : public QObject {
    Q_OBJECT
public:
    using Duration = std::chrono::milliseconds;
    struct Timing {
        Duration launchDelay{3000};
        Duration afterSave{5000};
        Duration period{std::chrono::minutes(15)};
        Duration firstRetry{std::chrono::seconds(30)}; // doubles with each failure in a row
        Duration longestRetry{std::chrono::minutes(10)};
        int maxRetries = 5;    // then only the next trigger runs it again
        Duration second{1000}; // the length of one Retry-After second (tests shorten it)
    };

    SyncScheduler(const Timing& timing, const Clock& clock, QObject* parent = nullptr);

    // Runs the mirror on each request and hears its end.
    void attach(CalDavMirror& mirror);
    // Saves of this context lead to a run a few seconds later.
    void watch(ModelContext& context);
    // Wake from suspend through logind's PrepareForSleep on `systemBus`, and network changes
    // through QNetworkInformation where a backend is offered.
    void watchSystem(const QDBusConnection& systemBus);

    // The launch: a first run soon, then the coarse timer.
    void start();
    void stop();

    void saved();
    void woke();
    void networkChanged(bool reachable);
    // A run now (the command line's sync), unless the server asked to wait.
    void requestNow();
    // The end of a run; `retryAfterSecs` is the server's wish, or -1.
    void runFinished(bool ok, int retryAfterSecs);

    [[nodiscard]] bool isRunning() const { return m_running; }
    [[nodiscard]] int failuresInARow() const { return m_failures; }

signals:
    // Start one run now; answer with runFinished().
    void runRequested();

private slots:
    void prepareForSleep(bool sleeping);

private:
    enum class Why { trigger, save, urgent };
    void run();
    // A run in `delay`, never before the server's Retry-After, nor before the pause after
    // failures unless `urgent` (wake, network back, asked for).
    void runIn(Duration delay, Why why);

    Timing m_timing;
    const Clock& m_clock;
    QTimer m_soon;
    QTimer m_period;
    bool m_soonIsDebounce = false;
    bool m_started = false;
    bool m_running = false;
    bool m_again = false;
    int m_failures = 0;
    bool m_online = true;
    QDateTime m_notBefore;   // the server's Retry-After
    QDateTime m_backoffEnds; // our own pause after failures
};
