#pragma once

// Cases that are data live in JSON files under tests/ui/data (TAVIK_UI_DATA); a test's
// _data() turns each entry into a row.

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

namespace TestData {

// The array under `key` of the file `name`; a missing, broken or empty table stops the run.
inline QJsonArray cases(const char* name, const char* key) {
    QFile file(QStringLiteral(TAVIK_UI_DATA "/") + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no test data %s", name);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    const QJsonArray rows = document.object().value(key).toArray();
    if (error.error != QJsonParseError::NoError || rows.isEmpty())
        qFatal("%s: no rows under %s (%s)", name, key, qPrintable(error.errorString()));
    return rows;
}

// A JSON value as compact text, for cases that hold a rich note.
inline QByteArray compact(const QJsonValue& value) {
    return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
}

} // namespace TestData
