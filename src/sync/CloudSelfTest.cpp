#include "CloudSelfTest.h"

#include "CalDavMirror.h"

#include <QCoreApplication>
#include <QTimer>
#include <cstdio>
#include <memory>

namespace CloudSelfTest {

namespace {

// The mirror's own collection for tasks without a list, and the probe item in it.
const QString collectionSlug = QStringLiteral("tavik/");
const QString probeName = QStringLiteral("tavik-selftest-probe.ics");

void log(const QString& line) {
    // One write per line, so lines of steps finishing together do not mix.
    const QByteArray bytes = (QStringLiteral("[CK-SELFTEST] ") + line + u'\n').toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

using Flag = std::shared_ptr<bool>;

Flag watchdog(const QString& label) {
    auto done = std::make_shared<bool>(false);
    QTimer::singleShot(stepTimeLimitSecs * 1000, QCoreApplication::instance(), [label, done] {
        if (!*done)
            log(label + QStringLiteral(" TIMEOUT after %1s").arg(stepTimeLimitSecs));
    });
    return done;
}

QString printed(const CalDavError& error) {
    return error.isError() ? QStringLiteral("CalDavError(%1, %2)")
                                 .arg(int(error.kind))
                                 .arg(error.detail.isEmpty() ? QStringLiteral("?") : error.detail)
                           : QStringLiteral("nil");
}

QByteArray probeText() {
    return QByteArrayLiteral("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Tavik//SelfTest//EN\r\n"
                             "BEGIN:VTODO\r\nUID:tavik-selftest-probe\r\nDTSTAMP:20260101T000000Z"
                             "\r\nSUMMARY:probe\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
}

void observe(CalDavMirror& mirror) {
    QObject::connect(&mirror, &CalDavMirror::eventChanged, &mirror, [](const MirrorEvent& event) {
        if (!event.endedAt.isValid())
            return;
        log(QStringLiteral("EVENT type=%1 ok=%2")
                .arg(int(event.type))
                .arg(event.error.isError() ? QStringLiteral("false") : QStringLiteral("true")));
        if (!event.error.isError())
            return;
        log(QStringLiteral("EVENT-ERROR CalDAV#%1: %2")
                .arg(event.error.httpStatus)
                .arg(event.error.userText()));
        log(QStringLiteral("EVENT-ERROR-USERINFO ") + event.error.detail);
    });
}

// Steps C to G, once the calendar home is known.
void runSteps(CalDavClient* client, const QUrl& home) {
    const QUrl collection = home.resolved(QUrl(collectionSlug));

    const Flag zoneDone = watchdog(QStringLiteral("zoneSave"));
    const Flag recordDone = watchdog(QStringLiteral("recordSave"));
    const auto saveRecord = [client, collection, recordDone] {
        const QUrl probe = collection.resolved(QUrl(probeName));
        client->putItem(probe, probeText(), {},
                        [client, probe, recordDone](const CalDavError& error, const QString& etag) {
                            *recordDone = true;
                            if (error.isError()) {
                                log(QStringLiteral("recordSave FAILED: ") + printed(error));
                                return;
                            }
                            log(QStringLiteral("recordSave OK (PUT works; the probe is deleted)"));
                            client->deleteItem(probe, etag, [](const CalDavError&) {});
                        });
    };
    // The probe goes into the collection, so it waits for the collection to exist.
    client->listCollections(
        home, [client, collection, zoneDone, saveRecord](const CalDavError& error,
                                                         const QList<CalendarCollection>& found) {
            const auto have = [&] {
                for (const CalendarCollection& c : found) {
                    if (c.url.adjusted(QUrl::StripTrailingSlash).path() ==
                        collection.adjusted(QUrl::StripTrailingSlash).path())
                        return true;
                }
                return false;
            };
            if (!error.isError() && have()) {
                *zoneDone = true;
                log(QStringLiteral("zoneSave OK"));
                saveRecord();
                return;
            }
            CalendarCollection made;
            made.url = collection;
            made.displayName = QStringLiteral("Tavik");
            client->makeCalendar(made, [zoneDone, saveRecord](const CalDavError& makeError) {
                *zoneDone = true;
                log(makeError.isError() ? QStringLiteral("zoneSave FAILED: ") + printed(makeError)
                                        : QStringLiteral("zoneSave OK"));
                saveRecord();
            });
        });

    const Flag dbDone = watchdog(QStringLiteral("dbChanges"));
    client->listCollections(
        home, [dbDone](const CalDavError& error, const QList<CalendarCollection>& found) {
            *dbDone = true;
            if (error.isError()) {
                log(QStringLiteral("dbChanges FAILED: ") + printed(error));
                return;
            }
            for (const CalendarCollection& c : found)
                log(QStringLiteral("dbChanges zoneChanged=") + c.url.path());
            log(QStringLiteral("dbChanges OK more=false token=nil (PROPFIND of the calendar "
                               "home has no token)"));
        });

    const Flag zoneChangesDone = watchdog(QStringLiteral("zoneChanges"));
    client->syncCollection(
        collection, {}, [zoneChangesDone](const CalDavError& error, const SyncDelta& delta) {
            *zoneChangesDone = true;
            log(error.isError()
                    ? QStringLiteral("zoneChanges FAILED: ") + printed(error)
                    : QStringLiteral("zoneChanges OK records=%1").arg(delta.changed.size()));
        });

    log(QStringLiteral("subscriptionSave OK (no CalDAV counterpart: the mirror polls the "
                       "server instead of receiving pushes)"));
}

} // namespace

void runIfRequested(const CalDavClient::Account& account, const QString& passwordProblem,
                    QNetworkAccessManager* network, CalDavMirror* mirror) {
    if (qgetenv(environmentVariable) != "1")
        return;
    if (mirror)
        observe(*mirror);
    // Lives as long as the application: the steps' replies come back to it.
    auto* client = new CalDavClient(network, QCoreApplication::instance());
    client->setAccount(account);
    log(QStringLiteral("container=") + (account.serverUrl.isEmpty()
                                            ? QStringLiteral("?")
                                            : account.serverUrl.toString(QUrl::RemoveUserInfo)));

    // CloudKit's account statuses: 1 available, 3 no account, 4 temporarily unavailable.
    const bool configured = !account.serverUrl.isEmpty() && !account.username.isEmpty();
    const int status = !configured ? 3 : passwordProblem.isEmpty() ? 1 : 4;
    log(QStringLiteral("accountStatus=%1 error=%2")
            .arg(status)
            .arg(passwordProblem.isEmpty() ? QStringLiteral("nil") : passwordProblem));

    const Flag userDone = watchdog(QStringLiteral("userRecordID"));
    client->discover([client, userDone](const CalDavError& error, const CalDavClient::Home& home) {
        *userDone = true;
        log(QStringLiteral("userRecordID=%1 error=%2")
                .arg(error.isError() ? QStringLiteral("nil") : home.principal.path(),
                     printed(error)));
        if (error.isError()) {
            // Nothing further can reach the server; each step says so.
            for (const char* step : {"zoneSave", "recordSave", "dbChanges", "zoneChanges"})
                log(QString::fromLatin1(step) + QStringLiteral(" FAILED: ") + printed(error));
            log(QStringLiteral("subscriptionSave OK (no CalDAV counterpart)"));
            return;
        }
        runSteps(client, home.calendarHome);
    });
}

} // namespace CloudSelfTest
