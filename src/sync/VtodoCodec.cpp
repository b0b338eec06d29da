#include "VtodoCodec.h"

#include "IsoCalendar.h"
#include "NoteHtml.h"
#include "RichText.h"
#include "TaskText.h"

#include <QList>
#include <QRegularExpression>
#include <QSet>
#include <libical/ical.h>
#include <memory>

namespace {

// Names a UID that is not a UUID, always the same way, so the task keeps its id.
const QUuid uidNamespace = QUuid::fromString(u"6f1c2b9e-43a7-4d3e-9a51-7b0e8c2d4f10");

const char* const prodId = "-//Tavik//Tavik for Linux//EN";
const char* const weekName = "X-TAVIK-WEEK";
const char* const explicitName = "X-TAVIK-EXPLICIT";
const char* const sortIndexName = "X-TAVIK-SORT-INDEX";
const char* const appleSortName = "X-APPLE-SORT-ORDER";
const char* const altDescName = "X-ALT-DESC";

// Properties whose value Tavik reads: one that cannot be read makes the item unreadable.
const QSet<QByteArray> readNames = {"UID",           "SUMMARY", "DESCRIPTION", "STATUS",
                                    "COMPLETED",     "DUE",     "DTSTART",     "CREATED",
                                    "LAST-MODIFIED", "DTSTAMP", "TRIGGER"};

struct ComponentDeleter {
    void operator()(icalcomponent* c) const { icalcomponent_free(c); }
};
using Component = std::unique_ptr<icalcomponent, ComponentDeleter>;

QString text(const char* value) {
    return value ? QString::fromUtf8(value) : QString();
}

QByteArray serialised(icalcomponent* c) {
    char* raw = icalcomponent_as_ical_string_r(c);
    QByteArray out(raw);
    free(raw);
    return out;
}

// libical keeps no line it cannot parse: an unknown standard property becomes X-LIC-ERROR.
// These are the content lines of the first VTODO (unfolded) that it would lose.
struct Scan {
    QList<QByteArray> unreadable; // lines libical cannot parse, kept verbatim
    QByteArray unreadableOwned;   // the first such line among the properties Tavik reads
    bool begun = false;           // a VTODO begins somewhere
    bool complete = false;        // every BEGIN has its END: the text was not cut off
};

Scan scan(const QByteArray& text) {
    Scan result;
    QByteArray unfolded = text;
    unfolded.replace("\r\n", "\n");
    unfolded.replace("\n ", "").replace("\n\t", "");
    QStringList stack;
    bool seenTodo = false;
    for (const QByteArray& line : unfolded.split('\n')) {
        if (line.isEmpty())
            continue;
        const QByteArray upper = line.toUpper();
        if (upper.startsWith("BEGIN:")) {
            stack.append(QString::fromLatin1(upper.mid(6).trimmed()));
            result.begun = result.begun || stack.last() == QLatin1String("VTODO");
            continue;
        }
        if (upper.startsWith("END:")) {
            if (!stack.isEmpty() && stack.last() == QLatin1String("VTODO"))
                seenTodo = true;
            if (!stack.isEmpty())
                stack.removeLast();
            continue;
        }
        if (seenTodo || stack.size() != 2 || stack.last() != QLatin1String("VTODO"))
            continue;
        icalproperty* parsed = icalproperty_new_from_string(line.constData());
        if (parsed) {
            icalproperty_free(parsed);
            continue;
        }
        qsizetype end = 0;
        while (end < upper.size() && upper.at(end) != ';' && upper.at(end) != ':')
            ++end;
        const QByteArray name = upper.left(end);
        if (readNames.contains(name) && result.unreadableOwned.isEmpty())
            result.unreadableOwned = line;
        result.unreadable.append(line);
    }
    result.complete = seenTodo && stack.isEmpty();
    return result;
}

icalcomponent* masterTodo(icalcomponent* root) {
    if (icalcomponent_isa(root) == ICAL_VTODO_COMPONENT)
        return root;
    icalcomponent* first = nullptr;
    for (icalcomponent* c = icalcomponent_get_first_component(root, ICAL_VTODO_COMPONENT); c;
         c = icalcomponent_get_next_component(root, ICAL_VTODO_COMPONENT)) {
        if (!first)
            first = c;
        if (!icalcomponent_get_first_property(c, ICAL_RECURRENCEID_PROPERTY))
            return c;
    }
    return first;
}

icalproperty* xProperty(icalcomponent* todo, const char* name) {
    for (icalproperty* p = icalcomponent_get_first_property(todo, ICAL_X_PROPERTY); p;
         p = icalcomponent_get_next_property(todo, ICAL_X_PROPERTY)) {
        if (qstricmp(icalproperty_get_x_name(p), name) == 0)
            return p;
    }
    return nullptr;
}

QString xValue(icalcomponent* todo, const char* name) {
    icalproperty* p = xProperty(todo, name);
    return p ? text(icalproperty_get_x(p)).trimmed() : QString();
}

void removeAll(icalcomponent* todo, icalproperty_kind kind) {
    while (icalproperty* p = icalcomponent_get_first_property(todo, kind)) {
        icalcomponent_remove_property(todo, p);
        icalproperty_free(p);
    }
}

void removeX(icalcomponent* todo, const char* name) {
    while (icalproperty* p = xProperty(todo, name)) {
        icalcomponent_remove_property(todo, p);
        icalproperty_free(p);
    }
}

void setX(icalcomponent* todo, const char* name, const QString& value) {
    removeX(todo, name);
    icalproperty* p = icalproperty_new_x(value.toUtf8().constData());
    icalproperty_set_x_name(p, name);
    icalcomponent_add_property(todo, p);
}

void replace(icalcomponent* todo, icalproperty_kind kind, icalproperty* p) {
    removeAll(todo, kind);
    if (p)
        icalcomponent_add_property(todo, p);
}

icaltimetype utcTime(const QDateTime& moment) {
    return icaltime_from_timet_with_zone(moment.toSecsSinceEpoch(), 0,
                                         icaltimezone_get_utc_timezone());
}

// A DATE-TIME as a moment: UTC and zoned times as they are, floating ones in local time.
QDateTime moment(icaltimetype t) {
    if (icaltime_is_null_time(t) || !icaltime_is_valid_time(t))
        return {};
    if (icaltime_is_date(t))
        return QDate(t.year, t.month, t.day).startOfDay(Qt::LocalTime).toUTC();
    if (icaltime_is_utc(t) || t.zone)
        return QDateTime::fromSecsSinceEpoch(icaltime_as_timet_with_zone(t, t.zone), Qt::UTC);
    return QDateTime(QDate(t.year, t.month, t.day), QTime(t.hour, t.minute, t.second),
                     Qt::LocalTime)
        .toUTC();
}

QDateTime propertyMoment(icalcomponent* todo, icalproperty_kind kind) {
    icalproperty* p = icalcomponent_get_first_property(todo, kind);
    if (!p)
        return {};
    return moment(icalvalue_get_datetime(icalproperty_get_value(p)));
}

// The day of a DUE, as the other client's user saw it: a zoned or floating time keeps its
// own wall date, so a task due late in the evening elsewhere does not slip a day here.
QDate dueDay(icalcomponent* todo) {
    icalproperty* p = icalcomponent_get_first_property(todo, ICAL_DUE_PROPERTY);
    if (!p)
        return {};
    const icaltimetype t = icalproperty_get_due(p);
    if (icaltime_is_null_time(t))
        return {};
    if (icaltime_is_utc(t))
        return moment(t).toLocalTime().date();
    return QDate(t.year, t.month, t.day);
}

QString weekText(qint64 year, qint64 week) {
    return QStringLiteral("%1-W%2").arg(year).arg(week, 2, 10, QLatin1Char('0'));
}

std::optional<std::pair<qint64, qint64>> parseWeek(const QString& value) {
    static const QRegularExpression form(QStringLiteral("^(\\d{4})-W(\\d{1,2})$"));
    const QRegularExpressionMatch match = form.match(value);
    if (!match.hasMatch())
        return std::nullopt;
    const qint64 week = match.captured(2).toLongLong();
    if (week < 1 || week > 53)
        return std::nullopt;
    return std::make_pair(match.captured(1).toLongLong(), week);
}

std::optional<qint64> parseInteger(const QString& value) {
    bool ok = false;
    const qint64 number = value.toLongLong(&ok);
    return ok ? std::optional<qint64>(number) : std::nullopt;
}

// The reminder: the first alarm with an absolute trigger, or one relative to DUE or DTSTART
// when the item has that moment.
QDateTime reminder(icalcomponent* todo) {
    for (icalcomponent* alarm = icalcomponent_get_first_component(todo, ICAL_VALARM_COMPONENT);
         alarm; alarm = icalcomponent_get_next_component(todo, ICAL_VALARM_COMPONENT)) {
        icalproperty* p = icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY);
        if (!p)
            continue;
        const icaltriggertype trigger = icalproperty_get_trigger(p);
        if (!icaltime_is_null_time(trigger.time))
            return moment(trigger.time);
        icalparameter* related = icalproperty_get_first_parameter(p, ICAL_RELATED_PARAMETER);
        const bool toEnd = related && icalparameter_get_related(related) == ICAL_RELATED_END;
        const QDateTime anchor =
            moment(toEnd ? icalcomponent_get_due(todo) : icalcomponent_get_dtstart(todo));
        if (anchor.isValid())
            return anchor.addSecs(icaldurationtype_as_int(trigger.duration));
    }
    return {};
}

