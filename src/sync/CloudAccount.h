#pragma once

#include "CalDavClient.h"
#include "KeychainStore.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>

class Preferences;
class QNetworkAccessManager;

// The user's CalDAV account: server address and user name in the preferences, the password
// in the Secret Service (never in the preferences, a log line, a URL or argv). Connecting
// runs discovery first and stores nothing unless it found a calendar home and the password
// was stored; disconnecting forgets the account and keeps the board.
class CloudAccount : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString serverUrl READ serverUrl NOTIFY accountChanged)
    Q_PROPERTY(QString username READ username NOTIFY accountChanged)
    Q_PROPERTY(bool configured READ isConfigured NOTIFY accountChanged)
    Q_PROPERTY(bool busy READ isBusy NOTIFY busyChanged)
    // What the last connect or disconnect found, or why the password could not be read.
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(bool messageIsError READ messageIsError NOTIFY messageChanged)
    // The account is stored but its password could not be read: the form asks for it again.
    Q_PROPERTY(bool needsPassword READ needsPassword NOTIFY messageChanged)
public:
    inline static const QString serverUrlKey = QStringLiteral("tavik.sync.serverUrl");
    inline static const QString usernameKey = QStringLiteral("tavik.sync.username");
    inline static const QString passwordAccount = QStringLiteral("caldav_password");

    CloudAccount(Preferences& preferences, KeychainStore& keys, QNetworkAccessManager* network,
                 QObject* parent = nullptr);

    [[nodiscard]] QString serverUrl() const;
    [[nodiscard]] QString username() const;
    [[nodiscard]] bool isConfigured() const;
    [[nodiscard]] bool isBusy() const { return m_busy; }
    [[nodiscard]] QString message() const { return m_message; }
    [[nodiscard]] bool messageIsError() const { return m_messageIsError; }
    [[nodiscard]] bool needsPassword() const { return m_needsPassword; }

    // The stored account with its password, or the key store's reason for not having one.
    void loadAccount(QObject* context,
                     std::function<void(const CalDavClient::Account&, const QString& error)> done);
    // The section's words for a password that could not be read.
    [[nodiscard]] static QString passwordProblem(const KeychainStore::Outcome& outcome);

    Q_INVOKABLE void connectAccount(const QString& serverUrl, const QString& username,
                                    const QString& password);
    Q_INVOKABLE void disconnectAccount();
    // The account as another process (the command line) just stored or removed it: the
    // running app connects or disconnects to match.
    void reload();
    // Shown by the section when the account could not be attached at launch; until a connect
    // works, the password can be typed again for the same account.
    void setProblem(const QString& text);

signals:
    void accountChanged();
    void busyChanged();
    void messageChanged();
    // The account works and is stored; the app attaches the mirror at once.
    void connected(const CalDavClient::Account& account);
    void disconnected();
    // The end of a connect, for the command line: whether it worked, and message().
    void connectFinished(bool ok);

private:
    void setBusy(bool busy);
    void setMessage(const QString& text, bool isError);
    void fail(const QString& text);

    Preferences& m_preferences;
    KeychainStore& m_keys;
    QNetworkAccessManager* m_network;
    bool m_busy = false;
    QString m_message;
    bool m_messageIsError = false;
    bool m_needsPassword = false;
};
