#include "SyncWorker.h"

#include <QThreadPool>

namespace {

struct WorkerPool : QThreadPool {
    WorkerPool() { setMaxThreadCount(1); }
};

// Destroyed at exit after the work already given to it ends.
Q_GLOBAL_STATIC(WorkerPool, workerPool)

} // namespace

QThreadPool* SyncWorker::pool() {
    return workerPool();
}
