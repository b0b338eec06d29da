#pragma once

#include "CalDavError.h"

#include <QObject>
#include <QPointer>
#include <QSet>

class CalDavMirror;
class ModelContext;
struct MirrorEvent;

// What `tavik --sync` says of one sync: a line per step while it runs, then the exit code with
// a one-line summary of what went up and came down, or the reason it failed. The words are the
// same whether the command syncs the store itself or the running board syncs for it.
class SyncReport : public QObject {
    Q_OBJECT
public:
    SyncReport(ModelContext& context, CalDavMirror& mirror, QObject* parent = nullptr);

    // Asks for a sync. One already running began before the ask, so the report waits for the
    // one that follows it.
    void start();

signals:
    // A line for standard error, ending in a newline (or a carriage return for the export's
    // running count).
    void progress(const QString& line);
    // 0 with the summary for standard output, or 1 with the reason.
    void finished(int exitCode, const QString& line);

private:
    void begin();
    void handle(const MirrorEvent& event);
    void end(bool ok);

    ModelContext& m_context;
    QPointer<CalDavMirror> m_mirror;
    bool m_waitingForOurs = false; // the sync running at start is not ours
    bool m_importing = false;
    bool m_done = false;
    qsizetype m_waiting = 0; // changes in the log when our sync began
    QSet<const QObject*> m_received;
    CalDavError m_lastError;
};
