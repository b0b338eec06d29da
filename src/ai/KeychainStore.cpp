#include "KeychainStore.h"

#include <qt6keychain/keychain.h>

#include <algorithm>

KeychainStore::KeychainStore(QString service, QObject* parent)
    : QObject(parent)
    , m_service(std::move(service)) {}

void KeychainStore::load(const QString& account, QObject* context, LoadResult done) {
    enqueue({Kind::Load, account, {}, context, std::move(done)});
}

void KeychainStore::save(const QString& text, const QString& account) {
    if (text.isEmpty())
        remove(account);
    else
        enqueue({Kind::Save, account, text, nullptr, nullptr});
}

void KeychainStore::remove(const QString& account) {
    enqueue({Kind::Remove, account, {}, nullptr, nullptr});
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
                if (job.kind == Kind::Load && job.context) {
                    // EntryNotFound, AccessDenied (locked) and OtherError (no Secret Service)
                    // all read as no secret.
                    const auto* read = static_cast<QKeychain::ReadPasswordJob*>(finished);
                    job.done(finished->error() == QKeychain::NoError
                                 ? std::optional<QString>(read->textData())
                                 : std::nullopt);
                }
                m_running = false;
                startNext();
            });
    keychainJob->start();
}
