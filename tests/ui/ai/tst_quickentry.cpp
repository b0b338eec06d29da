#include "AIConfig.h"
#include "Clock.h"
#include "FakeGemini.h"
#include "GeminiClient.h"
#include "KeychainStore.h"
#include "Preferences.h"
#include "TestData.h"
#include "ai/AISettingsController.h"
#include "ai/QuickEntryController.h"

#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace std::chrono_literals;
using TestState = AISettingsController::TestState;

// The quick entry's and the AI pane's logic against the fake service: what the test button
// shows for each outcome, and how the bar's choices live from one creation to the next.
class TestQuickEntry : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        // The key lives in memory here: with no session bus the key store stays out of it.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        m_keys = std::make_unique<KeychainStore>();
        m_config = std::make_unique<AIConfig>(m_preferences, *m_keys);
        m_client =
            std::make_unique<GeminiClient>(&m_network, GeminiClient::Options{m_fake.url(), 2s, 2s});
    }

    // Every failure reads as the client words it; a pass names the trimmed model.
    void testButtonShowsTheOutcome_data() { TestData::addRows("pane-tests.json", "tests"); }
    void testButtonShowsTheOutcome() {
        QFETCH(QJsonObject, row);
        m_fake.fallback = row["answer"].toObject();
        m_config->setModel(row["model"].toString());
        m_config->setApiKey(QStringLiteral(" k-1 "));
        AISettingsController pane(m_config.get(), m_client.get());
        QVERIFY(pane.canTest());
        pane.runTest();
        QCOMPARE(pane.testState(), TestState::Testing);
        QVERIFY(!pane.canTest()); // one test at a time
        QTRY_VERIFY(pane.testState() != TestState::Testing);
        QCOMPARE(pane.testState(),
                 row["passes"].toBool() ? TestState::Success : TestState::Failure);
        const QString text = row["text"].toString().replace("$default", AIConfig::defaultModel);
        QVERIFY2(pane.testText().startsWith(text), qPrintable(pane.testText()));
        QVERIFY(pane.canTest());
        QCOMPARE(m_fake.seen.back().key, QStringLiteral("k-1"));
    }

    // Blank keys cannot be tested; leaving during a test drops its result.
    void testNeedsAKeyAndLeavingDropsIt() {
        AISettingsController pane(m_config.get(), m_client.get());
        m_config->setApiKey(QStringLiteral(" \n"));
        QVERIFY(!pane.canTest());
        m_config->setApiKey(QStringLiteral("k-2"));
        QVERIFY(pane.canTest());
        m_fake.fallback = QJsonObject{{"behaviour", "silent"}};
        pane.runTest();
        pane.cancelTest();
        QCOMPARE(pane.testState(), TestState::Idle);
        QTest::qWait(50);
        QCOMPARE(pane.testState(), TestState::Idle);
    }

    // A raw line leaves with the bar's choices, which then go back to the default; the
    // default moves the chip only until the user picks a list.
    void choicesLiveUntilTheNextCreation() {
        m_config->setEnabled(false);
        QuickEntryController entry(*m_config, *m_client, m_clock);
        const QString work = QStringLiteral("0b9f2a3e-5c1d-4e8a-9f00-000000000001");
        entry.setDefaultListId(work);
        QCOMPARE(entry.chosenListId(), work);
        QSignalSpy created(&entry, &QuickEntryController::createRequested);

        entry.setTitle(QStringLiteral("   "));
        entry.submit();
        QCOMPARE(created.count(), 0); // blanks create nothing and keep the choices

        const QDateTime day = m_clock.now().addDays(1);
        entry.setSchedule(day, {});
        entry.chooseList(QString());
        entry.setDefaultListId(QStringLiteral("0b9f2a3e-5c1d-4e8a-9f00-000000000002"));
        QCOMPARE(entry.chosenListId(), QString()); // picked by hand: stays
        entry.setTitle(QStringLiteral("  买牛奶 "));
        entry.submit();
        QCOMPARE(created.count(), 1);
        const auto draft = created.takeFirst().at(0).value<EnhancedDraft>();
        QCOMPARE(draft.title, QStringLiteral("买牛奶"));
        QCOMPARE(draft.note, QString());
        QVERIFY(!draft.listId);
        QCOMPARE(draft.dueDate, day);
        QCOMPARE(entry.title(), QString());
        QCOMPARE(entry.chosenListId(), entry.defaultListId());
        QVERIFY(!entry.chosenDueDate().isValid());
        // Up and Down walk the options (none, then each list) and stop at the ends.
        entry.moveSelection(-1);
        entry.moveSelection(1);
        QCOMPARE(entry.chosenListId(), QString());
        m_config->setEnabled(true);
    }

private:
    QTemporaryDir m_dir;
    Preferences m_preferences{m_dir.filePath("tavik.ini")};
    QNetworkAccessManager m_network;
    FakeGemini m_fake;
    std::unique_ptr<KeychainStore> m_keys;
    std::unique_ptr<AIConfig> m_config;
    std::unique_ptr<GeminiClient> m_client;
    const ManualClock m_clock{QDateTime(QDate(2026, 11, 24), QTime(10, 0))};
};

QTEST_MAIN(TestQuickEntry)
#include "tst_quickentry.moc"
