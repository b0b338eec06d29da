#include "CalDavServer.h"
#include "CloudAccount.h"
#include "KeychainStore.h"
#include "Preferences.h"

#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <unistd.h>

// The account against a real Radicale and a real Secret Service (gnome-keyring, see
// keyring.sh), or with no key store at all (TAVIK_TEST_NO_KEYSTORE: no session bus). What the
// key store answers decides the words, and no answer at launch ever clears the account.
class TestCloudAccount : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_server.start());
    }
    void connectThenReadBack();
    void lockedKeyringKeepsTheAccount(); // last: the keyring stays locked

private:
    struct Loaded {
        CalDavClient::Account account;
        QString problem;
    };
    // A fresh account object over the same preferences file, as the next launch makes one.
    void restart() {
        m_account.reset();
        m_preferences = std::make_unique<Preferences>(m_dir.filePath("tavik.ini"));
        m_account = std::make_unique<CloudAccount>(*m_preferences, m_keys, &m_network);
    }
    Loaded load() {
        Loaded loaded;
        bool done = false;
        m_account->loadAccount(this, [&](const CalDavClient::Account& a, const QString& why) {
            loaded = {a, why};
            done = true;
        });
        if (!QTest::qWaitFor([&] { return done; }, 10000))
            qFatal("the key store did not answer");
        return loaded;
    }
    bool connectWith(const QString& password) {
        QSignalSpy finished(m_account.get(), &CloudAccount::connectFinished);
        m_account->connectAccount(m_server.url().toString(), CalDavServer::username, password);
        if (finished.isEmpty() && !finished.wait(30000))
            qFatal("connect never finished");
        return finished.constFirst().constFirst().toBool();
    }
    [[nodiscard]] QByteArray preferencesFile() const {
        QFile file(m_dir.filePath("tavik.ini"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    const bool m_noKeyStore = qEnvironmentVariableIsSet("TAVIK_TEST_NO_KEYSTORE");
    QTemporaryDir m_dir;
    CalDavServer m_server{CalDavServer::Kind::radicale};
    QNetworkAccessManager m_network;
    KeychainStore m_keys;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<CloudAccount> m_account;
};

void TestCloudAccount::connectThenReadBack() {
    restart();
    // Discovery runs first: a wrong password stores nothing anywhere.
    QVERIFY(!connectWith(QStringLiteral("wrong")));
    QVERIFY(m_account->messageIsError());
    QVERIFY(!m_account->isConfigured());

    const bool connected = connectWith(CalDavServer::password);
    if (m_noKeyStore) {
        // The server said yes, but an account whose password can't be kept is not stored.
        QVERIFY(!connected);
        QVERIFY(m_account->message().contains(
            CloudAccount::passwordProblem({KeychainStore::Status::noKeyStore, {}, {}})));
        QVERIFY(!m_account->isConfigured());
        m_preferences->settings().setValue(CloudAccount::serverUrlKey, m_server.url());
        m_preferences->settings().setValue(CloudAccount::usernameKey, CalDavServer::username);
        restart();
        QCOMPARE(load().problem,
                 CloudAccount::passwordProblem({KeychainStore::Status::noKeyStore, {}, {}}));
        QVERIFY(m_account->isConfigured());
        return;
    }
    QVERIFY2(connected, qPrintable(m_account->message()));
    QVERIFY(m_account->message().contains(QStringLiteral("已连接")));
    QVERIFY(!preferencesFile().contains("pässword"));

    restart();
    const Loaded loaded = load();
    QCOMPARE(loaded.problem, QString());
    QCOMPARE(loaded.account.password, CalDavServer::password);
    QCOMPARE(loaded.account.serverUrl, m_server.url());

    // Disconnecting forgets both halves; the next launch finds the password not stored.
    QSignalSpy finished(m_account.get(), &CloudAccount::connectFinished);
    m_account->disconnectAccount();
    QVERIFY(finished.wait(10000));
    QVERIFY(!m_account->isConfigured());
    m_preferences->settings().setValue(CloudAccount::serverUrlKey, m_server.url());
    m_preferences->settings().setValue(CloudAccount::usernameKey, CalDavServer::username);
    restart();
    QCOMPARE(load().problem,
             CloudAccount::passwordProblem({KeychainStore::Status::notStored, {}, {}}));
}

void TestCloudAccount::lockedKeyringKeepsTheAccount() {
    if (m_noKeyStore)
        return; // there is no keyring to lock
    restart();
    QVERIFY(connectWith(CalDavServer::password));
    QDBusInterface service("org.freedesktop.secrets", "/org/freedesktop/secrets",
                           "org.freedesktop.Secret.Service");
    const QList login{QDBusObjectPath("/org/freedesktop/secrets/collection/login")};
    QVERIFY(service.call("Lock", QVariant::fromValue(login)).errorName().isEmpty());

    // The item is still there; QtKeychain reads it as missing, which must not say "not stored"
    // nor clear anything.
    restart();
    QCOMPARE(load().problem,
             CloudAccount::passwordProblem({KeychainStore::Status::locked, {}, {}}));
    QVERIFY(m_account->isConfigured());
    QCOMPARE(m_account->serverUrl(), m_server.url().toString());
}

// Each run re-runs itself inside a throwaway Secret Service of its own (keyring.sh), unless
// it is the run without any key store.
int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("TAVIK_TEST_KEYRING") &&
        !qEnvironmentVariableIsSet("TAVIK_TEST_NO_KEYSTORE")) {
        std::vector<char*> args{const_cast<char*>(TAVIK_KEYRING_SCRIPT)};
        args.insert(args.end(), argv, argv + argc + 1);
        execv(args[0], args.data());
        qFatal("cannot run %s", TAVIK_KEYRING_SCRIPT);
    }
    QCoreApplication app(argc, argv);
    TestCloudAccount test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cloudaccount.moc"
