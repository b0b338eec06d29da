#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <deque>
#include <functional>
#include <optional>

// Secrets in the desktop's Secret Service, one item per service and account.
//
// Jobs run one at a time in the order asked: a write takes 0.1-0.5 s and the settings pane
// writes on every keystroke, so a write still waiting is replaced by a newer one for the
// same account, and the newest value always lands last. Nothing here deletes a secret unless
// asked to: a keyring that is merely locked reads as "locked", never as "not stored".
class KeychainStore : public QObject {
    Q_OBJECT

public:
    inline static const QString defaultService = QStringLiteral("dev.orlen.tavik");

    // The Secret Service's answer, which is not one bit.
    enum class Status {
        ok,
        notStored,  // the keyring is open and holds no such item
        locked,     // the keyring is locked: the item may well be there
        noKeyStore, // no session bus or no Secret Service on it
        failed,     // anything else (detail says what)
    };
    struct Outcome {
        Status status = Status::ok;
        QString secret; // for a read that found the item
        QString detail; // the key store's own words, for logs
    };

    explicit KeychainStore(QString service = defaultService, QObject* parent = nullptr);

    using LoadResult = std::function<void(const std::optional<QString>& secret)>;
    using Result = std::function<void(const Outcome& outcome)>;
    // `done` runs on this thread once the secret is read, unless `context` is gone by then.
    void load(const QString& account, QObject* context, LoadResult done);
    void read(const QString& account, QObject* context, Result done);
    // An empty text removes the item: an empty secret is never stored. `done`, if given, hears
    // how the write went; a write replaced by a newer one before it started hears nothing.
    void save(const QString& text, const QString& account, QObject* context = nullptr,
              Result done = {});
    void remove(const QString& account, QObject* context = nullptr, Result done = {});

    // No job running or waiting.
    [[nodiscard]] bool isIdle() const { return !m_running && m_queue.empty(); }

signals:
    void idle();

private:
    enum class Kind { Load, Save, Remove };
    struct Job {
        Kind kind;
        QString account;
        QString text;
        QPointer<QObject> context;
        Result done;
    };

    void enqueue(Job job);
    void startNext();

    QString m_service;
    std::deque<Job> m_queue;
    bool m_running = false;
};
