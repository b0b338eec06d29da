// What a feedback sound costs the main thread: the first play of each sound (player made,
// file handed to Qt Multimedia), the time until that player is ready, and a replay on the
// cached player (stop + play). Run without an audio device the sink plays into nothing, so
// the figures are the app's and Qt's own work, not the sound server's.
#include "BenchSupport.h"
#include "SoundPlayer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSoundEffect>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

using namespace Bench;

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int replays = argc > 1 ? std::max(10, atoi(argv[1])) : 2000;

    const AppSound sounds[] = {AppSound::create, AppSound::complete, AppSound::uncomplete,
                               AppSound::celebration, AppSound::move};

    std::printf("%-12s %14s %14s\n", "sound", "first play us", "until ready ms");
    SoundPlayer player;
    for (const AppSound sound : sounds) {
        const QString name = AppSoundInfo::rawValue(sound);
        QElapsedTimer timer;
        timer.start();
        player.play(sound);
        const double firstUs = double(timer.nsecsElapsed()) / 1000.0;
        QSoundEffect* effect = player.cachedPlayer(name);
        while (effect && effect->status() != QSoundEffect::Ready &&
               effect->status() != QSoundEffect::Error && timer.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        const double readyMs = double(timer.nsecsElapsed()) / 1e6;
        std::printf("%-12s %14.1f %14.2f\n", qPrintable(name), firstUs, readyMs);
    }

    // Replays of one cached sound, with the event loop turning between them as it would
    // between clicks.
    std::vector<double> replayUs;
    replayUs.reserve(size_t(replays));
    for (int i = 0; i < replays; ++i) {
        QElapsedTimer timer;
        timer.start();
        player.play(AppSound::complete);
        replayUs.push_back(double(timer.nsecsElapsed()) / 1000.0);
        QCoreApplication::processEvents();
    }
    std::printf("replay (cached toggle_on, %d plays): median %.1f us, p95 %.1f us, max %.1f us\n",
                replays, median(replayUs), percentile(replayUs, 0.95),
                *std::max_element(replayUs.begin(), replayUs.end()));

    player.setEnabled(false);
    std::vector<double> disabledUs;
    for (int i = 0; i < replays; ++i) {
        QElapsedTimer timer;
        timer.start();
        player.play(AppSound::celebration);
        disabledUs.push_back(double(timer.nsecsElapsed()) / 1000.0);
    }
    std::printf("disabled play: median %.3f us\n", median(disabledUs));
    return 0;
}
