#include "SoundPlayer.h"

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSoundEffect>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

void copySounds(const QString& dir, const QString& skip) {
    for (const AppSound sound : {AppSound::create, AppSound::complete, AppSound::uncomplete,
                                 AppSound::celebration, AppSound::move}) {
        const QString name = AppSoundInfo::rawValue(sound);
        if (name != skip)
            QVERIFY(QFile::copy(SoundPlayer::resourceDirectory() + '/' + name + ".wav",
                                dir + '/' + name + ".wav"));
    }
}

} // namespace

class TestSoundPlayer : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void replayReusesOnePlayerAndRestartsIt() {
        QVERIFY(SoundPlayer::missingSounds(SoundPlayer::resourceDirectory()).isEmpty());
        SoundPlayer player;
        player.setEnabled(false);
        player.play(AppSound::complete);
        QVERIFY(!player.cachedPlayer(QStringLiteral("toggle_on")));
        player.setEnabled(true);
        player.play(AppSound::complete);
        QSoundEffect* effect = player.cachedPlayer(QStringLiteral("toggle_on"));
        QVERIFY(effect);
        QTRY_COMPARE(effect->status(), QSoundEffect::Ready);
        QTRY_VERIFY(effect->isPlaying());

        QSignalSpy playing(effect, &QSoundEffect::playingChanged);
        player.play(AppSound::complete);
        QCOMPARE(player.cachedPlayer(QStringLiteral("toggle_on")), effect);
        QCOMPARE(playing.count(), 2);
        QVERIFY(effect->isPlaying());
    }

    void brokenSoundsAreSilent() {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        copySounds(dir.path(), QStringLiteral("swipe"));
        QCOMPARE(SoundPlayer::missingSounds(dir.path()), QStringList{QStringLiteral("swipe")});
        QFile bad(dir.path() + "/button.wav");
        QVERIFY(bad.open(QIODevice::WriteOnly | QIODevice::Truncate));
        bad.write("not a wave file at all");
        bad.close();

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("sound resource missing:.*swipe"));
        SoundPlayer player(dir.path());
        QTest::failOnWarning(QRegularExpression("swipe"));
        player.play(AppSound::move);
        player.play(AppSound::move);
        QVERIFY(!player.cachedPlayer(QStringLiteral("swipe")));

        player.play(AppSound::create);
        QSoundEffect* effect = player.cachedPlayer(QStringLiteral("button"));
        QVERIFY(effect);
        QCOMPARE(effect->source(), QUrl::fromLocalFile(dir.path() + "/button.wav"));
        QTRY_VERIFY(!player.cachedPlayer(QStringLiteral("button")));
        player.play(AppSound::create);
        QVERIFY(player.cachedPlayer(QStringLiteral("button")));
    }
};

QTEST_GUILESS_MAIN(TestSoundPlayer)
#include "tst_soundplayer.moc"