void readNote(icalcomponent* todo, TaskFields* out) {
    out->note = TaskText::cleanNote(text(icalcomponent_get_description(todo)));
    out->noteData.clear();
    icalproperty* alt = xProperty(todo, altDescName);
    if (!alt)
        return;
    icalparameter* type = icalproperty_get_first_parameter(alt, ICAL_FMTTYPE_PARAMETER);
    if (!type || qstricmp(icalparameter_get_fmttype(type), "text/html") != 0)
        return;
    RichText rich;
    // Another client that edits DESCRIPTION alone leaves a stale X-ALT-DESC: the plain text
    // wins then, and the formatting is dropped rather than shown over the wrong words.
    if (NoteHtml::fromHtml(text(icalproperty_get_x(alt)), &rich) &&
        TaskText::cleanNote(rich.plainText()) == out->note && !rich.isEmpty())
        out->noteData = rich.toJson();
}

void readPlan(icalcomponent* todo, TaskFields* out) {
    const IsoCalendar calendar;
    const QDate day = dueDay(todo);
    const auto week = parseWeek(xValue(todo, weekName));
    const QString explicitMark = xValue(todo, explicitName).toUpper();
    if (day.isValid()) {
        out->dueDate = calendar.startOfDay(day);
        const WeekKey key = calendar.weekKey(out->dueDate);
        out->year = key.year;
        out->week = key.week;
        // Our own week and mark still match the day: keep the mark. Otherwise another
        // client picked the day, and a picked day is explicit.
        const bool ours = week && week->first == key.year && week->second == key.week;
        out->scheduledExplicitly = !(ours && explicitMark == QLatin1String("FALSE"));
    } else if (week && explicitMark != QLatin1String("TRUE")) {
        out->year = week->first;
        out->week = week->second;
    }
    // An explicit day another client took away leaves the task unplanned.
}

