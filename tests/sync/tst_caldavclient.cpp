#include "FaultProxy.h"
#include "MirrorBoard.h"
#include "TestData.h"

namespace {

using Kind = CalDavError::Kind;

TaskFields task(const QString& title) {
    TaskFields fields;
    fields.id = QUuid::createUuid();
    fields.title = title;
    fields.createdAt = fields.updatedAt = QDateTime::currentDateTimeUtc();
    return fields;
}

} // namespace

class TestCalDavClient : public QObject {
    Q_OBJECT
private:
    QNetworkAccessManager m_network;

    std::tuple<CalDavError, QString> put(CalDavClient& client, const QUrl& url,
                                         const TaskFields& fields, const QString& etag) {
        const QByteArray text = VtodoCodec::encode(fields, {}, QDateTime::currentDateTimeUtc());
        return await<CalDavError, QString>(
            [&](auto done) { client.putItem(url, text, etag, done); });
    }

private slots:
    void writeRules_data() { CalDavServer::addRows(); }
    // What the mirror's writes depend on, on both servers: no blind overwrite, no second
    // copy of a UID, and a wrong password told apart from a server that is gone.
    void writeRules() {
        QFETCH(CalDavServer::Kind, server);
        CalDavServer caldav(server);
        QVERIFY(caldav.start());
        CalDavClient client(&m_network);
        client.setAccount({caldav.url(), CalDavServer::username, CalDavServer::password});
        const auto [discoverError, home] =
            await<CalDavError, CalDavClient::Home>([&](auto done) { client.discover(done); });
        QVERIFY2(!discoverError.isError(), qPrintable(discoverError.detail));
        CalendarCollection list;
        list.url = home.calendarHome.resolved(QUrl(QStringLiteral("tasks/")));
        list.displayName = QStringLiteral("Tasks");
        QCOMPARE(
            std::get<0>(await<CalDavError>([&](auto d) { client.makeCalendar(list, d); })).kind,
            Kind::none);

        TaskFields milk = task(QStringLiteral("买牛奶 — two litres"));
        const QUrl href = list.url.resolved(QUrl(milk.id.toString(QUuid::WithoutBraces) + ".ics"));
        const auto [created, etag] = put(client, href, milk, {});
        QVERIFY2(!created.isError(), qPrintable(created.detail));
        // A retried create and a stale ETag are both refused as conflicts; the same UID under
        // another name is refused, not stored twice.
        QCOMPARE(std::get<0>(put(client, href, milk, {})).kind, Kind::conflict);
        QCOMPARE(std::get<0>(put(client, href, milk, QStringLiteral("\"stale\""))).kind,
                 Kind::conflict);
        QCOMPARE(std::get<0>(put(client, list.url.resolved(QUrl("b.ics")), milk, {})).kind,
                 Kind::rejected);
        const auto remove = [&](const QString& ifMatch) {
            return std::get<0>(
                await<CalDavError>([&](auto done) { client.deleteItem(href, ifMatch, done); }));
        };
        QCOMPARE(remove(QStringLiteral("\"stale\"")).kind, Kind::conflict);
        QCOMPARE(remove(etag).kind, Kind::none);

        // Only Radicale here checks passwords.
        client.setAccount({caldav.url(), CalDavServer::username, QStringLiteral("wrong")});
        if (server == CalDavServer::Kind::radicale)
            QCOMPARE(std::get<0>(put(client, href, milk, {})).kind, Kind::signIn);
        caldav.stop();
        const CalDavError unreachable = std::get<0>(put(client, href, milk, {}));
        QCOMPARE(unreachable.kind, Kind::network);
        QCOMPARE(unreachable.userText(), QStringLiteral("网络不可用，恢复后会自动重试"));
    }

    // Each fault ends in the class the mirror acts on and the words the user reads.
    void faults_data() { TestData::addRows("faults.json"); }
    void faults() {
        QFETCH(QJsonObject, row);
        FaultProxy server(row["responses"].toArray());
        CalDavClient client(&m_network);
        client.setAccount({server.url(), CalDavServer::username, CalDavServer::password});
        const QUrl collection = server.url().resolved(QUrl(QStringLiteral("/cal/")));
        std::optional<CalDavError> error;
        QStringList paths;
        const QString operation = row["operation"].toString();
        if (operation == u"put") {
            client.putItem(collection.resolved(QUrl(QStringLiteral("x.ics"))),
                           VtodoCodec::encode(task(QStringLiteral("x")), {}, QDateTime()), {},
                           [&](const CalDavError& e, const QString&) { error = e; });
        } else if (operation == u"list") {
            client.listItems(collection, true,
                             [&](const CalDavError& e, const QList<CalendarItem>& items) {
                                 for (const CalendarItem& item : items)
                                     paths.append(item.url.path());
                                 error = e;
                             });
        } else {
            client.syncCollection(collection, QStringLiteral("token-1"),
                                  [&](const CalDavError& e, const SyncDelta&) { error = e; });
        }
        QTRY_VERIFY_WITH_TIMEOUT(error.has_value(), 20000);
        static const QStringList kinds{"none",     "network",  "signIn",   "quota", "tokenRefused",
                                       "conflict", "notFound", "rejected", "server"};
        QCOMPARE(kinds.at(static_cast<int>(error->kind)), row["kind"].toString());
        if (row.contains("text"))
            QCOMPARE(error->userText(), row["text"].toString());
        if (row.contains("retryAfter"))
            QCOMPARE(error->retryAfterSecs, row["retryAfter"].toInt());
        if (row.contains("methods"))
            QCOMPARE(server.requests, row["methods"].toVariant().toStringList());
        if (row.contains("paths"))
            QCOMPARE(paths, row["paths"].toVariant().toStringList());
    }
};

QTEST_GUILESS_MAIN(TestCalDavClient)
#include "tst_caldavclient.moc"
