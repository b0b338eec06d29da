#pragma once

// Cases that are data live in JSON files under tests/core/data (TAVIK_TEST_DATA) or
// tests/ui/data (TAVIK_UI_DATA); a test's _data() turns each entry into a row. Moments are
// local wall-clock time ("2024-06-12T10:00"), so a row reads the same in every zone.

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace TestData {

// The array under `key` of the file `name` (the whole file when `key` is null); a missing,
// broken or empty table stops the run.
inline QJsonArray cases(const char* name, const char* key = nullptr) {
#ifdef TAVIK_TEST_DATA
    QFile file(QStringLiteral(TAVIK_TEST_DATA "/") + QLatin1String(name));
#else
    QFile file(QStringLiteral(TAVIK_UI_DATA "/") + QLatin1String(name));
#endif
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no test data %s", name);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    const QJsonArray rows = key ? document.object().value(key).toArray() : document.array();
    if (error.error != QJsonParseError::NoError || rows.isEmpty())
        qFatal("%s: no rows under %s (%s)", name, key ? key : "the root",
               qPrintable(error.errorString()));
    return rows;
}

// One row per entry, named by its "name", in a QJsonObject column "row".
inline void addRows(const char* name, const char* key = nullptr) {
    QTest::addColumn<QJsonObject>("row");
    for (const QJsonValue& row : cases(name, key))
        QTest::newRow(qPrintable(row[QLatin1String("name")].toString())) << row.toObject();
}

inline QJsonArray rows(const QString& name) {
    return cases(qPrintable(name));
}

// A row named by its "name", for tables whose columns are spelled out.
inline QTestData& newRow(const QJsonObject& row) {
    return QTest::newRow(qPrintable(row.value(QLatin1String("name")).toString()));
}

// A JSON value as compact text, for cases that hold a rich note.
inline QByteArray compact(const QJsonValue& value) {
    return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
}

// A local moment, or none for "" and null. A trailing " +20m" adds minutes of real time: the
// way to name a moment inside a daylight-saving gap.
inline QDateTime moment(const QJsonValue& value) {
    QString text = value.toString();
    if (text.isEmpty())
        return {};
    qint64 minutes = 0;
    if (const qsizetype plus = text.indexOf(QLatin1String(" +")); plus > 0) {
        minutes = text.mid(plus + 2).chopped(1).toLongLong();
        text.truncate(plus);
    }
    if (text.size() == 10)
        text += QLatin1String("T00:00");
    const QDateTime local = QDateTime::fromString(text, Qt::ISODate);
    if (!local.isValid())
        qFatal("bad moment %s", qPrintable(text));
    return local.toUTC().addSecs(minutes * 60);
}

} // namespace TestData