void readSortIndex(icalcomponent* todo, TaskFields* out) {
    const auto ours = parseInteger(xValue(todo, sortIndexName));
    const auto apple = parseInteger(xValue(todo, appleSortName));
    // Tavik writes both in step (Apple's order is smallest first): when they disagree,
    // another client has reordered.
    if (apple && (!ours || *ours != -*apple))
        out->sortIndex = -*apple;
    else
        out->sortIndex = ours.value_or(0);
}

bool readTodo(icalcomponent* todo, TaskFields* out, QString* error) {
    const QString uid = text(icalcomponent_get_uid(todo)).trimmed();
    if (uid.isEmpty()) {
        *error = QStringLiteral("the item has no UID");
        return false;
    }
    TaskFields fields;
    fields.id = QUuid::fromString(uid);
    if (fields.id.isNull())
        fields.id = QUuid::createUuidV5(uidNamespace, uid);
    fields.title = TaskText::cleanTitle(text(icalcomponent_get_summary(todo)));
    readNote(todo, &fields);

    const QDateTime lastModified = propertyMoment(todo, ICAL_LASTMODIFIED_PROPERTY);
    const QDateTime stamp = propertyMoment(todo, ICAL_DTSTAMP_PROPERTY);
    const QDateTime created = propertyMoment(todo, ICAL_CREATED_PROPERTY);
    fields.updatedAt = lastModified.isValid() ? lastModified : stamp.isValid() ? stamp : created;
    fields.createdAt = created.isValid() ? created : fields.updatedAt;

    const icalproperty_status status = icalcomponent_get_status(todo);
    const QDateTime completedAt = propertyMoment(todo, ICAL_COMPLETED_PROPERTY);
    fields.completed = status == ICAL_STATUS_COMPLETED || status == ICAL_STATUS_CANCELLED ||
                       (status != ICAL_STATUS_NEEDSACTION && status != ICAL_STATUS_INPROCESS &&
                        completedAt.isValid());
    if (fields.completed)
        fields.completedAt = completedAt.isValid() ? completedAt : fields.updatedAt;

    readPlan(todo, &fields);
    fields.reminderAt = reminder(todo);
    readSortIndex(todo, &fields);
    *out = fields;
    return true;
}

