#pragma once

#include <QDateTime>

// The one source of "now". The core never reads the wall clock by itself, so tests can run a
// day change or a week change in a millisecond.
class Clock {
public:
    virtual ~Clock() = default;
    [[nodiscard]] virtual QDateTime now() const = 0;
};

class SystemClock final : public Clock {
public:
    [[nodiscard]] QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
};

// A clock that stands still until told otherwise.
class ManualClock final : public Clock {
public:
    explicit ManualClock(QDateTime now = QDateTime::currentDateTimeUtc())
        : m_now(now.toUTC()) {}
    [[nodiscard]] QDateTime now() const override { return m_now; }
    void setNow(const QDateTime& now) { m_now = now.toUTC(); }
    void advance(qint64 msecs) { m_now = m_now.addMSecs(msecs); }

private:
    QDateTime m_now;
};
