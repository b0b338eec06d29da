#include "AIDate.h"
#include "FakeGemini.h"
#include "TaskEnhancePrompt.h"
#include "TaskSuggestionController.h"
#include "TestData.h"

#include <QTest>

namespace {

QList<CategoryInfo> lists() {
    QList<CategoryInfo> lists;
    for (const QJsonValue& list : fixture("resolution.json")["lists"].toArray())
        lists.append(
            {QUuid(list["id"].toString()), list["name"].toString(), list["colorHex"].toString()});
    return lists;
}

} // namespace

// What the model answers, judged field by field: dates, lists, and whether to suggest.
class TestSuggestionResolution : public QObject {
    Q_OBJECT

private slots:
    void dates_data() { TestData::addRows("resolution.json", "dates"); }
    void dates();
    void resolve_data() { TestData::addRows("resolution.json", "resolve"); }
    void resolve();
    void decode_data() { TestData::addRows("resolution.json", "decode"); }
    void decode();
};

void TestSuggestionResolution::dates() {
    QFETCH(QJsonObject, row);
    const std::optional<QString> text = optionalText(row, "text");
    const QString fn = row["fn"].toString();
    if (fn == QLatin1String("clock")) {
        QCOMPARE(AIDate::hasClockTime(text), row["expect"].toBool());
        return;
    }
    const QDateTime expected = row.contains("utc")
                                   ? QDateTime::fromString(row["utc"].toString(), Qt::ISODateWithMs)
                                   : TestData::moment(row["expect"]);
    const QDateTime parsed =
        fn == QLatin1String("day") ? AIDate::parseDay(text) : AIDate::parseDateTime(text);
    QCOMPARE(parsed.isValid(), expected.isValid());
    if (expected.isValid())
        QCOMPARE(parsed.toUTC(), expected.toUTC());
}

void TestSuggestionResolution::resolve() {
    QFETCH(QJsonObject, row);
    const std::optional<ResolvedSuggestion> resolved =
        TaskSuggestionController::resolve(draftFrom(row["draft"].toObject()), lists());
    const QJsonObject expect = row["expect"].toObject();
    QCOMPARE(resolved.has_value(), !expect.isEmpty());
    if (!resolved)
        return;
    QCOMPARE(resolved->title, expect["title"].toString());
    QCOMPARE(resolved->note, expect["note"].toString());
    QCOMPARE(resolved->dueDate, TestData::moment(expect["dueDate"]));
    QCOMPARE(resolved->reminderAt, TestData::moment(expect["reminderAt"]));
    QCOMPARE(resolved->summary, optionalText(expect, "summary"));
    // The list's id, name and colour come together, from the first list of that name.
    const QList<CategoryInfo> all = lists();
    const auto list = std::find_if(all.cbegin(), all.cend(), [&](const CategoryInfo& c) {
        return c.name == expect["list"].toString();
    });
    QCOMPARE(resolved->categoryName, optionalText(expect, "list"));
    QCOMPARE(resolved->listId.has_value(), expect.contains("list"));
    if (resolved->listId) {
        QCOMPARE(*resolved->listId, list->id);
        QCOMPARE(resolved->categoryColorHex, list->colorHex);
    } else {
        QVERIFY(!resolved->categoryColorHex);
    }
    if (row.contains("meaningful"))
        QCOMPARE(resolved->isMeaningful(row["raw"].toString()), row["meaningful"].toBool());
}

void TestSuggestionResolution::decode() {
    QFETCH(QJsonObject, row);
    QString problem;
    const std::optional<TaskDraft> draft =
        TaskEnhancePrompt::decode(row["reply"].toString(), &problem);
    QCOMPARE(draft.has_value(), row["draft"].isObject());
    QCOMPARE(problem.isEmpty(), draft.has_value()); // a refusal always says why
    if (draft)
        QVERIFY(*draft == draftFrom(row["draft"].toObject()));
}

QTEST_GUILESS_MAIN(TestSuggestionResolution)
#include "tst_suggestionresolution.moc"
