#pragma once

class Clock;

// The clock that the views read for "now" and "today" (the pickers, the task dialog, the day
// wording). The system clock unless the app or a test installs another.
class UiClock {
public:
    [[nodiscard]] static const Clock& instance();
    // nullptr restores the system clock. The caller keeps `clock` alive while installed.
    static void install(const Clock* clock);
};
