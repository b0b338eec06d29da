#pragma once

// Cases kept as data under tests/core/data: a JSON array of rows per file. Moments are local
// wall-clock time ("2024-06-12T10:00"), so a row reads the same in every zone.

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace Fixture {

inline QJsonArray rows(const QString& name) {
    QFile file(QStringLiteral(TAVIK_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(file.fileName()));
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (!document.isArray())
        qFatal("%s: %s", qPrintable(name), qPrintable(error.errorString()));
    return document.array();
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

// Each row's "name" as the row's tag.
inline QTestData& newRow(const QJsonObject& row) {
    return QTest::newRow(qPrintable(row.value(QLatin1String("name")).toString()));
}

} // namespace Fixture
