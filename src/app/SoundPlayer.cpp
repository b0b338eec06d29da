#include "SoundPlayer.h"

#include "theme/UiLog.h"

#include <QFileInfo>
#include <QPointer>
#include <QSoundEffect>
#include <QUrl>

namespace {

QPointer<SoundPlayer> sharedPlayer;

const AppSound allSounds[] = {AppSound::create, AppSound::complete, AppSound::uncomplete,
                              AppSound::celebration, AppSound::move};

QUrl urlFor(const QString& path) {
    if (path.startsWith(QLatin1Char(':')))
        return QUrl(QStringLiteral("qrc") + path);
    return QUrl::fromLocalFile(path);
}

} // namespace

SoundPlayer::SoundPlayer(QObject* parent)
    : SoundPlayer(resourceDirectory(), parent) {}

SoundPlayer::SoundPlayer(const QString& directory, QObject* parent)
    : QObject(parent)
    , m_directory(directory) {
    // The sounds ship inside the binary; one missing means a broken build, not a broken
    // board, so it is logged and that sound stays silent.
    const QStringList missing = missingSounds(m_directory);
    for (const QString& name : missing)
        qCWarning(lcUi) << "sound resource missing:" << filePath(name);
}

SoundPlayer::~SoundPlayer() = default;

SoundPlayer* SoundPlayer::shared() {
    return sharedPlayer.data();
}

void SoundPlayer::setShared(SoundPlayer* player) {
    sharedPlayer = player;
}

void SoundPlayer::setEnabled(bool enabled) {
    if (m_enabled == enabled)
        return;
    m_enabled = enabled;
    emit enabledChanged();
}

void SoundPlayer::play(AppSound sound) {
    if (!m_enabled)
        return;
    QSoundEffect* effect = player(AppSoundInfo::rawValue(sound));
    if (!effect)
        return;
    // stop() rewinds, so a sound that is still playing starts over: one voice per sound.
    effect->stop();
    effect->play();
}

QStringList SoundPlayer::missingSounds(const QString& directory) {
    QStringList missing;
    for (const AppSound sound : allSounds) {
        const QString name = AppSoundInfo::rawValue(sound);
        if (!QFileInfo::exists(directory + QLatin1Char('/') + name + QStringLiteral(".wav")))
            missing.append(name);
    }
    return missing;
}

QSoundEffect* SoundPlayer::cachedPlayer(const QString& name) const {
    return m_players.value(name, nullptr);
}

QSoundEffect* SoundPlayer::player(const QString& name) {
    if (QSoundEffect* cached = m_players.value(name, nullptr))
        return cached;
    const QString path = filePath(name);
    if (!QFileInfo::exists(path))
        return nullptr;

    auto* effect = new QSoundEffect(this);
    effect->setSource(urlFor(path));
    // Loading is asynchronous. A file that turns out unreadable is forgotten, so the next
    // play tries again rather than keeping a dead player.
    connect(effect, &QSoundEffect::statusChanged, this, [this, name, effect] {
        if (effect->status() != QSoundEffect::Error)
            return;
        if (m_players.value(name) == effect)
            m_players.remove(name);
        effect->deleteLater();
    });
    m_players.insert(name, effect);
    return effect;
}

QString SoundPlayer::filePath(const QString& name) const {
    return m_directory + QLatin1Char('/') + name + QStringLiteral(".wav");
}