Component parse(const QByteArray& text) {
    return Component(icalparser_parse_string(text.constData()));
}

// The original lines libical could not keep go back in, just before the VTODO ends.
QByteArray withLines(const QByteArray& serialisedText, const QList<QByteArray>& lines) {
    if (lines.isEmpty())
        return serialisedText;
    const qsizetype end = serialisedText.indexOf("END:VTODO");
    if (end < 0)
        return serialisedText;
    QByteArray block;
    for (const QByteArray& line : lines)
        block += line + "\r\n";
    QByteArray out = serialisedText;
    out.insert(end, block);
    return out;
}

void writeTitle(icalcomponent* todo, const TaskFields& fields) {
    replace(todo, ICAL_SUMMARY_PROPERTY,
            icalproperty_new_summary(fields.title.toUtf8().constData()));
}

void writeNote(icalcomponent* todo, const TaskFields& fields) {
    replace(todo, ICAL_DESCRIPTION_PROPERTY,
            fields.note.isEmpty() ? nullptr
                                  : icalproperty_new_description(fields.note.toUtf8().constData()));
    removeX(todo, altDescName);
    RichText rich;
    if (fields.noteData.isEmpty() || !RichText::fromJson(fields.noteData, &rich) || rich.isEmpty())
        return;
    icalproperty* p = icalproperty_new_x(NoteHtml::toHtml(rich).toUtf8().constData());
    icalproperty_set_x_name(p, altDescName);
    icalproperty_add_parameter(p, icalparameter_new_fmttype("text/html"));
    icalcomponent_add_property(todo, p);
}

void writeCompletion(icalcomponent* todo, const TaskFields& fields, const QDateTime& now) {
    removeAll(todo, ICAL_COMPLETED_PROPERTY);
    removeAll(todo, ICAL_PERCENTCOMPLETE_PROPERTY);
    if (fields.completed) {
        icalcomponent_set_status(todo, ICAL_STATUS_COMPLETED);
        const QDateTime at = fields.completedAt.isValid() ? fields.completedAt : now;
        icalcomponent_add_property(todo, icalproperty_new_completed(utcTime(at)));
        icalcomponent_add_property(todo, icalproperty_new_percentcomplete(100));
    } else {
        icalcomponent_set_status(todo, ICAL_STATUS_NEEDSACTION);
    }
}

void writePlan(icalcomponent* todo, const TaskFields& fields) {
    removeAll(todo, ICAL_DUE_PROPERTY);
    if (fields.dueDate.isValid()) {
        const QDate day = IsoCalendar().localDate(fields.dueDate);
        icaltimetype due = icaltime_null_date();
        due.year = day.year();
        due.month = day.month();
        due.day = day.day();
        icalcomponent_add_property(todo, icalproperty_new_due(due));
        // A start after the new day would make the item invalid for strict servers.
        icalproperty* start = icalcomponent_get_first_property(todo, ICAL_DTSTART_PROPERTY);
        if (start && icaltime_compare_date_only(icalproperty_get_dtstart(start), due) > 0)
            replace(todo, ICAL_DTSTART_PROPERTY, nullptr);
    }
    if (fields.year && fields.week)
        setX(todo, weekName, weekText(*fields.year, *fields.week));
    else
        removeX(todo, weekName);
    setX(todo, explicitName,
         fields.scheduledExplicitly ? QStringLiteral("TRUE") : QStringLiteral("FALSE"));
}

void writeReminder(icalcomponent* todo, const TaskFields& fields) {
    while (icalcomponent* alarm = icalcomponent_get_first_component(todo, ICAL_VALARM_COMPONENT)) {
        icalcomponent_remove_component(todo, alarm);
        icalcomponent_free(alarm);
    }
    if (!fields.reminderAt.isValid())
        return;
    icalcomponent* alarm = icalcomponent_new(ICAL_VALARM_COMPONENT);
    icalcomponent_add_property(alarm, icalproperty_new_action(ICAL_ACTION_DISPLAY));
    icalcomponent_add_property(alarm,
                               icalproperty_new_description(fields.title.toUtf8().constData()));
    icaltriggertype trigger = icaltriggertype_from_int(0);
    trigger.time = utcTime(fields.reminderAt);
    icalproperty* p = icalproperty_new_trigger(trigger);
    icalproperty_add_parameter(p, icalparameter_new_value(ICAL_VALUE_DATETIME));
    icalcomponent_add_property(alarm, p);
    icalcomponent_add_component(todo, alarm);
}

