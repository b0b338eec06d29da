#pragma once

#include "CalDavClient.h"
#include "MirrorEvent.h"
#include "MirrorStore.h"
#include "ModelContext.h"
#include "TaskFields.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>

class Clock;
class TaskCategory;
class TaskItem;

// The board mirrored to one CalDAV account. A sync is three steps, each reported as a
// MirrorEvent: setup (find the calendar home, pair lists with collections), import (each
// collection's changes since its token, applied to the context before the token is kept)
// and export (the context's change log, written with If-None-Match / If-Match; a 412 is
// met with a re-fetch and a field-by-field merge, a bounded number of times).
class CalDavMirror : public QObject {
    Q_OBJECT
public:
    static constexpr int maxConflictRetries = 3;

    CalDavMirror(ModelContext& context, MirrorStore& store, CalDavClient& client,
                 const Clock& clock, QObject* parent = nullptr);

    // Starts one sync. Asked while one runs, another follows it.
    void sync();
    [[nodiscard]] bool isSyncing() const { return m_running; }
    // Seconds the server asked to wait before the next try (Retry-After), or -1.
    [[nodiscard]] int retryAfterSecs() const { return m_retryAfterSecs; }

signals:
    void eventChanged(const MirrorEvent& event);
    // After each sync, whether every step went well.
    void finished(bool ok);
    // How far the export is: `done` of `total` changes sent (a first upload can be long).
    void progress(qsizetype done, qsizetype total);

private:
    struct Delta {
        MirrorStore::Collection collection;
        QString newToken;
        QList<CalendarItem> changed;
        QList<QUrl> removed;
    };

    void begin(MirrorEvent::Type type);
    void end(const CalDavError& error);
    void finish(const CalDavError& error);

    void setup();
    void pairCollections(const QList<CalendarCollection>& onServer);
    void createCollections(QList<QUuid> missing);
    void importNext(qsizetype index);
    void fetchDelta(const MirrorStore::Collection& collection,
                    const std::function<void(const CalDavError&, const Delta&)>& done);
    void fillTexts(const Delta& delta,
                   const std::function<void(const CalDavError&, const Delta&)>& done);
    void applyDeltas();
    void applyItem(const Delta& delta, const CalendarItem& item, const QHash<QUuid, bool>& pending,
                   QList<MirrorStore::Item>& bound);
    void startExport();
    void exportNext();
    void exportTask(const RecordChange& change,
                    const std::function<void(const CalDavError&)>& done);
    void upload(TaskItem* task, const QUrl& collection, const QUrl& href, const QByteArray& base,
                const QString& etag, int attempt,
                const std::function<void(const CalDavError&)>& done);
    void resolveConflict(TaskItem* task, const QUrl& collection, const QUrl& href,
                         const QByteArray& base, int attempt,
                         const std::function<void(const CalDavError&)>& done);

    [[nodiscard]] QUrl collectionFor(const TaskCategory* category) const;
    [[nodiscard]] TaskCategory* categoryFor(const QUrl& collection) const;

    ModelContext& m_context;
    MirrorStore& m_store;
    CalDavClient& m_client;
    const Clock& m_clock;

    bool m_running = false;
    bool m_again = false;
    bool m_failed = false;
    int m_retryAfterSecs = -1;
    MirrorEvent m_event;
    QUrl m_home;
    QHash<QUrl, CalendarCollection> m_onServer;
    QList<MirrorStore::Collection> m_toImport;
    QList<Delta> m_deltas;
    QList<RecordChange> m_changes;
    qsizetype m_changeIndex = 0;
    qint64 m_acknowledgeUpTo = 0;
    bool m_blocked = false; // a change failed: later ones may go out but not be acknowledged
    CalDavError m_exportError;
};
