#include "AIConfig.h"
#include "Clock.h"
#include "FakeGemini.h"
#include "GeminiClient.h"
#include "GeminiReply.h"
#include "KeychainStore.h"
#include "KeyringTestMain.h"
#include "Preferences.h"
#include "TaskSuggestionController.h"
#include "TestData.h"

#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace std::chrono_literals;

namespace {

constexpr auto debounce = 150ms;

const QList<CategoryInfo> lists{{QUuid("0b9f2a3e-5c1d-4e8a-9f00-000000000001"), "工作", "3E63DD"},
                                {QUuid("0b9f2a3e-5c1d-4e8a-9f00-000000000002"), "个人", "46A758"}};

QUuid listId(const QJsonValue& name) {
    for (const CategoryInfo& list : lists)
        if (list.name == name.toString())
            return list.id;
    return {};
}

// The editable fields as a row spells them; only the members the row names are compared.
void compareDraft(const EnhancedDraft& draft, const QJsonObject& expect) {
    QCOMPARE(draft.title, expect["title"].toString());
    QCOMPARE(draft.note, expect["note"].toString());
    if (expect.contains("dueDate"))
        QCOMPARE(draft.dueDate, TestData::moment(expect["dueDate"]));
    if (expect.contains("reminderAt"))
        QCOMPARE(draft.reminderAt, TestData::moment(expect["reminderAt"]));
    QCOMPARE(draft.listUuid(), listId(expect["list"]));
}

} // namespace

// Typing scripts against the fake service: each step types, waits, edits, or checks what the
// user sees and what reached the service.
class TestTaskSuggestionController : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void script_data() { TestData::addRows("suggestions.json", "scripts"); }
    void script();

private:
    QNetworkAccessManager m_network;
};

void TestTaskSuggestionController::script() {
    QFETCH(QJsonObject, row);
    QTemporaryDir dir;
    Preferences preferences(dir.filePath("tavik.ini"));
    KeychainStore keys;
    AIConfig config(preferences, keys);
    config.setEnabled(row["enabled"].toBool(true));
    config.setApiKey(row["key"].toString("test-key"));
    FakeGemini fake;
    const QJsonObject answers = fixture("suggestions.json")["answers"].toObject();
    for (auto answer = answers.begin(); answer != answers.end(); ++answer)
        fake.answers.insert(answer.key(), answer.value().toObject());
    fake.fallback = row.contains("fallback") ? row["fallback"].toObject()
                                             : QJsonObject{{"status", 503}, {"text", ""}};
    GeminiClient client(&m_network, GeminiClient::Options{fake.url(), 5s, 5s});
    ManualClock clock(TestData::moment("2026-11-24T15:30"));
    TaskSuggestionController controller(config, client, clock, {debounce});

    for (const QJsonValue& value : row["steps"].toArray()) {
        const QJsonObject step = value.toObject();
        const QString what = step.keys().first();
        const QJsonValue arg = step[what];
        if (what == "type") {
            const QString text = arg.isString()
                                     ? arg.toString()
                                     : arg["repeat"].toString().repeated(arg["count"].toInt());
            controller.inputChanged(text, lists);
        } else if (what == "wait") {
            QTest::qWait(int(arg.toDouble() * debounce.count()));
        } else if (what == "settle") {
            QTRY_VERIFY_WITH_TIMEOUT(!controller.isBusy(), 5000);
        } else if (what == "inFlight") {
            QTRY_VERIFY_WITH_TIMEOUT(controller.isAnalyzing() && !fake.seen.empty(), 5000);
        } else if (what == "advance") {
            clock.advance(arg.toInteger() * 1000);
        } else if (what == "dismiss") {
            controller.dismiss();
        } else if (what == "reset") {
            controller.reset();
        } else if (what == "config") {
            config.setApiKey(arg["key"].toString());
            config.setEnabled(arg["enabled"].toBool());
        } else if (what == "edit") {
            const QJsonObject edit = arg.toObject();
            if (edit.contains("title"))
                controller.setDraftTitle(edit["title"].toString());
            if (edit.contains("note"))
                controller.setDraftNote(edit["note"].toString());
            if (edit.contains("dueDate"))
                controller.setDraftDueDate(TestData::moment(edit["dueDate"]));
            if (edit.contains("reminderAt"))
                controller.setDraftReminderAt(TestData::moment(edit["reminderAt"]));
            if (edit.contains("list"))
                controller.setDraftListId(listId(edit["list"]));
        } else if (what == "accept") {
            const bool hadCard = controller.hasSuggestion();
            const std::optional<EnhancedDraft> draft = controller.accept();
            QCOMPARE(draft.has_value(), arg.isObject());
            if (draft)
                compareDraft(*draft, arg.toObject());
            else // a refusal changes nothing
                QCOMPARE(controller.hasSuggestion(), hadCard);
        } else {
            QCOMPARE(what, QStringLiteral("expect"));
            const QJsonObject expect = arg.toObject();
            if (expect.contains("card"))
                QCOMPARE(controller.hasSuggestion() ? controller.suggestion()->title : "none",
                         expect["card"].toString("none"));
            if (expect.contains("analyzing"))
                QCOMPARE(controller.isAnalyzing(), expect["analyzing"].toBool());
            if (expect.contains("requests"))
                QCOMPARE(int(fake.seen.size()), expect["requests"].toInt());
            if (expect.contains("token"))
                QCOMPARE(controller.suggestionToken(), expect["token"].toInt());
            if (expect.contains("draft"))
                compareDraft({controller.draftTitle(), controller.draftNote(),
                              controller.draftListId().isNull()
                                  ? std::nullopt
                                  : std::optional(controller.draftListId()),
                              controller.draftDueDate(), controller.draftReminderAt()},
                             expect["draft"].toObject());
            if (expect.contains("sent"))
                QCOMPARE(fake.seen.back().input, expect["sent"].toString());
            if (expect.contains("sentLength"))
                QCOMPARE(fake.seen.back().input.size(), expect["sentLength"].toInt());
            if (expect.contains("key"))
                QCOMPARE(fake.seen.back().key, expect["key"].toString());
            if (expect.contains("prompt"))
                QVERIFY(fake.seen.back().prompt.startsWith(expect["prompt"].toString()));
            for (const SeenRequest& seen : fake.seen)
                QCOMPARE(seen.faults, QStringList());
        }
    }
    QVERIFY(keys.isIdle() || QSignalSpy(&keys, &KeychainStore::idle).wait(5000));
}

TAVIK_KEYRING_TEST_MAIN(TestTaskSuggestionController)
#include "tst_tasksuggestioncontroller.moc"
