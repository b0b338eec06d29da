#include "CloudAccount.h"

#include "Preferences.h"
#include "SyncLog.h"

#include <QSettings>

CloudAccount::CloudAccount(Preferences& preferences, KeychainStore& keys,
                           QNetworkAccessManager* network, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_keys(keys)
    , m_network(network) {}

QString CloudAccount::serverUrl() const {
    return m_preferences.settings().value(serverUrlKey).toString();
}

QString CloudAccount::username() const {
    return m_preferences.settings().value(usernameKey).toString();
}

bool CloudAccount::isConfigured() const {
    return !serverUrl().trimmed().isEmpty() && !username().trimmed().isEmpty();
}

QString CloudAccount::passwordProblem(const KeychainStore::Outcome& outcome) {
    switch (outcome.status) {
    case KeychainStore::Status::ok:
        return {};
    case KeychainStore::Status::notStored:
        return QStringLiteral("钥匙串中没有同步密码，请重新连接");
    case KeychainStore::Status::locked:
        return QStringLiteral("钥匙串已锁定，解锁后重新打开 Tavik 即可同步");
    case KeychainStore::Status::noKeyStore:
        return QStringLiteral("找不到密钥服务（Secret Service），无法读取或保存同步密码");
    case KeychainStore::Status::failed:
        break;
    }
    return QStringLiteral("无法访问钥匙串：") + outcome.detail;
}

void CloudAccount::loadAccount(
    QObject* context,
    std::function<void(const CalDavClient::Account&, const QString& error)> done) {
    CalDavClient::Account account{QUrl(serverUrl().trimmed()), username().trimmed(), {}};
    m_keys.read(passwordAccount, context,
                [account, done = std::move(done)](const KeychainStore::Outcome& outcome) mutable {
                    account.password = outcome.secret;
                    done(account, passwordProblem(outcome));
                });
}

void CloudAccount::connectAccount(const QString& serverUrl, const QString& username,
                                  const QString& password) {
    if (m_busy)
        return;
    const QUrl url(serverUrl.trimmed(), QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty() ||
        (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https"))) {
        fail(QStringLiteral("服务器地址无效：需要以 https:// 或 http:// 开头的完整地址"));
        return;
    }
    if (!url.userInfo().isEmpty()) {
        fail(QStringLiteral("服务器地址里不能带用户名或密码"));
        return;
    }
    if (username.trimmed().isEmpty() || password.isEmpty()) {
        fail(QStringLiteral("请填写用户名和密码"));
        return;
    }
    setBusy(true);
    setMessage(QStringLiteral("正在连接…"), false);
    const CalDavClient::Account account{url, username.trimmed(), password};
    auto* probe = new CalDavClient(m_network, this);
    probe->setTimeout(20000);
    probe->setAccount(account);
    QPointer<CloudAccount> self(this);
    const auto finish = [this, self, probe](const CalDavError& error, const QString& why) {
        probe->deleteLater();
        if (!self)
            return;
        fail(why.isEmpty() ? error.userText() : why);
        qCInfo(lcSync) << "connect failed:" << error.detail;
    };
    probe->discover([=, this](const CalDavError& error, const CalDavClient::Home& home) {
        if (error.isError()) {
            finish(error,
                   error.kind == CalDavError::Kind::signIn
                       ? QStringLiteral("用户名或密码不对（服务器拒绝登录）")
                   : error.kind == CalDavError::Kind::network
                       ? QStringLiteral("无法连接服务器：") + error.detail
                       : QStringLiteral("这个地址上找不到 CalDAV 服务（%1）").arg(error.detail));
            return;
        }
        probe->listCollections(home.calendarHome, [=,
                                                   this](const CalDavError& listError,
                                                         const QList<CalendarCollection>& found) {
            if (listError.isError()) {
                finish(listError, QStringLiteral("找到了日历主目录，但无法列出其中的日历（%1）")
                                      .arg(listError.detail));
                return;
            }
            probe->deleteLater();
            const qsizetype count = found.size();
            // The password goes first: an account whose password could not be kept is not
            // stored at all.
            m_keys.save(
                password, passwordAccount, this,
                [this, account, count](const KeychainStore::Outcome& saved) {
                    if (saved.status != KeychainStore::Status::ok) {
                        fail(QStringLiteral("密码无法保存：") + passwordProblem(saved));
                        return;
                    }
                    QSettings& settings = m_preferences.settings();
                    settings.setValue(serverUrlKey, account.serverUrl.toString(QUrl::FullyEncoded));
                    settings.setValue(usernameKey, account.username);
                    settings.sync();
                    m_needsPassword = false;
                    setBusy(false);
                    setMessage(count == 0 ? QStringLiteral("已连接，服务器上还没有日历")
                                          : QStringLiteral("已连接，找到 %1 个日历").arg(count),
                               false);
                    emit accountChanged();
                    emit connected(account);
                    emit connectFinished(true);
                });
        });
    });
}

void CloudAccount::disconnectAccount() {
    if (m_busy)
        return;
    QSettings& settings = m_preferences.settings();
    settings.remove(serverUrlKey);
    settings.remove(usernameKey);
    settings.sync();
    m_needsPassword = false;
    setBusy(true);
    m_keys.remove(passwordAccount, this, [this](const KeychainStore::Outcome& removed) {
        setBusy(false);
        // The account is gone either way; a password the key store kept is said so.
        if (removed.status == KeychainStore::Status::ok)
            setMessage(QStringLiteral("已断开，本机任务都还在"), false);
        else
            setMessage(QStringLiteral("已断开，本机任务都还在；但密码没能从钥匙串删除：") +
                           passwordProblem(removed),
                       true);
        emit connectFinished(true);
    });
    emit accountChanged();
    emit disconnected();
}

void CloudAccount::reload() {
    m_preferences.settings().sync();
    emit accountChanged();
    if (!isConfigured()) {
        m_needsPassword = false;
        setMessage({}, false);
        emit disconnected();
        return;
    }
    loadAccount(this, [this](const CalDavClient::Account& account, const QString& problem) {
        setProblem(problem);
        if (problem.isEmpty())
            emit connected(account);
    });
}

void CloudAccount::setProblem(const QString& text) {
    const bool needs = !text.isEmpty() && isConfigured();
    if (needs != m_needsPassword) {
        m_needsPassword = needs;
        emit messageChanged();
    }
    setMessage(text, !text.isEmpty());
}

void CloudAccount::setBusy(bool busy) {
    if (m_busy == busy)
        return;
    m_busy = busy;
    emit busyChanged();
}

void CloudAccount::setMessage(const QString& text, bool isError) {
    if (m_message == text && m_messageIsError == isError)
        return;
    m_message = text;
    m_messageIsError = isError;
    emit messageChanged();
}

void CloudAccount::fail(const QString& text) {
    setBusy(false);
    setMessage(text, true);
    emit connectFinished(false);
}
