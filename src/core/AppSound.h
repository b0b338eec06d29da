#pragma once

#include <QString>

// The five feedback sounds. The raw value is the resource's base name ("<raw>.wav").
enum class AppSound { create, complete, uncomplete, celebration, move };

namespace AppSoundInfo {
[[nodiscard]] inline QString rawValue(AppSound sound) {
    switch (sound) {
    case AppSound::create:
        return QStringLiteral("button");
    case AppSound::complete:
        return QStringLiteral("toggle_on");
    case AppSound::uncomplete:
        return QStringLiteral("toggle_off");
    case AppSound::celebration:
        return QStringLiteral("celebration");
    case AppSound::move:
        return QStringLiteral("swipe");
    }
    return {};
}
} // namespace AppSoundInfo

// What the board needs of the sound player. The app installs the real one.
class SoundSink {
public:
    virtual ~SoundSink() = default;
    [[nodiscard]] virtual bool isEnabled() const = 0;
    virtual void play(AppSound sound) = 0;
};
