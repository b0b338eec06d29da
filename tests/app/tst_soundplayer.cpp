#include "SoundPlayer.h"

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSoundEffect>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

namespace {

const AppSound allSounds[] = {AppSound::create, AppSound::complete, AppSound::uncomplete,
                              AppSound::celebration, AppSound::move};

// Copies the compiled-in sounds to `dir`, leaving out the ones named in `skip`.
void copySounds(const QString& dir, const QStringList& skip = {}) {
    for (const AppSound sound : allSounds) {
        const QString name = AppSoundInfo::rawValue(sound);
        if (skip.contains(name))
            continue;
        QVERIFY(QFile::copy(SoundPlayer::resourceDirectory() + '/' + name + ".wav",
                            dir + '/' + name + ".wav"));
    }
}

struct WavFormat {
    quint16 channels = 0;
    quint32 sampleRate = 0;
    quint16 bitsPerSample = 0;
    double seconds = 0;
};

// Walks the RIFF chunks instead of assuming the 44-byte layout.
bool readWav(const QString& path, WavFormat* format) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray data = file.readAll();
    if (data.size() < 12 || !data.startsWith("RIFF") || data.mid(8, 4) != "WAVE")
        return false;
    qsizetype at = 12;
    quint32 dataBytes = 0;
    bool haveFormat = false;
    while (at + 8 <= data.size()) {
        const QByteArray id = data.mid(at, 4);
        const quint32 size = qFromLittleEndian<quint32>(data.constData() + at + 4);
        const char* body = data.constData() + at + 8;
        if (id == "fmt " && size >= 16) {
            format->channels = qFromLittleEndian<quint16>(body + 2);
            format->sampleRate = qFromLittleEndian<quint32>(body + 4);
            format->bitsPerSample = qFromLittleEndian<quint16>(body + 14);
            haveFormat = true;
        } else if (id == "data") {
            dataBytes = size;
        }
        at += 8 + size + (size & 1);
    }
    if (!haveFormat || format->channels == 0 || format->bitsPerSample == 0 ||
        format->sampleRate == 0)
        return false;
    format->seconds =
        double(dataBytes) / (format->sampleRate * format->channels * (format->bitsPerSample / 8));
    return true;
}

} // namespace

class TestSoundPlayer : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void compiledInSounds_data() {
        QTest::addColumn<AppSound>("sound");
        QTest::addColumn<double>("minSeconds");
        QTest::addColumn<double>("maxSeconds");
        QTest::newRow("create: a short click") << AppSound::create << 0.04 << 0.12;
        QTest::newRow("complete: rising blip") << AppSound::complete << 0.08 << 0.25;
        QTest::newRow("uncomplete: falling blip") << AppSound::uncomplete << 0.08 << 0.25;
        QTest::newRow("celebration: arpeggio") << AppSound::celebration << 0.3 << 0.6;
        QTest::newRow("move: soft sweep") << AppSound::move << 0.1 << 0.2;
    }

    void compiledInSounds() {
        QFETCH(AppSound, sound);
        QFETCH(double, minSeconds);
        QFETCH(double, maxSeconds);
        const QString path =
            SoundPlayer::resourceDirectory() + '/' + AppSoundInfo::rawValue(sound) + ".wav";
        WavFormat format;
        QVERIFY2(readWav(path, &format), qPrintable(path));
        QCOMPARE(format.channels, quint16(1));
        QCOMPARE(format.sampleRate, quint32(44100));
        QCOMPARE(format.bitsPerSample, quint16(16));
        QVERIFY2(format.seconds >= minSeconds && format.seconds <= maxSeconds,
                 qPrintable(QString::number(format.seconds)));
        QVERIFY(SoundPlayer::missingSounds(SoundPlayer::resourceDirectory()).isEmpty());
    }

    void replayReusesOnePlayerAndRestartsIt() {
        SoundPlayer player;
        player.play(AppSound::complete);
        QSoundEffect* effect = player.cachedPlayer(QStringLiteral("toggle_on"));
        QVERIFY(effect);
        QCOMPARE(effect->source(), QUrl(QStringLiteral("qrc:/tavik/sounds/toggle_on.wav")));
        QTRY_COMPARE(effect->status(), QSoundEffect::Ready);
        QTRY_VERIFY(effect->isPlaying());

        QSignalSpy playing(effect, &QSoundEffect::playingChanged);
        player.play(AppSound::complete);
        // Same voice, stopped and started again rather than a second one layered on top.
        QCOMPARE(player.cachedPlayer(QStringLiteral("toggle_on")), effect);
        QCOMPARE(playing.count(), 2);
        QVERIFY(effect->isPlaying());

        // Another sound gets its own player and leaves the first alone.
        player.play(AppSound::celebration);
        QSoundEffect* other = player.cachedPlayer(QStringLiteral("celebration"));
        QVERIFY(other);
        QVERIFY(other != effect);
        QVERIFY(effect->isPlaying());
    }

    void disabledPlayerOpensNothing() {
        SoundPlayer player;
        QSignalSpy changed(&player, &SoundPlayer::enabledChanged);
        QVERIFY(player.isEnabled());
        player.setEnabled(false);
        player.setEnabled(false);
        QCOMPARE(changed.count(), 1);
        for (const AppSound sound : allSounds)
            player.play(sound);
        for (const AppSound sound : allSounds)
            QVERIFY(!player.cachedPlayer(AppSoundInfo::rawValue(sound)));

        player.setEnabled(true);
        player.play(AppSound::create);
        QVERIFY(player.cachedPlayer(QStringLiteral("button")));
    }

    void missingSoundIsLoggedOnceAndSilent() {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        copySounds(dir.path(), {QStringLiteral("swipe")});
        QCOMPARE(SoundPlayer::missingSounds(dir.path()), QStringList{QStringLiteral("swipe")});

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("sound resource missing:.*swipe"));
        SoundPlayer player(dir.path());

        // From here on the missing sound stays quiet, not even a warning of ours.
        QTest::failOnWarning(QRegularExpression("swipe"));
        player.play(AppSound::move);
        player.play(AppSound::move);
        QVERIFY(!player.cachedPlayer(QStringLiteral("swipe")));
        player.play(AppSound::create);
        QSoundEffect* effect = player.cachedPlayer(QStringLiteral("button"));
        QVERIFY(effect);
        QCOMPARE(effect->source(), QUrl::fromLocalFile(dir.path() + "/button.wav"));
        QTRY_COMPARE(effect->status(), QSoundEffect::Ready);
    }

    void unreadableSoundIsForgottenAndRetried() {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        copySounds(dir.path(), {QStringLiteral("button")});
        {
            QFile bad(dir.path() + "/button.wav");
            QVERIFY(bad.open(QIODevice::WriteOnly));
            bad.write("not a wave file at all");
        }
        SoundPlayer player(dir.path());
        player.play(AppSound::create);
        QVERIFY(player.cachedPlayer(QStringLiteral("button")));
        QTRY_VERIFY(!player.cachedPlayer(QStringLiteral("button")));

        // Nothing was remembered: the next play tries again with a new player.
        player.play(AppSound::create);
        QVERIFY(player.cachedPlayer(QStringLiteral("button")));
    }

    void sharedFollowsTheInstalledPlayer() {
        QVERIFY(!SoundPlayer::shared());
        auto* player = new SoundPlayer;
        SoundPlayer::setShared(player);
        QCOMPARE(SoundPlayer::shared(), player);
        delete player;
        QVERIFY(!SoundPlayer::shared());
    }
};

QTEST_GUILESS_MAIN(TestSoundPlayer)

#include "tst_soundplayer.moc"
