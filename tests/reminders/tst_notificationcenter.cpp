#include "Clock.h"
#include "NotificationCenter.h"
#include "ReminderTestSupport.h"
#include "TestData.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace ReminderTest;

namespace {
const QDateTime start = local(2024, 5, 14, 10, 0);

NotificationRequest request(const QString& identifier, const QDateTime& trigger,
                            const QString& body = QStringLiteral("工作")) {
    return NotificationRequest{identifier,
                               QStringLiteral("写周报"),
                               body,
                               QStringLiteral("CAT"),
                               {{QStringLiteral("taskId"), identifier}},
                               trigger};
}

const NotificationCategory category{
    QStringLiteral("CAT"),
    {{QStringLiteral("ONE"), QStringLiteral("一")}, {QStringLiteral("TWO"), QStringLiteral("二")}}};
} // namespace

class tst_NotificationCenter : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        m_desktop = std::make_unique<Desktop>();
    }
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid() && m_desktop->ready());
    }
    void cleanup() {
        QVERIFY2(!m_desktop->daemonWasAutostarted(), "a notification daemon started");
    }

    void deliversAtItsMoment() {
        ManualClock clock(start);
        auto center = makeCenter(clock);
        const QDateTime moment = start.addSecs(300);
        center->add(request(QStringLiteral("A"), start.addSecs(600), QStringLiteral("家")));
        center->add(request(QStringLiteral("B"), start.addSecs(200)));
        center->add(request(QStringLiteral("A"), moment));
        QCOMPARE(center->nextTrigger(), start.addSecs(200));
        center->removePending({QStringLiteral("B"), QStringLiteral("nothing")});
        QCOMPARE(center->nextTrigger(), moment);

        clock.setNow(moment.addMSecs(-1));
        center->checkDue();
        QTest::qWait(100);
        QCOMPARE(m_desktop->notifyCalls().size(), 0);
        QCOMPARE(center->pendingRequests().size(), 1);

        clock.setNow(moment);
        center->checkDue();
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
        const QVariantList call = m_desktop->notifyCalls().constFirst();
        QCOMPARE(call.at(3).toString(), QStringLiteral("写周报"));
        QCOMPARE(call.at(4).toString(), QStringLiteral("工作"));
        QCOMPARE(call.at(5).toStringList(), QStringList({"ONE", "一", "TWO", "二", "default", ""}));
        QVERIFY(center->pendingRequests().isEmpty());

        clock.advance(3600 * 1000);
        center->checkDue();
        QTest::qWait(100);
        QCOMPARE(m_desktop->notifyCalls().size(), 1);
    }

    void restartAfterTheMomentDeliversLateOnce() {
        ManualClock clock(start);
        const QDateTime moment = start.addSecs(3600);
        makeCenter(clock)->add(request(QStringLiteral("A"), moment, QString()));

        clock.setNow(moment.addSecs(7200));
        {
            auto center = makeCenter(clock);
            QVERIFY(center->pendingRequests().isEmpty());
            QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
            QCOMPARE(m_desktop->notifyCalls().constFirst().at(3).toString(),
                     QStringLiteral("写周报"));
            QCOMPARE(m_desktop->notifyCalls().constFirst().at(4).toString(),
                     QStringLiteral("（错过的提醒）"));
            QTest::qWait(100);
        }

        auto again = makeCenter(clock);
        QTRY_COMPARE(again->authorizationStatus(),
                     NotificationCenter::AuthorizationStatus::authorized);
        QTest::qWait(100);
        QCOMPARE(m_desktop->notifyCalls().size(), 1);
    }

    void unreadableStoreIsKeptAside() {
        const auto writeStore = [this](const QByteArray& bytes) {
            QFile file(storePath());
            return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
        };
        const QJsonObject good = request(QStringLiteral("A"), start.addSecs(600)).toJson();
        QJsonObject noTrigger = good;
        noTrigger.insert(QStringLiteral("identifier"), QStringLiteral("B"));
        noTrigger.insert(QStringLiteral("trigger"), QStringLiteral("someday"));
        QJsonObject noIdentifier = good;
        noIdentifier.remove(QStringLiteral("identifier"));
        QVERIFY(writeStore(QJsonDocument(QJsonObject{{QStringLiteral("pending"),
                                                      QJsonArray{noTrigger, good, noIdentifier}}})
                               .toJson()));
        ManualClock clock(start);
        QCOMPARE(makeCenter(clock)->pendingRequests(),
                 QList{request(QStringLiteral("A"), start.addSecs(600))});

        QVERIFY(writeStore("{\"pending\": [ not json"));
        {
            auto center = makeCenter(clock);
            QVERIFY(center->pendingRequests().isEmpty());
            center->add(request(QStringLiteral("A"), start.addSecs(600)));
        }
        QFile aside(storePath() + QStringLiteral(".corrupt"));
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), QByteArray("{\"pending\": [ not json"));
        QCOMPARE(makeCenter(clock)->pendingRequests().size(), 1);
    }

    void serverAnswers_data() { TestData::addRows("server_answers.json"); }

    void serverAnswers() {
        QFETCH(QJsonObject, row);
        const QString response = row[QStringLiteral("response")].toString();

        ManualClock clock(start);
        auto center = makeCenter(clock);
        const uint tested = deliver(*center, clock, QStringLiteral("TESTED"));
        const uint sentinel = deliver(*center, clock, QStringLiteral("SENTINEL"));
        QVERIFY(tested != 0 && sentinel != 0 && tested != sentinel);
        const uint target = row[QStringLiteral("own")].toBool() ? tested : sentinel + 100;

        QSignalSpy responses(center.get(), &NotificationCenter::responseReceived);
        for (int i = 0; i < 2; ++i) {
            const QJsonValue argument = row[QStringLiteral("argument")];
            if (argument.isString())
                m_desktop->actionInvoked(target, argument.toString());
            else
                m_desktop->notificationClosed(target, uint(argument.toInt()));
        }
        m_desktop->actionInvoked(sentinel, QStringLiteral("ONE"));
        QTRY_VERIFY(!responses.isEmpty() &&
                    responses.constLast().at(0).toString() == QLatin1String("ONE"));

        QList<QString> expected;
        if (!response.isEmpty())
            expected << response;
        expected << QStringLiteral("ONE");
        QList<QString> received;
        for (const QList<QVariant>& arguments : std::as_const(responses))
            received << arguments.at(0).toString();
        QCOMPARE(received, expected);
        if (!response.isEmpty()) {
            QCOMPARE(responses.constFirst().at(1).toMap(),
                     QVariantMap({{QStringLiteral("taskId"), QStringLiteral("TESTED")}}));
        }
        QTRY_VERIFY(m_desktop->server->methodCalls(QStringLiteral("CloseNotification"))
                        .contains(QVariantList{sentinel}));
    }

    void serverMissingAtTheMomentLosesNothing() {
        ManualClock clock(start);
        auto center = makeCenter(clock);
        QTRY_COMPARE(center->authorizationStatus(),
                     NotificationCenter::AuthorizationStatus::authorized);
        center->add(request(QStringLiteral("A"), start.addSecs(60)));

        m_desktop->server->stop();
        QTRY_COMPARE(center->authorizationStatus(),
                     NotificationCenter::AuthorizationStatus::denied);
        clock.advance(120 * 1000);
        center->checkDue();
        QTest::qWait(200);
        QVERIFY(center->pendingRequests().isEmpty());

        QVERIFY(m_desktop->server->start());
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
        QCOMPARE(m_desktop->notifyCalls().constFirst().at(4).toString(),
                 QStringLiteral("工作（错过的提醒）"));
    }

    void wakeFromSleepRechecks() {
        MockServer logind(m_desktop->bus.connection, m_desktop->address, {QStringLiteral("logind")},
                          QStringLiteral("org.freedesktop.login1"),
                          QStringLiteral("/org/freedesktop/login1"));
        QVERIFY(logind.start());
        const auto prepareForSleep = [&logind](bool sleeping) {
            logind.emitSignal(QStringLiteral("org.freedesktop.login1.Manager"),
                              QStringLiteral("PrepareForSleep"), QStringLiteral("b"), {sleeping});
        };

        ManualClock clock(start);
        auto center = makeCenter(clock);
        center->add(request(QStringLiteral("A"), start.addSecs(60)));
        QTest::qWait(100);

        clock.advance(3600 * 1000);
        prepareForSleep(true);
        QTest::qWait(200);
        QCOMPARE(m_desktop->notifyCalls().size(), 0);

        prepareForSleep(false);
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
    }

private:
    [[nodiscard]] std::unique_ptr<NotificationCenter> makeCenter(const Clock& clock) {
        auto center = std::make_unique<NotificationCenter>(clock, m_desktop->options(storePath()));
        center->setNotificationCategories({category});
        return center;
    }
    [[nodiscard]] QString storePath() const {
        return m_dir->filePath(QStringLiteral("pending-notifications.json"));
    }
    uint deliver(NotificationCenter& center, ManualClock& clock, const QString& identifier);

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<QTemporaryDir> m_dir;
};

uint tst_NotificationCenter::deliver(NotificationCenter& center, ManualClock& clock,
                                     const QString& identifier) {
    QSignalSpy delivered(&center, &NotificationCenter::notificationDelivered);
    center.add(request(identifier, clock.now().addSecs(60)));
    clock.advance(60 * 1000);
    center.checkDue();
    if (!delivered.wait(5000))
        return 0;
    return delivered.constFirst().at(1).toUInt();
}

QTEST_GUILESS_MAIN(tst_NotificationCenter)
#include "tst_notificationcenter.moc"
