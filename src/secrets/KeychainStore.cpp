#include "KeychainStore.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <qt6keychain/keychain.h>

#include <algorithm>

namespace {

const QString secretsService = QStringLiteral("org.freedesktop.secrets");

// QtKeychain reads a locked keyring's item as EntryNotFound, so the collection is asked
// itself. Checked for a registered owner first: calling the name would start a daemon.
bool defaultCollectionLocked() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface() ||
        !bus.interface()->isServiceRegistered(secretsService).value())
        return false;
    QDBusMessage get = QDBusMessage::createMethodCall(
        secretsService, QStringLiteral("/org/freedesktop/secrets/aliases/default"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QStringLiteral("org.freedesktop.Secret.Collection") << QStringLiteral("Locked");
    const QDBusMessage reply = bus.call(get, QDBus::Block, 2000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return false;
    return reply.arguments().constFirst().value<QDBusVariant>().variant().toBool();
}

KeychainStore::Outcome outcomeOf(const QKeychain::Job& job) {
    KeychainStore::Outcome outcome;
    outcome.detail = job.errorString();
    switch (job.error()) {
    case QKeychain::NoError:
        outcome.status = KeychainStore::Status::ok;
        outcome.detail.clear();
        break;
    case QKeychain::EntryNotFound:
        outcome.status = defaultCollectionLocked() ? KeychainStore::Status::locked
                                                   : KeychainStore::Status::notStored;
        break;
    case QKeychain::AccessDenied:
    case QKeychain::AccessDeniedByUser:
        outcome.status = KeychainStore::Status::locked;
        break;
    case QKeychain::NoBackendAvailable:
    case QKeychain::OtherError:
        // No bus or no Secret Service comes back as a D-Bus complaint.
        outcome.status = QDBusConnection::sessionBus().isConnected() &&
                                 QDBusConnection::sessionBus().interface() &&
                                 QDBusConnection::sessionBus()
                                     .interface()
                                     ->isServiceRegistered(secretsService)
                                     .value()
                             ? KeychainStore::Status::failed
                             : KeychainStore::Status::noKeyStore;
        break;
    default:
        outcome.status = KeychainStore::Status::failed;
        break;
    }
    return outcome;
}

} // namespace

KeychainStore::KeychainStore(QString service, QObject* parent)
    : QObject(parent)
    , m_service(std::move(service)) {}

void KeychainStore::load(const QString& account, QObject* context, LoadResult done) {
    read(account, context, [done = std::move(done)](const Outcome& outcome) {
        done(outcome.status == Status::ok ? std::optional<QString>(outcome.secret) : std::nullopt);
    });
}

void KeychainStore::read(const QString& account, QObject* context, Result done) {
    enqueue({Kind::Load, account, {}, context, std::move(done)});
}

void KeychainStore::save(const QString& text, const QString& account, QObject* context,
                         Result done) {
    if (text.isEmpty())
        remove(account, context, std::move(done));
    else
        enqueue({Kind::Save, account, text, context, std::move(done)});
}

void KeychainStore::remove(const QString& account, QObject* context, Result done) {
    enqueue({Kind::Remove, account, {}, context, std::move(done)});
}

void KeychainStore::enqueue(Job job) {
    if (job.kind != Kind::Load) {
        // Only the last of the waiting writes for an account matters.
        std::erase_if(m_queue, [&job](const Job& waiting) {
            return waiting.kind != Kind::Load && waiting.account == job.account;
        });
    }
    m_queue.push_back(std::move(job));
    if (!m_running)
        startNext();
}

void KeychainStore::startNext() {
    if (m_queue.empty()) {
        emit idle();
        return;
    }
    Job job = std::move(m_queue.front());
    m_queue.pop_front();
    m_running = true;

    QKeychain::Job* keychainJob = nullptr;
    switch (job.kind) {
    case Kind::Load:
        keychainJob = new QKeychain::ReadPasswordJob(m_service, this);
        break;
    case Kind::Save: {
        auto* write = new QKeychain::WritePasswordJob(m_service, this);
        write->setTextData(job.text);
        keychainJob = write;
        break;
    }
    case Kind::Remove:
        keychainJob = new QKeychain::DeletePasswordJob(m_service, this);
        break;
    }
    keychainJob->setAutoDelete(true);
    keychainJob->setKey(job.account);
    connect(keychainJob, &QKeychain::Job::finished, this,
            [this, job = std::move(job)](QKeychain::Job* finished) {
                if (job.done && job.context) {
                    Outcome outcome = outcomeOf(*finished);
                    if (job.kind == Kind::Load && outcome.status == Status::ok)
                        outcome.secret =
                            static_cast<QKeychain::ReadPasswordJob*>(finished)->textData();
                    // Removing what is not there is what was asked for.
                    if (job.kind == Kind::Remove && outcome.status == Status::notStored)
                        outcome.status = Status::ok;
                    job.done(outcome);
                }
                m_running = false;
                startNext();
            });
    keychainJob->start();
}