void writeSortIndex(icalcomponent* todo, const TaskFields& fields) {
    setX(todo, sortIndexName, QString::number(fields.sortIndex));
    setX(todo, appleSortName, QString::number(-fields.sortIndex));
}

void replaceTime(icalcomponent* todo, icalproperty_kind kind, const QDateTime& at) {
    icalproperty* p = icalproperty_new(kind);
    icalproperty_set_value(p, icalvalue_new_datetime(utcTime(at)));
    replace(todo, kind, p);
}

Component newCalendar(const TaskFields& fields) {
    Component root(icalcomponent_new(ICAL_VCALENDAR_COMPONENT));
    icalcomponent_add_property(root.get(), icalproperty_new_version("2.0"));
    icalcomponent_add_property(root.get(), icalproperty_new_prodid(prodId));
    icalcomponent* todo = icalcomponent_new(ICAL_VTODO_COMPONENT);
    icalcomponent_add_property(
        todo, icalproperty_new_uid(fields.id.toString(QUuid::WithoutBraces).toUtf8().constData()));
    icalcomponent_add_component(root.get(), todo);
    return root;
}

} // namespace

bool VtodoCodec::decode(const QByteArray& text, TaskFields* out, QString* error) {
    const Scan found = scan(text);
    // libical reads what it can of a text cut short; half a task is worse than none.
    if (found.begun && !found.complete) {
        *error = QStringLiteral("the item is cut off before its end");
        return false;
    }
    Component root = parse(text);
    icalcomponent* todo = root ? masterTodo(root.get()) : nullptr;
    if (!todo) {
        *error = QStringLiteral("the item is not an iCalendar VTODO");
        return false;
    }
    if (!found.unreadableOwned.isEmpty()) {
        *error = QStringLiteral("the item has a property that cannot be read: %1")
                     .arg(QString::fromUtf8(found.unreadableOwned.left(200)));
        return false;
    }
    return readTodo(todo, out, error);
}

void VtodoCodec::loadZones() {
    icaltimezone_get_utc_timezone();
    icaltimezone_get_builtin_timezones();
}

QByteArray VtodoCodec::encode(const TaskFields& fields, const QByteArray& stored,
                              const QDateTime& now) {
    Component root = stored.isEmpty() ? Component() : parse(stored);
    icalcomponent* todo = root ? masterTodo(root.get()) : nullptr;
    TaskFields base;
    QString ignored;
    QList<QByteArray> kept;
    const bool fromStored = todo && decode(stored, &base, &ignored);
    if (fromStored) {
        kept = scan(stored).unreadable;
        // Those lines go back verbatim below; libical's stand-ins for them must not.
        removeAll(todo, ICAL_XLICERROR_PROPERTY);
    } else {
        root = newCalendar(fields);
        todo = masterTodo(root.get());
    }

    if (!fromStored || !fields.sameTitle(base))
        writeTitle(todo, fields);
    if (!fromStored || !fields.sameNote(base))
        writeNote(todo, fields);
    if (!fromStored || !fields.sameCompletion(base))
        writeCompletion(todo, fields, now);
    if (!fromStored || !fields.samePlan(base))
        writePlan(todo, fields);
    if (!fromStored || !fields.sameReminder(base))
        writeReminder(todo, fields);
    if (!fromStored || !fields.sameSortIndex(base))
        writeSortIndex(todo, fields);

    if (!icalcomponent_get_first_property(todo, ICAL_CREATED_PROPERTY))
        replaceTime(todo, ICAL_CREATED_PROPERTY,
                    fields.createdAt.isValid() ? fields.createdAt : now);
    replaceTime(todo, ICAL_LASTMODIFIED_PROPERTY,
                fields.updatedAt.isValid() ? fields.updatedAt : now);
    replaceTime(todo, ICAL_DTSTAMP_PROPERTY, now);
    return withLines(serialised(root.get()), kept);
}

QString VtodoCodec::uid(const QByteArray& text) {
    Component root = parse(text);
    icalcomponent* todo = root ? masterTodo(root.get()) : nullptr;
    return todo ? QString::fromUtf8(icalcomponent_get_uid(todo)).trimmed() : QString();
}
