#pragma once

#include <QDateTime>
#include <QObject>
#include <QQmlEngine>

class Clock;

// The board's clock as QML sees it. The board controller owns one and views hand it down as
// a required property to the controllers QML makes (the task dialog, the pickers, the month
// grid), so every view reads the same "now" as the board.
class QmlClock : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(Clock)
    QML_UNCREATABLE("The board controller hands out its clock.")
public:
    explicit QmlClock(const Clock& clock, QObject* parent = nullptr);

    [[nodiscard]] const Clock& clock() const { return m_clock; }
    Q_INVOKABLE [[nodiscard]] QDateTime now() const;

    // `clock`'s present, or an invalid moment with a critical message naming `user` when the
    // view forgot to pass one: a controller without a clock never reads the system time.
    [[nodiscard]] static QDateTime nowOf(const QmlClock* clock, const char* user);

private:
    const Clock& m_clock;
};
