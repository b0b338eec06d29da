#include "TaskEnhancePrompt.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QTimeZone>

namespace TaskEnhancePrompt {

namespace {

const QString systemText = QStringLiteral(
    R"PROMPT(You are the task-organizing assistant inside "Tavik", a fast personal to-do board.
The user types ONE raw line describing something they want to do. Turn that raw line
into a clean, scannable task by splitting it into structured fields. Return ONLY JSON
matching the provided schema — no prose, no code fences.

Fields:
- title: a concise, action-first title. Strip filler, dates, times and side-details
  that belong in other fields. Keep the SAME language as the input. No trailing
  punctuation. Prefer 40 characters or fewer while keeping the core goal.
- note: secondary details, context, sub-steps or reasons that would clutter the title.
  Short plain text; when there are several, put each on its own line prefixed with
  "· ". Use null when there is nothing beyond the title.
- dueDate: the calendar day to schedule the task on, formatted "yyyy-MM-dd", resolved
  against the provided current date. Set it only when the user implies a day (e.g.
  "today", "tomorrow", "next Monday", "6/20", "明天", "下周三"). Otherwise null.
- reminder: a specific alert moment formatted "yyyy-MM-dd'T'HH:mm" in the user's local
  time, ONLY when the user states a clock time (e.g. "3pm", "9:30", "下午三点"). A stated
  time of day is a reminder, not merely a due date — always put it here (not in dueDate).
  When set, dueDate MUST be that same day. Otherwise null.
- category: choose the single best match from the provided category list, using its
  exact name. Use null if none clearly fits. NEVER invent a category not in the list.
- summary: a very short label (<= 12 characters, user's language) of what you
  organized, e.g. "整理标题·识别时间". Optional; null is fine.

shouldSuggest: set true ONLY when the result is a real improvement — the title became
meaningfully cleaner, OR you extracted a note / dueDate / reminder / category. If the
input is already a clean, short, single-action title with nothing to split (e.g.
"买牛奶", "call Mom"), set shouldSuggest=false, echo the title unchanged, and leave
every other field null.

Rules:
- Never invent facts, details, times, or categories the user didn't imply. Faithful
  beats creative.
- Do not over-split; a short simple task should pass through with shouldSuggest=false.
- Preserve the user's language and meaning. Do not translate.)PROMPT");

QJsonObject property(const char* description, bool nullable, const char* type = "string") {
    QJsonObject member{{QStringLiteral("type"), QLatin1String(type)},
                       {QStringLiteral("description"), QString::fromUtf8(description)}};
    if (nullable)
        member.insert(QStringLiteral("nullable"), true);
    return member;
}

QJsonObject buildSchema() {
    const QJsonObject properties{
        {QStringLiteral("shouldSuggest"),
         property("true only when the result is a real improvement over the raw input", false,
                  "boolean")},
        {QStringLiteral("title"),
         property("concise action-first title in the user's language, no trailing punctuation",
                  false)},
        {QStringLiteral("note"),
         property("secondary details pulled out of the title, or null", true)},
        {QStringLiteral("dueDate"), property("day to schedule on as yyyy-MM-dd, or null", true)},
        {QStringLiteral("reminder"),
         property("local datetime yyyy-MM-dd'T'HH:mm when a clock time was stated, or null", true)},
        {QStringLiteral("category"),
         property("exact name of one existing category, or null", true)},
        {QStringLiteral("summary"),
         property("short label of what was organized (<=12 chars), or null", true)},
    };
    return {{QStringLiteral("type"), QStringLiteral("object")},
            {QStringLiteral("properties"), properties},
            {QStringLiteral("required"),
             QJsonArray{QStringLiteral("shouldSuggest"), QStringLiteral("title")}}};
}

// "+01:00", or "Z" at offset zero, as the prompt's date-time carries it.
QString offsetText(int seconds) {
    if (seconds == 0)
        return QStringLiteral("Z");
    const int minutes = qAbs(seconds) / 60;
    return QStringLiteral("%1%2:%3")
        .arg(seconds < 0 ? QLatin1Char('-') : QLatin1Char('+'))
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

// Works on text, not lines: the schema asks for bare JSON, yet some replies come fenced.
QString stripCodeFence(const QString& reply) {
    QString text = reply.trimmed();
    const QLatin1String fence("```");
    if (!text.startsWith(fence))
        return text;
    // With no line feed the opening fence stays, and the JSON reader refuses what remains.
    if (const qsizetype lineFeed = text.indexOf(QLatin1Char('\n')); lineFeed >= 0)
        text.remove(0, lineFeed + 1);
    if (const qsizetype closing = text.lastIndexOf(fence); closing >= 0)
        text.truncate(closing);
    return text.trimmed();
}

// An optional string member: absent and null are none; any other type sinks the reply.
bool readOptional(const QJsonObject& object, const char* key, std::optional<QString>& out,
                  QString* problem) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined() || value.isNull())
        return true;
    if (!value.isString()) {
        if (problem)
            *problem = QStringLiteral("\"%1\" is not a string").arg(QLatin1String(key));
        return false;
    }
    out = value.toString();
    return true;
}

} // namespace

const QString& system() {
    return systemText;
}

QString userPrompt(const QString& input, const QStringList& categoryNames, const QDateTime& now) {
    const QDateTime local = now.toLocalTime();
    const QString moment = local.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")) +
                           offsetText(local.offsetFromUtc()) + QStringLiteral(" (") +
                           QLocale::c().dayName(local.date().dayOfWeek()) + QLatin1Char(')');
    const QString names = categoryNames.isEmpty() ? QStringLiteral("(none)")
                                                  : categoryNames.join(QStringLiteral(", "));
    return QStringLiteral("Current date-time: ") + moment + QStringLiteral("\nTime zone: ") +
           QString::fromUtf8(QTimeZone::systemTimeZoneId()) +
           QStringLiteral("\nExisting categories (choose only from these, or null): ") + names +
           QStringLiteral("\n\nUser's raw task:\n\"\"\"\n") + input + QStringLiteral("\n\"\"\"");
}

const QJsonObject& responseSchema() {
    static const QJsonObject schema = buildSchema();
    return schema;
}

std::optional<TaskDraft> decode(const QString& text, QString* problem) {
    QJsonParseError error;
    const QJsonDocument document =
        QJsonDocument::fromJson(stripCodeFence(text).trimmed().toUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        if (problem)
            *problem = error.errorString();
        return std::nullopt;
    }
    if (!document.isObject()) {
        if (problem)
            *problem = QStringLiteral("the reply is not a JSON object");
        return std::nullopt;
    }
    const QJsonObject object = document.object();
    const QJsonValue shouldSuggest = object.value(QLatin1String("shouldSuggest"));
    const QJsonValue title = object.value(QLatin1String("title"));
    if (!shouldSuggest.isBool() || !title.isString()) {
        if (problem)
            *problem = QStringLiteral("\"shouldSuggest\" and \"title\" are required");
        return std::nullopt;
    }
    TaskDraft draft;
    draft.shouldSuggest = shouldSuggest.toBool();
    draft.title = title.toString();
    const bool complete = readOptional(object, "note", draft.note, problem) &&
                          readOptional(object, "dueDate", draft.dueDate, problem) &&
                          readOptional(object, "reminder", draft.reminder, problem) &&
                          readOptional(object, "category", draft.category, problem) &&
                          readOptional(object, "summary", draft.summary, problem);
    if (!complete)
        return std::nullopt;
    return draft;
}

} // namespace TaskEnhancePrompt
