#pragma once

#include <QObject>
#include <QQmlIncubationController>
#include <QTimer>
#include <chrono>

// Lets an engine build asynchronous QML objects (QQmlIncubator::Asynchronous) a slice of a few
// milliseconds per turn of the event loop, so that input and frames go on between slices.
// A window brings a controller of its own only once one is built through the application
// engine; this one works before that and with no window at all.
class SlicedIncubationController : public QObject, public QQmlIncubationController {
public:
    explicit SlicedIncubationController(std::chrono::milliseconds slice, QObject* parent = nullptr);

protected:
    void incubatingObjectCountChanged(int count) override;

private:
    void incubateSlice();

    std::chrono::milliseconds m_slice;
    QTimer m_next;
};
