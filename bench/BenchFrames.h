#pragma once

// Timing what reaches the screen: the benchmarks that draw share these.

#include "BenchSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QQuickWindow>

namespace Bench {

// Runs `action`, then turns the event loop until `window` has drawn a frame (at most 5 s);
// answers the milliseconds from the start of the action. The frame may come within it.
template <typename Action> double timeToFrame(QQuickWindow* window, Action action) {
    bool drawn = false;
    QObject guard;
    QObject::connect(window, &QQuickWindow::frameSwapped, &guard, [&drawn] { drawn = true; });
    QElapsedTimer timer;
    timer.start();
    action();
    while (!drawn && timer.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    return msSince(timer);
}

// Lets animations run their course.
inline void settle(int ms) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

} // namespace Bench
