#pragma once

#include "AppSound.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

class QSoundEffect;

// Plays the board's five feedback sounds. Each sound gets one player, created at its first
// play and kept, so a repeat costs only a rewind; replaying a sound that still plays starts
// it again from the beginning instead of layering a second voice. Failures are silent.
class SoundPlayer : public QObject, public SoundSink {
    Q_OBJECT
    Q_PROPERTY(bool enabled READ isEnabled WRITE setEnabled NOTIFY enabledChanged)
public:
    // Where the sounds are compiled in; a test can point a player at a folder instead.
    static QString resourceDirectory() { return QStringLiteral(":/tavik/sounds"); }

    explicit SoundPlayer(QObject* parent = nullptr);
    explicit SoundPlayer(const QString& directory, QObject* parent = nullptr);
    ~SoundPlayer() override;

    // The process-wide player that the app installs at start-up; null until then.
    [[nodiscard]] static SoundPlayer* shared();
    static void setShared(SoundPlayer* player);

    [[nodiscard]] bool isEnabled() const override { return m_enabled; }
    void setEnabled(bool enabled);

    void play(AppSound sound) override;

    // The base names of the five sounds that have no file in `directory`.
    [[nodiscard]] static QStringList missingSounds(const QString& directory);
    // The player kept for a base name ("toggle_on"), or null when none was made.
    [[nodiscard]] QSoundEffect* cachedPlayer(const QString& name) const;

signals:
    void enabledChanged();

private:
    [[nodiscard]] QSoundEffect* player(const QString& name);
    [[nodiscard]] QString filePath(const QString& name) const;

    QString m_directory;
    bool m_enabled = true;
    QHash<QString, QSoundEffect*> m_players;
};
