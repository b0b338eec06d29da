#include "AIConfig.h"

#include "KeychainStore.h"
#include "Preferences.h"

#include <QPointer>

namespace {

QPointer<AIConfig> sharedConfig;

// Absent, or anything but a boolean, reads as on. INI files hand booleans back as text.
bool readEnabled(const QVariant& value) {
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        if (text == QLatin1String("false"))
            return false;
    }
    return true;
}

} // namespace

AIConfig::AIConfig(Preferences& preferences, KeychainStore& keys, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_keys(keys) {
    QSettings& settings = m_preferences.settings();
    m_enabled = readEnabled(settings.value(Preferences::aiEnabledKey));
    m_model = settings.value(Preferences::aiModelKey, defaultModel).toString();
}

void AIConfig::loadKey() {
    if (m_keyAsked)
        return;
    m_keyAsked = true;
    m_keys.load(apiKeyAccount, this, [this](const std::optional<QString>& secret) {
        m_keyLoaded = true;
        // A key typed while the store was still reading is newer than what it read.
        if (!m_keyTyped)
            changeApiKey(secret.value_or(QString()));
        emit keyLoaded();
    });
}

AIConfig* AIConfig::shared() {
    return sharedConfig.data();
}

void AIConfig::setShared(AIConfig* config) {
    sharedConfig = config;
}

void AIConfig::setEnabled(bool enabled) {
    m_preferences.settings().setValue(Preferences::aiEnabledKey, enabled);
    if (enabled == m_enabled)
        return;
    const bool wasActive = isActive();
    m_enabled = enabled;
    emit enabledChanged();
    if (wasActive != isActive())
        emit activeChanged();
}

void AIConfig::setModel(const QString& model) {
    // A blank model is forgotten, so the next start falls back to the default.
    const QString trimmed = model.trimmed();
    if (trimmed.isEmpty())
        m_preferences.settings().remove(Preferences::aiModelKey);
    else
        m_preferences.settings().setValue(Preferences::aiModelKey, trimmed);
    if (model == m_model)
        return;
    m_model = model;
    emit modelChanged();
}

void AIConfig::setApiKey(const QString& key) {
    m_keyTyped = true;
    m_keys.save(key, apiKeyAccount);
    changeApiKey(key);
}

QString AIConfig::effectiveModel() const {
    const QString trimmed = m_model.trimmed();
    return trimmed.isEmpty() ? defaultModel : trimmed;
}

void AIConfig::changeApiKey(const QString& key) {
    if (key == m_apiKey)
        return;
    const bool wasActive = isActive();
    m_apiKey = key;
    emit apiKeyChanged();
    if (wasActive != isActive())
        emit activeChanged();
}
