#include "AIDate.h"
#include "FakeGemini.h"
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

// What the model answers, judged field by field: dates, lists, and whether to suggest. The
// reading of reply texts is in the client's scenarios.
class TestSuggestionResolution : public QObject {
    Q_OBJECT

private slots:
    void dates_data() { TestData::addRows("resolution.json", "dates"); }
    void dates();
    void resolve_data() { TestData::addRows("resolution.json", "resolve"); }
    void resolve();
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
    QCOMPARE(parsed.toUTC(), expected.toUTC()); // both invalid for no date
}

void TestSuggestionResolution::resolve() {
    QFETCH(QJsonObject, row);
    const std::optional<ResolvedSuggestion> resolved =
        TaskSuggestionController::resolve(draftFrom(row["draft"].toObject()), lists());
    const QJsonObject expect = row["expect"].toObject();
    QCOMPARE(resolved.has_value(), !expect.isEmpty());
    if (!resolved)
        return;
    ResolvedSuggestion expected{expect["title"].toString(),
                                expect["note"].toString(),
                                {},
                                {},
                                {},
                                TestData::moment(expect["dueDate"]),
                                TestData::moment(expect["reminderAt"]),
                                optionalText(expect, "summary")};
    // The list's id, name and colour come together, from the first list of that name.
    for (const CategoryInfo& list : lists())
        if (list.name == expect["list"].toString() && !expected.listId)
            expected.listId = list.id, expected.categoryName = list.name,
            expected.categoryColorHex = list.colorHex;
    QVERIFY(*resolved == expected);
    if (row.contains("meaningful"))
        QCOMPARE(resolved->isMeaningful(row["raw"].toString()), row["meaningful"].toBool());
}

QTEST_GUILESS_MAIN(TestSuggestionResolution)
#include "tst_suggestionresolution.moc"
