#include "BoardArchive.h"
#include "BoardTestSupport.h"
#include "DemoData.h"
#include "ModelContext.h"
#include "TaskCategory.h"
#include "TestData.h"

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <limits>

using BoardTest::snapshot;

namespace {

constexpr qint64 kMin = std::numeric_limits<qint64>::min();
constexpr qint64 kBeyondDouble = (qint64(1) << 53) + 1;

QDateTime utc(const char* iso) {
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODateWithMs).toUTC();
}

void populate(ModelContext& context) {
    QString error;
    auto records = BoardArchive::read(
        QJsonDocument(TestData::cases("archive.json").at(0).toObject()).toJson(), &error);
    QVERIFY2(records, qPrintable(error));
    QVERIFY2(BoardArchive::restore(context, std::move(*records), &error), qPrintable(error));
}

using BoardTest::Store;

QJsonObject documentOf(const ModelContext& context) {
    return QJsonDocument::fromJson(BoardArchive::write(context)).object();
}

QJsonObject refused(QJsonObject root, const QJsonObject& row) {
    const QString in = row.value("in").toString();
    QJsonArray records = root.value(in).toArray();
    QJsonObject target = in.isEmpty() ? root : records.at(0).toObject();
    const QJsonObject set = row.value("set").toObject();
    for (auto it = set.begin(); it != set.end(); ++it)
        target.insert(it.key(), it.value());
    target.remove(row.value("remove").toString());
    if (in.isEmpty())
        return target;
    records.replace(0, target);
    if (row.contains("append"))
        records.append(row.value("append"));
    if (row.value("appendFirst").toBool())
        records.append(records.at(0));
    root.insert(in, records);
    return root;
}

} // namespace

class TestBoardArchive : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void roundTripKeepsEveryField() {
        Store source;
        populate(*source.context);
        QVERIFY(source.context->save());
        const QByteArray first = BoardArchive::write(*source.context);

        QString error;
        auto records = BoardArchive::read(first, &error);
        QVERIFY2(records, qPrintable(error));
        Store target;
        QVERIFY2(BoardArchive::restore(*target.context, std::move(*records), &error),
                 qPrintable(error));

