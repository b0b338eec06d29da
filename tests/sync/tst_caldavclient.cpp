#include "CalDavClient.h"
#include "CalDavServer.h"
#include "FaultProxy.h"
#include "TestData.h"
#include "VtodoCodec.h"

#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <optional>
#include <tuple>

namespace {

// One asynchronous call's answer, waited for with QTRY_VERIFY(a.done()).
template <typename... Values> struct Answer {
    std::optional<std::tuple<Values...>> values;
    auto callback() {
        return [this](const Values&... v) { values.emplace(v...); };
    }
    [[nodiscard]] bool done() const { return values.has_value(); }
    template <int N> [[nodiscard]] const auto& get() const { return std::get<N>(*values); }
};

TaskFields task(const QString& title) {
    TaskFields fields;
    fields.id = QUuid::createUuid();
    fields.title = title;
    fields.createdAt = fields.updatedAt = QDateTime::currentDateTimeUtc();
    return fields;
}

using Kind = CalDavError::Kind;

} // namespace

class TestCalDavClient : public QObject {
    Q_OBJECT
private:
    QNetworkAccessManager m_network;
    std::unique_ptr<CalDavServer> m_server;
    std::unique_ptr<CalDavClient> m_client;
    QUrl m_home;

    // The server of this row, running, and a client signed in to it.
    void startServer() {
        QFETCH(CalDavServer::Kind, server);
        m_server = std::make_unique<CalDavServer>(server);
        QVERIFY(m_server->start());
        m_client = std::make_unique<CalDavClient>(&m_network);
        m_client->setTimeout(20000);
        m_client->setAccount({m_server->url(), CalDavServer::username, CalDavServer::password});
        Answer<CalDavError, CalDavClient::Home> found;
        m_client->discover(found.callback());
        QTRY_VERIFY_WITH_TIMEOUT(found.done(), 20000);
        QVERIFY2(!found.get<0>().isError(), qPrintable(found.get<0>().detail));
        m_home = found.get<1>().calendarHome;
        QVERIFY(m_home.isValid());
    }

    QUrl makeList(const QString& slug, const QString& name) {
        CalendarCollection list;
        list.url = m_home.resolved(QUrl(slug + QLatin1Char('/')));
        list.displayName = name;
        list.color = QStringLiteral("#E5484DFF");
        list.order = 3;
        Answer<CalDavError> made;
        m_client->makeCalendar(list, made.callback());
        if (!QTest::qWaitFor([&] { return made.done(); }, 20000) || made.get<0>().isError())
            qFatal("MKCALENDAR %s failed", qPrintable(list.url.toString()));
        return list.url;
    }

    QList<CalendarCollection> collections() {
        Answer<CalDavError, QList<CalendarCollection>> listed;
        m_client->listCollections(m_home, listed.callback());
        if (!QTest::qWaitFor([&] { return listed.done(); }, 20000) || listed.get<0>().isError())
            qFatal("PROPFIND of the home failed");
        return listed.get<1>();
    }

    std::tuple<CalDavError, QString> put(const QUrl& url, const TaskFields& fields,
                                         const QString& etag) {
        Answer<CalDavError, QString> put;
        m_client->putItem(url, VtodoCodec::encode(fields, {}, QDateTime::currentDateTimeUtc()),
                          etag, put.callback());
        if (!QTest::qWaitFor([&] { return put.done(); }, 20000))
            qFatal("PUT never answered");
        return *put.values;
    }

    std::tuple<CalDavError, SyncDelta> sync(const QUrl& list, const QString& token) {
        Answer<CalDavError, SyncDelta> delta;
        m_client->syncCollection(list, token, delta.callback());
        if (!QTest::qWaitFor([&] { return delta.done(); }, 20000))
            qFatal("REPORT never answered");
        return *delta.values;
    }

    static void servers() {
        QTest::addColumn<CalDavServer::Kind>("server");
        QTest::newRow("radicale") << CalDavServer::Kind::radicale;
        QTest::newRow("xandikos") << CalDavServer::Kind::xandikos;
    }

private slots:
    void cleanup() {
        m_client.reset();
        m_server.reset();
    }

    void lists_data() { servers(); }
    // Lists are calendar collections, with the name and colour other clients show.
    void lists() {
        startServer();
        const QUrl list = makeList(QStringLiteral("groceries"), QStringLiteral("买菜 & more"));
        const auto named = [&](const QString& name) -> std::optional<CalendarCollection> {
            for (const CalendarCollection& c : collections())
                if (c.displayName == name)
                    return c;
            return std::nullopt;
        };
        const auto made = named(QStringLiteral("买菜 & more"));
        QVERIFY(made);
        QCOMPARE(made->url.path(), list.path());
        QVERIFY(made->color.startsWith(QLatin1String("#E5484D")));
        QVERIFY(!made->syncToken.isEmpty() || !made->ctag.isEmpty());

        CalendarCollection renamed = *made;
        renamed.displayName = QStringLiteral("Food");
        Answer<CalDavError> patched;
        m_client->updateCollection(renamed, patched.callback());
        QTRY_VERIFY_WITH_TIMEOUT(patched.done(), 20000);
        QVERIFY2(!patched.get<0>().isError(), qPrintable(patched.get<0>().detail));
        QVERIFY(named(QStringLiteral("Food")));
        QVERIFY(!named(QStringLiteral("买菜 & more")));
    }

