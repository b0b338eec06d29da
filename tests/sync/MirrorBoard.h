#pragma once

// One board mirrored to a test's CalDAV server: a real store file with its mirror tables, a
// client signed in as the server's user and the mirror, with waits for the asynchronous
// calls. Shared by the tests, the convergence rounds and the benchmark.

#include "CalDavMirror.h"
#include "CalDavServer.h"
#include "Notifications.h"
#include "TaskItem.h"
#include "VtodoCodec.h"

#include <QSignalSpy>
#include <optional>
#include <tuple>

// Runs one asynchronous call and waits for the values its callback gets.
template <typename... Values, typename Call> std::tuple<Values...> await(Call call) {
    std::optional<std::tuple<Values...>> answer;
    call([&](const Values&... values) { answer.emplace(values...); });
    if (!QTest::qWaitFor([&] { return answer.has_value(); }, 60000))
        qFatal("a request never ended");
    return *answer;
}

struct MirrorBoard {
    MirrorBoard(const QString& path, const QUrl& server, QNetworkAccessManager* network,
                const Clock& clock)
        : context(ModelContext::open(path, nullptr))
        , client(network) {
        QString error;
        if (!context || !store.open(*context, &error))
            qFatal("cannot open %s: %s", qPrintable(path), qPrintable(error));
        client.setAccount({server, CalDavServer::username, CalDavServer::password});
        client.setTimeout(15000);
        mirror = std::make_unique<CalDavMirror>(*context, store, client, clock, hub);
    }

    // One sync to its end; whether it went well.
    bool sync(int timeoutMs = 60000) {
        QSignalSpy finished(mirror.get(), &CalDavMirror::finished);
        mirror->sync();
        if (!finished.wait(timeoutMs))
            qFatal("a sync never ended");
        return finished.first().first().toBool();
    }

    // Like await(), with the error first; a failed request ends the test.
    template <typename... Values, typename Call>
    std::tuple<CalDavError, Values...> call(Call call) {
        auto answer = await<CalDavError, Values...>(call);
        if (std::get<0>(answer).isError())
            qFatal("request failed: %s", qPrintable(std::get<0>(answer).detail));
        return answer;
    }

    QList<CalendarCollection> serverCollections() {
        const QUrl home(store.value(QStringLiteral("home")));
        return std::get<1>(call<QList<CalendarCollection>>(
            [&](auto done) { client.listCollections(home, done); }));
    }

    QList<CalendarItem> serverItems(const QUrl& collection) {
        return std::get<1>(call<QList<CalendarItem>>(
            [&](auto done) { client.listItems(collection, true, done); }));
    }

    // Takes the server's present tokens as already imported, so the next sync writes
    // without having read what changed there.
    void skipServerChanges() {
        const QList<CalendarCollection> all = serverCollections();
        for (MirrorStore::Collection c : store.collections()) {
            for (const CalendarCollection& s : all) {
                if (s.url.path() == c.url.path()) {
                    c.syncToken = s.syncToken;
                    c.ctag = s.ctag;
                    store.putCollection(c);
                }
            }
        }
    }

    // How many copies of a task the server holds, over all our collections.
    int copiesOf(const QUuid& id) {
        int copies = 0;
        for (const MirrorStore::Collection& collection : store.collections()) {
            for (const CalendarItem& item : serverItems(collection.url))
                copies += VtodoCodec::uid(item.data) == id.toString(QUuid::WithoutBraces);
        }
        return copies;
    }

    TaskItem* titled(const QString& title) const {
        TaskItem* found = nullptr;
        for (TaskItem* task : context->tasks()) {
            if (task->title() == title) {
                if (found)
                    qFatal("two tasks titled %s", qPrintable(title));
                found = task;
            }
        }
        return found;
    }

    NotificationHub hub;
    std::unique_ptr<ModelContext> context;
    MirrorStore store;
    CalDavClient client;
    std::unique_ptr<CalDavMirror> mirror;
};
