#pragma once

#include <QObject>
#include <QString>

class KeychainStore;
class Preferences;

// The three things the user sets about AI: the switch and the model in the preferences, the
// API key in the key store. Every assignment writes through at once; observers hear only of
// real changes. Values keep what was typed; trimming happens where they are used.
class AIConfig : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isEnabled READ isEnabled WRITE setEnabled NOTIFY enabledChanged)
    Q_PROPERTY(QString model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(QString apiKey READ apiKey WRITE setApiKey NOTIFY apiKeyChanged)
    Q_PROPERTY(bool hasKey READ hasKey NOTIFY apiKeyChanged)
    Q_PROPERTY(bool isActive READ isActive NOTIFY activeChanged)
    Q_PROPERTY(QString effectiveModel READ effectiveModel NOTIFY modelChanged)
    Q_PROPERTY(QString defaultModel READ defaultModelName CONSTANT)

public:
    inline static const QString defaultModel = QStringLiteral("gemini-3.1-flash-lite");
    inline static const QString apiKeyAccount = QStringLiteral("gemini_api_key");

    // Reads the preferences now; the key waits for loadKey.
    AIConfig(Preferences& preferences, KeychainStore& keys, QObject* parent = nullptr);

    // Asks the key store for the key, once: the first use of the AI feature calls it, so
    // that launch never waits on the Secret Service. keyLoaded follows.
    void loadKey();

    // The process-wide instance that main installs; null before that.
    [[nodiscard]] static AIConfig* shared();
    static void setShared(AIConfig* config);

    [[nodiscard]] bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled);
    [[nodiscard]] QString model() const { return m_model; }
    void setModel(const QString& model);
    [[nodiscard]] QString apiKey() const { return m_apiKey; }
    void setApiKey(const QString& key);

    [[nodiscard]] bool hasKey() const { return !m_apiKey.trimmed().isEmpty(); }
    [[nodiscard]] bool isActive() const { return m_enabled && hasKey(); }
    [[nodiscard]] QString effectiveModel() const;
    [[nodiscard]] static QString defaultModelName() { return defaultModel; }

    // Whether the key store has answered the first read.
    [[nodiscard]] bool isKeyLoaded() const { return m_keyLoaded; }

signals:
    void enabledChanged();
    void modelChanged();
    void apiKeyChanged();
    void activeChanged();
    void keyLoaded();

private:
    void changeApiKey(const QString& key);

    Preferences& m_preferences;
    KeychainStore& m_keys;
    bool m_enabled = true;
    QString m_model;
    QString m_apiKey;
    bool m_keyLoaded = false;
    bool m_keyAsked = false;
    bool m_keyTyped = false;
};
