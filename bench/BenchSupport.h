#pragma once

// What the benchmarks share: order statistics over their samples and the clocks they read.

#include <QElapsedTimer>
#include <algorithm>
#include <ctime>

namespace Bench {

// The sample below which the fraction `p` of `values` lies (0.5: the median); 0 when empty.
template <typename Values> double percentile(Values values, double p) {
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const auto last = values.size() - 1;
    return values[std::min(last, decltype(last)(p * double(values.size())))];
}

template <typename Values> double median(Values values) {
    return percentile(std::move(values), 0.5);
}

// CPU time of the calling thread.
inline qint64 threadCpuNs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

inline double msSince(const QElapsedTimer& timer) {
    return double(timer.nsecsElapsed()) / 1e6;
}

// Wall and thread CPU time since construction. On a shared machine the wall time includes
// waiting for a core; the CPU time does not.
struct Stopwatch {
    QElapsedTimer wall;
    qint64 cpuStart = threadCpuNs();
    Stopwatch() { wall.start(); }
    [[nodiscard]] double wallMs() const { return msSince(wall); }
    [[nodiscard]] double cpuMs() const { return double(threadCpuNs() - cpuStart) / 1e6; }
};

} // namespace Bench
