#include "RichText.h"
#include "TaskMerge.h"
#include "TestData.h"
#include "VtodoCodec.h"

#include <QRegularExpression>

namespace {

const QDateTime now = QDateTime(QDate(2024, 6, 20), QTime(12, 0), Qt::UTC);

QByteArray fixture(const QString& name) {
    QFile file(QStringLiteral(TAVIK_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no fixture %s", qPrintable(name));
    return file.readAll();
}

TaskFields decoded(const QString& name) {
    TaskFields fields;
    QString error;
    if (!VtodoCodec::decode(fixture(name), &fields, &error))
        qFatal("%s: %s", qPrintable(name), qPrintable(error));
    return fields;
}

// Writes the keys of `json` into `fields` ("due" a local day, "week" as 2024-W24, "rich"
// the note's JSON form, moments in ISO form).
void apply(const QJsonObject& json, TaskFields& fields) {
    for (auto it = json.begin(); it != json.end(); ++it) {
        const QString key = it.key();
        const QJsonValue value = it.value();
        if (key == u"id")
            fields.id = QUuid::fromString(value.toString());
        else if (key == u"title")
            fields.title = value.toString();
        else if (key == u"note")
            fields.note = value.toString();
        else if (key == u"rich")
            fields.noteData = value.isNull() ? QByteArray() : TestData::compact(value);
        else if (key == u"completed")
            fields.completed = value.toBool();
        else if (key == u"completedAt")
            fields.completedAt = TestData::moment(value);
        else if (key == u"due")
            fields.dueDate = TestData::moment(value);
        else if (key == u"week") {
            const QStringList parts = value.toString().split(QStringLiteral("-W"));
            fields.year = value.isNull() ? std::nullopt : std::optional(parts[0].toLongLong());
            fields.week = value.isNull() ? std::nullopt : std::optional(parts[1].toLongLong());
        } else if (key == u"explicit")
            fields.scheduledExplicitly = value.toBool();
        else if (key == u"reminder")
            fields.reminderAt = TestData::moment(value);
        else if (key == u"sortIndex")
            fields.sortIndex = value.toInteger();
        else if (key == u"createdAt")
            fields.createdAt = TestData::moment(value);
        else if (key == u"updatedAt")
            fields.updatedAt = TestData::moment(value);
        else if (key != u"name")
            qFatal("unknown field %s", qPrintable(key));
    }
}

// Every key of `expect` must hold in `actual`.
void verify(const TaskFields& actual, const QJsonObject& expect) {
    TaskFields wanted = actual;
    apply(expect, wanted);
    QCOMPARE(actual.id, wanted.id);
    QCOMPARE(actual.title, wanted.title);
    QCOMPARE(actual.note, wanted.note);
    RichText actualRich, wantedRich;
    QCOMPARE(RichText::fromJson(actual.noteData, &actualRich),
             RichText::fromJson(wanted.noteData, &wantedRich));
    QVERIFY(actualRich == wantedRich);
    QCOMPARE(actual.completed, wanted.completed);
    QCOMPARE(actual.completedAt, wanted.completedAt);
    QCOMPARE(actual.dueDate, wanted.dueDate);
    QCOMPARE(actual.year, wanted.year);
    QCOMPARE(actual.week, wanted.week);
    QCOMPARE(actual.scheduledExplicitly, wanted.scheduledExplicitly);
    QCOMPARE(actual.reminderAt, wanted.reminderAt);
    QCOMPARE(actual.sortIndex, wanted.sortIndex);
    QCOMPARE(actual.createdAt, wanted.createdAt);
    QCOMPARE(actual.updatedAt, wanted.updatedAt);
}

// The content lines of a text, unfolded, with line ends made one kind.
QStringList lines(const QByteArray& text) {
    QString unfolded = QString::fromUtf8(text);
    unfolded.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    unfolded.replace(QRegularExpression(QStringLiteral("\n[ \t]")), QString());
    return unfolded.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace

class TestVtodoCodec : public QObject {
    Q_OBJECT
private slots:
    void decode_data() { TestData::addRows("codec.json", "decode"); }
    void decode() {
        QFETCH(QJsonObject, row);
        const QByteArray text = fixture(row["ics"].toString());
        TaskFields fields;
        QString error;
        const bool ok = VtodoCodec::decode(text, &fields, &error);
        if (row.contains("error")) {
            QVERIFY(!ok);
            QVERIFY2(error.contains(row["error"].toString()), qPrintable(error));
            return;
        }
        QVERIFY2(ok, qPrintable(error));
        verify(fields, row["expect"].toObject());

        // Written back unchanged, nothing is lost (timestamps aside); written anew or over
        // the stored text, every field comes back.
        const auto stable = [](const QByteArray& ics) {
            QStringList kept;
            for (const QString& line : lines(ics)) {
                if (!line.startsWith(QLatin1String("DTSTAMP")) &&
                    !line.startsWith(QLatin1String("LAST-MODIFIED")) &&
                    !line.startsWith(QLatin1String("CREATED")) &&
                    !line.startsWith(QLatin1String("PRODID")))
                    kept.append(line);
            }
            kept.sort();
            return kept;
        };
        QCOMPARE(stable(VtodoCodec::encode(fields, text, now)), stable(text));
        for (const QByteArray& stored : {text, QByteArray()}) {
            TaskFields again;
            QVERIFY(VtodoCodec::decode(VtodoCodec::encode(fields, stored, now), &again, &error));
            QVERIFY(again.sameContent(fields));
            QCOMPARE(again.id, fields.id);
        }
    }

    void encode_data() { TestData::addRows("codec.json", "encode"); }
    void encode() {
        QFETCH(QJsonObject, row);
        const QByteArray stored =
            row.contains("stored") ? fixture(row["stored"].toString()) : QByteArray();
        TaskFields fields;
        QString error;
        if (!stored.isEmpty())
            QVERIFY(VtodoCodec::decode(stored, &fields, &error));
        apply(row["change"].toObject(), fields);
        const QByteArray text = VtodoCodec::encode(fields, stored, now);
        QCOMPARE(lines(text), lines(fixture(row["expected"].toString())));
    }

    void merge_data() { TestData::addRows("codec.json", "merge"); }
    void merge() {
        QFETCH(QJsonObject, row);
        const TaskFields base = decoded(row["base"].toString());
        TaskFields local = base;
        apply(row["local"].toObject(), local);
        const TaskFields server = decoded(row["server"].toString());
        verify(TaskMerge::merge(base, local, server), row["expect"].toObject());
    }
};

QTEST_GUILESS_MAIN(TestVtodoCodec)
#include "tst_vtodocodec.moc"
