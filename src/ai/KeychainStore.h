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
// same account, and the newest value always lands last. Failures are silent: a locked or
// absent keyring reads as no secret, and nothing here deletes a secret unless asked to.
class KeychainStore : public QObject {
    Q_OBJECT

public:
    inline static const QString defaultService = QStringLiteral("dev.orlen.tavik");

    explicit KeychainStore(QString service = defaultService, QObject* parent = nullptr);

    using LoadResult = std::function<void(const std::optional<QString>& secret)>;
    // `done` runs on this thread once the secret is read, unless `context` is gone by then.
    void load(const QString& account, QObject* context, LoadResult done);
    // An empty text removes the item: an empty secret is never stored.
    void save(const QString& text, const QString& account);
    void remove(const QString& account);

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
        LoadResult done;
    };

    void enqueue(Job job);
    void startNext();

    QString m_service;
    std::deque<Job> m_queue;
    bool m_running = false;
};
