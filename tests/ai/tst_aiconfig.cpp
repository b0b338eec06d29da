#include "AIConfig.h"
#include "KeychainStore.h"
#include "KeyringTestMain.h"
#include "Preferences.h"

#include <QDBusInterface>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <memory>

// The settings through the preferences file and the key through a real Secret Service, read
// back the way the next start of the app reads them.
class TestAIConfig : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void preferences();
    void keyStore();
    void lockedKeyringReadsAsNoKey();

private:
    // A new process's view: a new store and a new config on the same preferences file. The
    // earlier stores stay, as configs still in use write through them.
    std::unique_ptr<AIConfig> restart() {
        m_stores.push_back(std::make_unique<KeychainStore>());
        auto config = std::make_unique<AIConfig>(m_preferences, *m_stores.back());
        QSignalSpy loaded(config.get(), &AIConfig::keyLoaded);
        if (!loaded.wait(10000))
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
};

void TestAIConfig::preferences() {
    auto config = restart();
    QVERIFY(config->isEnabled());
    QCOMPARE(config->model(), AIConfig::defaultModel);
    QVERIFY(!config->hasKey());
    QVERIFY(!config->isActive());

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

void TestAIConfig::keyStore() {
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
    QVERIFY(!config->isActive());

    config->setApiKey(QString()); // empty deletes the item
    settle();
    QCOMPARE(restart()->apiKey(), QString());
}

// A locked keyring answers a read with "not found": that reads as no key and deletes nothing.
void TestAIConfig::lockedKeyringReadsAsNoKey() {
    restart()->setApiKey(QStringLiteral("key-locked"));
    settle();
    QDBusInterface service(QStringLiteral("org.freedesktop.secrets"),
                           QStringLiteral("/org/freedesktop/secrets"),
                           QStringLiteral("org.freedesktop.Secret.Service"));
    const QList<QDBusObjectPath> login{
        QDBusObjectPath(QStringLiteral("/org/freedesktop/secrets/collection/login"))};
    QVERIFY(service.call(QStringLiteral("Lock"), QVariant::fromValue(login)).errorName().isEmpty());

    auto config = restart();
    QCOMPARE(config->apiKey(), QString());
    QVERIFY(!config->isActive());
    settle();
    qDBusRegisterMetaType<QMap<QString, QString>>();
    const QMap<QString, QString> attributes{
        {QStringLiteral("server"), KeychainStore::defaultService},
        {QStringLiteral("user"), AIConfig::apiKeyAccount}};
    const QDBusMessage items =
        service.call(QStringLiteral("SearchItems"), QVariant::fromValue(attributes));
    QCOMPARE(items.arguments().size(), 2); // unlocked, locked
    QCOMPARE(qdbus_cast<QList<QDBusObjectPath>>(items.arguments().at(1)).size(), 1);
}

TAVIK_KEYRING_TEST_MAIN(TestAIConfig)
#include "tst_aiconfig.moc"
