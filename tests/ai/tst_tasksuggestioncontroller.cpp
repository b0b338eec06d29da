#include "AIConfig.h"
#include "Clock.h"
#include "FakeGemini.h"
#include "GeminiClient.h"
#include "KeychainStore.h"
#include "Preferences.h"
#include "TaskSuggestionController.h"
#include "TestData.h"

#include <QDBusInterface>
#include <QDBusMetaType>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr auto debounce = 300ms;

const QList<CategoryInfo> lists{{QUuid("0b9f2a3e-5c1d-4e8a-9f00-000000000001"), "工作", "3E63DD"},
                                {QUuid("0b9f2a3e-5c1d-4e8a-9f00-000000000002"), "个人", "46A758"}};

// The controller's editable field for a draft member ("dueDate" is draftDueDate), and a row's
// value for it, with moments and list names converted.
QMetaProperty draftField(const QString& member) {
    const QMetaObject& meta = TaskSuggestionController::staticMetaObject;
    return meta.property(
        meta.indexOfProperty(qPrintable("draft" + member.left(1).toUpper() + member.mid(1))));
}

QVariant fieldValue(const QString& member, const QJsonValue& value) {
    if (member == "title" || member == "note")
        return value.toString();
    if (member != "listId")
        return TestData::moment(value);
    for (const CategoryInfo& list : lists)
        if (list.name == value.toString())
            return list.id;
    return QUuid();
}

} // namespace

// The settings and the key on a real Secret Service, read back as the next start of the app
// reads them; then typing scripts against the fake service.
class TestTaskSuggestionController : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void preferences();
    void keyStore();
    void script_data() { TestData::addRows("suggestions.json", "scripts"); }
    void script();
    void lockedKeyringReadsAsNoKey(); // last: the keyring stays locked

private:
    // A new process's view: a new store and a new config on the same preferences file. The
    // earlier stores stay, as configs still in use write through them.
    std::unique_ptr<AIConfig> restart() {
        m_stores.push_back(std::make_unique<KeychainStore>());
        auto config = std::make_unique<AIConfig>(m_preferences, *m_stores.back());
        config->loadKey();
        if (!QSignalSpy(config.get(), &AIConfig::keyLoaded).wait(10000))
            qFatal("the key store never answered");
        return config;
    }
    void settle() {
        for (const auto& keys : m_stores)
            QVERIFY(keys->isIdle() || QSignalSpy(keys.get(), &KeychainStore::idle).wait(10000));
    }

    QTemporaryDir m_dir;
    Preferences m_preferences{m_dir.filePath("tavik.ini")};
    std::vector<std::unique_ptr<KeychainStore>> m_stores;
    QNetworkAccessManager m_network;
};

void TestTaskSuggestionController::preferences() {
    auto config = restart();
    QVERIFY(config->isEnabled() && !config->isActive());
    QCOMPARE(config->model(), AIConfig::defaultModel);

    config->setEnabled(false);
    config->setModel(QStringLiteral("  gemini-x "));
    config = restart();
    QVERIFY(!config->isEnabled()); // a stored false is told from an absent key
    QCOMPARE(config->model(), QStringLiteral("gemini-x"));

    config->setModel(QStringLiteral("   "));
    QCOMPARE(config->model(), QStringLiteral("   ")); // kept as typed until the next start
    QCOMPARE(config->effectiveModel(), AIConfig::defaultModel);
    QVERIFY(!m_preferences.settings().contains(Preferences::aiModelKey));

    m_preferences.settings().setValue(Preferences::aiEnabledKey, QStringLiteral("maybe"));
    QVERIFY(restart()->isEnabled());
}

void TestTaskSuggestionController::keyStore() {
    auto config = restart();
    QSignalSpy active(config.get(), &AIConfig::activeChanged);
    config->setApiKey(QStringLiteral(" key-1 "));
    QCOMPARE(active.count(), 1);
    settle();
    QCOMPARE(restart()->apiKey(), QStringLiteral(" key-1 ")); // stored untrimmed

    // A burst of keystrokes: whatever was still waiting, the last value is what stays.
    for (const char* typed : {"k", "ke", "key", "key-", "key-2", "key-23"})
        config->setApiKey(QString::fromLatin1(typed));
    settle();
    config = restart();
    QCOMPARE(config->apiKey(), QStringLiteral("key-23"));

    config->setApiKey(QStringLiteral("  \n"));
    settle();
    config = restart();
    QCOMPARE(config->apiKey(), QStringLiteral("  \n"));
    QVERIFY(!config->hasKey());

    config->setApiKey(QString()); // empty deletes the item
    settle();
    QCOMPARE(restart()->apiKey(), QString());
}

