#pragma once

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace TestData {

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

inline void addRows(const char* name, const char* key = nullptr) {
    QTest::addColumn<QJsonObject>("row");
    for (const QJsonValue& row : cases(name, key))
        QTest::newRow(qPrintable(row[QLatin1String("name")].toString())) << row.toObject();
}

inline QTestData& newRow(const QJsonObject& row) {
    return QTest::newRow(qPrintable(row.value(QLatin1String("name")).toString()));
}

inline QByteArray compact(const QJsonValue& value) {
    return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
}

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
