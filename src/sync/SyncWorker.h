#pragma once

#include <QFutureWatcher>
#include <QObject>
#include <QtConcurrent/QtConcurrentRun>
#include <functional>

class QThreadPool;

// The one worker thread the mirror reads replies and items on, so that the board's thread
// keeps drawing during a large import. One thread: libical is then used by at most one
// thread beside the main one, and results come back in the order the work was given.
namespace SyncWorker {

[[nodiscard]] QThreadPool* pool();

// Runs `work` on the worker, then `done` with its result on `receiver`'s thread; never once
// `receiver` is gone. `work` must touch nothing the main thread owns: give it copies.
template <typename Result>
void run(QObject* receiver, std::function<Result()> work, std::function<void(Result)> done) {
    auto* watcher = new QFutureWatcher<Result>(receiver);
    QObject::connect(watcher, &QFutureWatcher<Result>::finished, receiver,
                     [watcher, done = std::move(done)] {
                         watcher->deleteLater();
                         done(watcher->result());
                     });
    watcher->setFuture(QtConcurrent::run(pool(), std::move(work)));
}

} // namespace SyncWorker
