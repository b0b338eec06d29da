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

    // `clock`'s present, or an invalid moment: a controller without a clock never reads the
    // system time. Without one it says so loudly, naming `user`, unless QML is still
    // `building` it (bindings may read it before its own clock binding is applied).
    [[nodiscard]] static QDateTime nowOf(const QmlClock* clock, const char* user,
                                         bool building = false);
    // For a controller QML has finished building: a view that passed no clock is a fault.
    static void checkGiven(const QmlClock* clock, const char* user);

private:
    const Clock& m_clock;
};