        auto reloaded = target.reopen();
        QVERIFY(reloaded);
        QCOMPARE(snapshot(*reloaded), snapshot(*source.context));
        QCOMPARE(BoardArchive::write(*reloaded), first);
    }

    void documentForm() {
        Store store;
        populate(*store.context);
        const QJsonObject root = documentOf(*store.context);
        const QJsonArray lists = root.value(QStringLiteral("categories")).toArray();
        QCOMPARE(lists.at(0)[QStringLiteral("sortIndex")], QJsonValue(QString::number(kMin)));

        const QJsonArray tasks = root.value(QStringLiteral("tasks")).toArray();
        QStringList order;
        for (const QJsonValue& task : tasks)
            order << task[QStringLiteral("sortIndex")].toString();
        QCOMPARE(order, (QStringList{QString::number(kBeyondDouble), QStringLiteral("0"),
                                     QStringLiteral("-1"), QStringLiteral("-1")}));
        QVERIFY(tasks.at(2)[QStringLiteral("id")].toString() <
                tasks.at(3)[QStringLiteral("id")].toString());

        const QString completedAt = tasks.at(0)[QStringLiteral("completedAt")].toString();
        const QDateTime expected = utc("2025-03-30T01:30:00.250Z");
        QVERIFY2(QRegularExpression(QStringLiteral(R"(\.250(Z|[+-]\d\d:\d\d)$)"))
                     .match(completedAt)
                     .hasMatch(),
                 qPrintable(completedAt));
        const QDateTime parsed = QDateTime::fromString(completedAt, Qt::ISODateWithMs);
        QCOMPARE(parsed.toMSecsSinceEpoch(), expected.toMSecsSinceEpoch());
        QCOMPARE(parsed.offsetFromUtc(), expected.toLocalTime().offsetFromUtc());

        const QJsonObject bare = tasks.at(1).toObject();
        for (const char* none :
             {"completedAt", "dueDate", "year", "week", "reminderAt", "category"})
            QVERIFY2(bare[QLatin1String(none)].isNull(), none);
    }

    void refusals_data() { TestData::addRows("archive_refusals.json"); }

    void refusals() {
        QFETCH(QJsonObject, row);
        QByteArray text = row.value("text").toString().toUtf8();
        if (!row.contains("text")) {
            Store store;
            populate(*store.context);
            const QJsonObject root = documentOf(*store.context);
            QString error;
            QVERIFY2(BoardArchive::read(QJsonDocument(root).toJson(), &error), qPrintable(error));
            text = QJsonDocument(refused(root, row)).toJson();
        }
        QString error;
        QVERIFY(!BoardArchive::read(text, &error));
        QVERIFY2(error.contains(row.value("reason").toString()), qPrintable(error));
    }

    void restoreRefusesAStoreWithRecords() {
        Store source;
        populate(*source.context);
        Store target;
        target.context->insert(
            new TaskCategory(QStringLiteral("mine"), {}, 1, utc("2025-05-05T05:05:05Z")));
        QVERIFY(target.context->save());
        const QStringList before = snapshot(*target.context);

        QString error;
        auto records = BoardArchive::read(BoardArchive::write(*source.context), &error);
        QVERIFY(records);
        QVERIFY(!BoardArchive::restore(*target.context, std::move(*records), &error));
        QVERIFY2(error.contains(QStringLiteral("already holds")), qPrintable(error));
        QVERIFY(!target.context->hasChanges());
        QCOMPARE(snapshot(*target.reopen()), before);
    }

    void failedSaveLeavesNothingBehind() {
        Store source;
        populate(*source.context);
        const QByteArray document = BoardArchive::write(*source.context);
        Store target;

        auto locker = std::make_unique<BoardTest::SideConnection>(target.path());
        QVERIFY(locker->exec(QStringLiteral("BEGIN EXCLUSIVE")));

        // The command line's path: checked, then written task by task as the file is read.
        QBuffer file;
        file.setData(document);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QString error;
        auto checked = BoardArchive::check(file, &error);
        QVERIFY2(checked, qPrintable(error));
        QCOMPARE(checked->taskCount, 4);
        QVERIFY(!BoardArchive::restore(*target.context, file, *checked, &error));
        QVERIFY2(error.contains(QStringLiteral("could not be saved")), qPrintable(error));
        QVERIFY(!target.context->hasChanges());

        QVERIFY(locker->exec(QStringLiteral("ROLLBACK")));
        locker.reset();
        QVERIFY(target.reopen()->tasks().isEmpty());
        QVERIFY(target.reopen()->categories().isEmpty());

        QVERIFY2(BoardArchive::restore(*target.context, file, *checked, &error), qPrintable(error));
        QCOMPARE(snapshot(*target.reopen()), snapshot(*source.context));
        QCOMPARE(target.reopen()->pendingChanges().size(), 6);
    }

    // A backup is read as a stream: members in any order, strings holding brackets and
    // quotes, white space anywhere or none; a document cut short or followed by more is not.
    void readsAnyLayoutOfTheDocument() {
        QJsonObject root = TestData::cases("archive.json").at(0).toObject();
        QJsonArray tasks = root.value("tasks").toArray();
        QJsonObject first = tasks.at(0).toObject();
        first.insert("title", QStringLiteral("收尾 }]\"{[ \\\" 完"));
        tasks.replace(0, first);
        root.insert("tasks", tasks);
        const auto compact = [](const QJsonValue& value) {
            const QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
            return text.mid(1, text.size() - 2);
        };
        const QByteArray text = "\n {\"tasks\" :" + compact(tasks) + ",\"version\":1 ,\n" +
                                "\"categories\":\t" + compact(root.value("categories")) +
                                ",\"format\":\"tavik-board\"}\n";

        QString error;
        Store streamed;
        Store whole;
        auto records = BoardArchive::read(text, &error);
        QVERIFY2(records, qPrintable(error));
        QVERIFY(BoardArchive::restore(*streamed.context, std::move(*records), &error));
        records = BoardArchive::read(QJsonDocument(root).toJson(), &error);
        QVERIFY(BoardArchive::restore(*whole.context, std::move(*records), &error));
        QCOMPARE(snapshot(*streamed.reopen()), snapshot(*whole.reopen()));
        QVERIFY(snapshot(*whole.reopen()).join(u'\n').contains(first.value("title").toString()));

        for (const QByteArray& broken : {text.left(text.size() / 3), text.left(text.size() - 3),
                                         text + "{}", QByteArray("{\"format\" \"tavik-board\"}")}) {
            QVERIFY(!BoardArchive::read(broken, &error));
            QVERIFY2(error.contains(QStringLiteral("not valid JSON")), qPrintable(error));
        }
    }

    void demoSeedsOnlyAStoreWithoutTasks() {
        BoardTest::Store store;
        const QDateTime now = BoardTest::local(2024, 6, 12, 16, 0);
        store.context->insert(new TaskCategory(QStringLiteral("我的"), {}, 1, now));
        QVERIFY(store.context->save());

        DemoData::seedIfEmpty(*store.context, now);
        QVERIFY(!store.context->hasChanges());
        QCOMPARE(store.reopen()->tasks().size(), 13);
        QCOMPARE(store.reopen()->categories().size(), 3);

        store.context->remove(store.context->tasks().first());
        DemoData::seedIfEmpty(*store.context, now);
        QCOMPARE(store.context->tasks().size(), 12);
        QCOMPARE(store.context->categories().size(), 3);
    }

    void demoWhoseSaveFailsIsDropped() {
        BoardTest::Store store;
        QVERIFY(BoardTest::SideConnection(store.path()).exec(QStringLiteral("DROP TABLE tasks")));
        DemoData::seedIfEmpty(*store.context, BoardTest::local(2024, 6, 12, 16, 0));
        QCOMPARE(store.context->tasks().size(), 13);
        QVERIFY(store.context->hasChanges());
    }
};

QTEST_GUILESS_MAIN(TestBoardArchive)
#include "tst_boardarchive.moc"
