#include "types/SlicedIncubationController.h"

SlicedIncubationController::SlicedIncubationController(std::chrono::milliseconds slice,
                                                       QObject* parent)
    : QObject(parent)
    , m_slice(slice) {
    // A zero timer runs after the events that are waiting: one slice per turn of the loop.
    m_next.setInterval(0);
    connect(&m_next, &QTimer::timeout, this, &SlicedIncubationController::incubateSlice);
}

void SlicedIncubationController::incubatingObjectCountChanged(int count) {
    if (count > 0 && !m_next.isActive())
        m_next.start();
}

void SlicedIncubationController::incubateSlice() {
    incubateFor(int(m_slice.count()));
    if (incubatingObjectCount() == 0)
        m_next.stop();
}
