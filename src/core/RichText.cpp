#include "RichText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QLatin1String kRuns("runs");
const QLatin1String kText("text");
const QLatin1String kBold("bold");
const QLatin1String kItalic("italic");
const QLatin1String kUnderline("underline");
const QLatin1String kStrike("strikethrough");
const QLatin1String kBullet("bullet");

QList<TextRun> merged(const QList<TextRun>& runs) {
    QList<TextRun> out;
    for (const TextRun& run : runs) {
        if (run.text.isEmpty())
            continue;
        if (!out.isEmpty() && out.last().sameAttributes(run))
            out.last().text += run.text;
        else
            out.append(run);
    }
    return out;
}

} // namespace

bool TextRun::sameAttributes(const TextRun& other) const {
    return bold == other.bold && italic == other.italic && underline == other.underline &&
           strikethrough == other.strikethrough && bullet == other.bullet;
}

RichText::RichText(QList<TextRun> runs)
    : m_runs(merged(runs)) {}

RichText RichText::fromPlainText(const QString& text) {
    return RichText({TextRun{text}});
}

bool RichText::fromJson(const QByteArray& json, RichText* out) {
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return false;
    const QJsonValue runsValue = doc.object().value(kRuns);
    if (!runsValue.isArray())
        return false;
    QList<TextRun> runs;
    for (const QJsonValue& value : runsValue.toArray()) {
        if (!value.isObject())
            return false;
        const QJsonObject object = value.toObject();
        if (!object.value(kText).isString())
            return false;
        TextRun run;
        run.text = object.value(kText).toString();
        run.bold = object.value(kBold).toBool();
        run.italic = object.value(kItalic).toBool();
        run.underline = object.value(kUnderline).toBool();
        run.strikethrough = object.value(kStrike).toBool();
        run.bullet = object.value(kBullet).toBool();
        runs.append(run);
    }
    if (out)
        *out = RichText(runs);
    return true;
}

QByteArray RichText::toJson() const {
    QJsonArray runs;
    for (const TextRun& run : m_runs) {
        QJsonObject object{{kText, run.text}};
        if (run.bold)
            object.insert(kBold, true);
        if (run.italic)
            object.insert(kItalic, true);
        if (run.underline)
            object.insert(kUnderline, true);
        if (run.strikethrough)
            object.insert(kStrike, true);
        if (run.bullet)
            object.insert(kBullet, true);
        runs.append(object);
    }
    return QJsonDocument(QJsonObject{{kRuns, runs}}).toJson(QJsonDocument::Compact);
}

QString RichText::plainText() const {
    QString text;
    for (const TextRun& run : m_runs)
        text += run.text;
    return text;
}
