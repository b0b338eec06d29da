#include "types/UiClock.h"

#include "Clock.h"

namespace {

const Clock* installed = nullptr;

} // namespace

const Clock& UiClock::instance() {
    static const SystemClock system;
    return installed ? *installed : system;
}

void UiClock::install(const Clock* clock) {
    installed = clock;
}