// A locked keyring answers a read with "not found": that reads as no key and deletes nothing.
void TestTaskSuggestionController::lockedKeyringReadsAsNoKey() {
    restart()->setApiKey(QStringLiteral("key-locked"));
    settle();
    QDBusInterface service("org.freedesktop.secrets", "/org/freedesktop/secrets",
                           "org.freedesktop.Secret.Service");
    const QList login{QDBusObjectPath("/org/freedesktop/secrets/collection/login")};
    QVERIFY(service.call("Lock", QVariant::fromValue(login)).errorName().isEmpty());

    auto config = restart();
    QCOMPARE(config->apiKey(), QString());
    QVERIFY(!config->isActive());
    settle();
    qDBusRegisterMetaType<QMap<QString, QString>>();
    const QMap<QString, QString> attributes{{"server", KeychainStore::defaultService},
                                            {"user", AIConfig::apiKeyAccount}};
    const QDBusMessage items = service.call("SearchItems", QVariant::fromValue(attributes));
    QCOMPARE(items.arguments().size(), 2); // unlocked, locked
    QCOMPARE(qdbus_cast<QList<QDBusObjectPath>>(items.arguments().at(1)).size(), 1);
}

// Each step types, waits, edits, or checks what the user sees and what reached the service.
void TestTaskSuggestionController::script() {
    QFETCH(QJsonObject, row);
    auto config = restart();
    config->setEnabled(row["enabled"].toBool(true));
    config->setApiKey(row["key"].toString("test-key"));
    FakeGemini fake;
    fake.answers = fixture("suggestions.json")["answers"].toObject();
    fake.fallback = row.contains("fallback") ? row["fallback"].toObject()
                                             : QJsonObject{{"status", 503}, {"text", ""}};
    GeminiClient client(&m_network, GeminiClient::Options{fake.url(), 5s, 5s});
    ManualClock clock(TestData::moment("2026-11-24T15:30"));
    TaskSuggestionController controller(*config, client, clock, {debounce});

    std::size_t seenBeforeTyping = 0;
    for (const QJsonValue& value : row["steps"].toArray()) {
        const QString what = value.toObject().keys().first();
        const QJsonValue arg = value[what];
        if (what == "type") {
            seenBeforeTyping = fake.seen.size();
            controller.inputChanged(arg.toString(), lists);
        } else if (what == "wait") {
            QTest::qWait(int(arg.toDouble() * debounce.count()));
        } else if (what == "settle") {
            QTRY_VERIFY_WITH_TIMEOUT(!controller.isBusy(), 5000);
        } else if (what == "inFlight") {
            // In flight means the service has the request, not only that it was sent.
            QTRY_VERIFY_WITH_TIMEOUT(
                controller.isAnalyzing() && fake.seen.size() > seenBeforeTyping, 5000);
        } else if (what == "advance") {
            clock.advance(arg.toInteger() * 1000);
        } else if (what == "dismiss" || what == "reset") {
            QVERIFY(QMetaObject::invokeMethod(&controller, qPrintable(what)));
        } else if (what == "config") {
            config->setApiKey(arg["key"].toString());
            config->setEnabled(arg["enabled"].toBool());
        } else if (what == "edit") {
            for (const QString& member : arg.toObject().keys())
                QVERIFY(draftField(member).write(&controller, fieldValue(member, arg[member])));
        } else if (what == "accept") {
            const bool hadCard = controller.hasSuggestion();
            const std::optional<EnhancedDraft> draft = controller.accept();
            QCOMPARE(draft.has_value(), arg.isObject());
            QCOMPARE(controller.hasSuggestion(), hadCard && !draft); // a refusal changes nothing
            for (int i = 0; draft && i < EnhancedDraft::staticMetaObject.propertyCount(); ++i) {
                const QMetaProperty member = EnhancedDraft::staticMetaObject.property(i);
                QCOMPARE(member.readOnGadget(&*draft),
                         fieldValue(member.name(), arg[member.name()]));
            }
        } else {
            QCOMPARE(what, QStringLiteral("expect"));
            const SeenRequest last = fake.seen.empty() ? SeenRequest() : fake.seen.back();
            const QJsonObject seen{{"card", controller.hasSuggestion()
                                                ? controller.suggestion()->title
                                                : QJsonValue()},
                                   {"analyzing", controller.isAnalyzing()},
                                   {"requests", int(fake.seen.size())},
                                   {"token", controller.suggestionToken()},
                                   {"sent", last.input},
                                   {"key", last.key}};
            for (const QString& name : arg.toObject().keys())
                if (seen.contains(name))
                    QCOMPARE(seen[name].toVariant(), arg[name].toVariant());
            for (const QString& member : arg["draft"].toObject().keys())
                QCOMPARE(draftField(member).read(&controller),
                         fieldValue(member, arg["draft"][member]));
            QVERIFY(last.prompt.startsWith(arg["prompt"].toString()));
            for (const SeenRequest& seen : fake.seen)
                QCOMPARE(seen.faults, QStringList());
        }
    }
    settle();
}

// The key store is the desktop's: each run, from ctest or by hand, re-runs itself inside a
// throwaway Secret Service of its own (keyring.sh).
int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("TAVIK_TEST_KEYRING")) {
        std::vector<char*> args{const_cast<char*>(TAVIK_KEYRING_SCRIPT)};
        args.insert(args.end(), argv, argv + argc + 1);
        execv(args[0], args.data());
        qFatal("cannot run %s", TAVIK_KEYRING_SCRIPT);
    }
    QCoreApplication app(argc, argv);
    TestTaskSuggestionController test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_tasksuggestioncontroller.moc"