    void items_data() { servers(); }
    // The write rules the mirror depends on: no blind overwrite, no duplicate UID, and a
    // delta that names what changed and what went.
    void items() {
        startServer();
        const QUrl list = makeList(QStringLiteral("tasks"), QStringLiteral("Tasks"));
        const auto [firstError, start] = sync(list, {});
        QVERIFY2(!firstError.isError(), qPrintable(firstError.detail));
        QVERIFY(!start.token.isEmpty());

        TaskFields milk = task(QStringLiteral("买牛奶 — two litres"));
        const QUrl href = list.resolved(QUrl(milk.id.toString(QUuid::WithoutBraces) + ".ics"));
        const auto [created, etag] = put(href, milk, {});
        QVERIFY2(!created.isError(), qPrintable(created.detail));

        // A retried create and a stale ETag are both refused as conflicts.
        QCOMPARE(std::get<0>(put(href, milk, {})).kind, Kind::conflict);
        QCOMPARE(std::get<0>(put(href, milk, QStringLiteral("\"stale\""))).kind, Kind::conflict);
        // The same UID under another name is refused, not stored twice.
        const auto [clash, none] = put(list.resolved(QUrl("other-name.ics")), milk, {});
        QCOMPARE(clash.kind, Kind::rejected);

        milk.title = QStringLiteral("Oat milk");
        const auto [updated, etag2] = put(href, milk, etag);
        QVERIFY2(!updated.isError(), qPrintable(updated.detail));

        Answer<CalDavError, CalendarItem> fetched;
        m_client->fetchItem(href, fetched.callback());
        QTRY_VERIFY_WITH_TIMEOUT(fetched.done(), 20000);
        TaskFields back;
        QString why;
        QVERIFY(VtodoCodec::decode(fetched.get<1>().data, &back, &why));
        QCOMPARE(back.title, milk.title);
        const QString current = fetched.get<1>().etag.isEmpty() ? etag2 : fetched.get<1>().etag;

        Answer<CalDavError, QList<CalendarItem>> listed;
        m_client->listItems(list, true, listed.callback());
        QTRY_VERIFY_WITH_TIMEOUT(listed.done(), 20000);
        QCOMPARE(listed.get<1>().size(), 1);
        QCOMPARE(VtodoCodec::uid(listed.get<1>().first().data),
                 milk.id.toString(QUuid::WithoutBraces));

        const auto [deltaError, delta] = sync(list, start.token);
        QVERIFY(!deltaError.isError());
        QCOMPARE(delta.changed.size(), 1);
        QCOMPARE(delta.changed.first().url.path(), href.path());

        Answer<CalDavError> staleDelete, removed;
        m_client->deleteItem(href, QStringLiteral("\"stale\""), staleDelete.callback());
        QTRY_VERIFY_WITH_TIMEOUT(staleDelete.done(), 20000);
        QCOMPARE(staleDelete.get<0>().kind, Kind::conflict);
        m_client->deleteItem(href, current, removed.callback());
        QTRY_VERIFY_WITH_TIMEOUT(removed.done(), 20000);
        QVERIFY2(!removed.get<0>().isError(), qPrintable(removed.get<0>().detail));

        const auto [goneError, gone] = sync(list, delta.token);
        QVERIFY(!goneError.isError());
        QCOMPARE(gone.removed.size(), 1);
        QCOMPARE(gone.removed.first().path(), href.path());
        QVERIFY(gone.changed.isEmpty());

        // Radicale refuses an unknown token with 403, Xandikos with 500: both mean "start over".
        QCOMPARE(std::get<0>(sync(list, QStringLiteral("http://example.com/sync/bogus"))).kind,
                 Kind::tokenRefused);
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

    // A wrong password is a sign-in problem, a server that is gone a network one.
    void failures() {
        CalDavServer server(CalDavServer::Kind::radicale);
        QVERIFY(server.start());
        CalDavClient client(&m_network);
        client.setAccount({server.url(), CalDavServer::username, QStringLiteral("wrong")});
        Answer<CalDavError, CalDavClient::Home> refused;
        client.discover(refused.callback());
        QTRY_VERIFY_WITH_TIMEOUT(refused.done(), 20000);
        QCOMPARE(refused.get<0>().kind, Kind::signIn);
        QCOMPARE(refused.get<0>().userText(),
                 QStringLiteral("未登录同步账户 — 在设置中登录后会自动恢复同步"));

        server.stop();
        client.setAccount({server.url(), CalDavServer::username, CalDavServer::password});
        Answer<CalDavError, CalDavClient::Home> unreachable;
        client.discover(unreachable.callback());
        QTRY_VERIFY_WITH_TIMEOUT(unreachable.done(), 20000);
        QCOMPARE(unreachable.get<0>().kind, Kind::network);
        QCOMPARE(unreachable.get<0>().userText(), QStringLiteral("网络不可用，恢复后会自动重试"));
    }
};

QTEST_GUILESS_MAIN(TestCalDavClient)
#include "tst_caldavclient.moc"
