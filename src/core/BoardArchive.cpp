#include "BoardArchive.h"

#include "JsonStream.h"
#include "ModelContext.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QBuffer>
#include <QDateTime>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>
#include <QUuid>
#include <algorithm>

namespace BoardArchive {

namespace {

enum class FieldType {
    text,
    flag,
    id,
    optionalId,
    moment,
    optionalMoment,
    integer,
    optionalInteger,
    bytes
};

struct Field {
    QLatin1String name;
    FieldType type;
};

// The fields of each record, in schema order. A document must name exactly these.
const Field kCategoryFields[] = {
    {QLatin1String("id"), FieldType::id},
    {QLatin1String("name"), FieldType::text},
    {QLatin1String("colorHex"), FieldType::text},
    {QLatin1String("sortIndex"), FieldType::integer},
    {QLatin1String("createdAt"), FieldType::moment},
};

const Field kTaskFields[] = {
    {QLatin1String("id"), FieldType::id},
    {QLatin1String("title"), FieldType::text},
    {QLatin1String("note"), FieldType::text},
    {QLatin1String("noteData"), FieldType::bytes},
    {QLatin1String("completed"), FieldType::flag},
    {QLatin1String("completedAt"), FieldType::optionalMoment},
    {QLatin1String("dueDate"), FieldType::optionalMoment},
    {QLatin1String("year"), FieldType::optionalInteger},
    {QLatin1String("week"), FieldType::optionalInteger},
    {QLatin1String("reminderAt"), FieldType::optionalMoment},
    {QLatin1String("scheduledExplicitly"), FieldType::flag},
    {QLatin1String("category"), FieldType::optionalId},
    {QLatin1String("sortIndex"), FieldType::integer},
    {QLatin1String("createdAt"), FieldType::moment},
    {QLatin1String("updatedAt"), FieldType::moment},
};

const QLatin1String kFormat("format");
const QLatin1String kVersion("version");
const QLatin1String kCategories("categories");
const QLatin1String kTasks("tasks");

QString idText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces);
}

QJsonValue integerValue(qint64 value) {
    return QString::number(value);
}

QJsonValue integerValue(std::optional<qint64> value) {
    return value ? integerValue(*value) : QJsonValue(QJsonValue::Null);
}

QJsonObject categoryObject(const TaskCategory& category) {
    return QJsonObject{
        {QLatin1String("id"), idText(category.id())},
        {QLatin1String("name"), category.name()},
        {QLatin1String("colorHex"), category.colorHex()},
        {QLatin1String("sortIndex"), integerValue(category.sortIndex())},
        {QLatin1String("createdAt"), momentValue(category.createdAt())},
    };
}

QJsonObject taskObject(const TaskItem& task) {
    return QJsonObject{
        {QLatin1String("id"), idText(task.id())},
        {QLatin1String("title"), task.title()},
        {QLatin1String("note"), task.note()},
        {QLatin1String("noteData"), QString::fromLatin1(task.noteData().toBase64())},
        {QLatin1String("completed"), task.completed()},
        {QLatin1String("completedAt"), momentValue(task.completedAt())},
        {QLatin1String("dueDate"), momentValue(task.dueDate())},
        {QLatin1String("year"), integerValue(task.year())},
        {QLatin1String("week"), integerValue(task.week())},
        {QLatin1String("reminderAt"), momentValue(task.reminderAt())},
        {QLatin1String("scheduledExplicitly"), task.scheduledExplicitly()},
        {QLatin1String("category"),
         task.category() ? QJsonValue(idText(task.category()->id())) : QJsonValue::Null},
        {QLatin1String("sortIndex"), integerValue(task.sortIndex())},
        {QLatin1String("createdAt"), momentValue(task.createdAt())},
        {QLatin1String("updatedAt"), momentValue(task.updatedAt())},
    };
}

QString describe(FieldType type) {
    switch (type) {
    case FieldType::text:
        return QStringLiteral("a string");
    case FieldType::flag:
        return QStringLiteral("true or false");
    case FieldType::id:
        return QStringLiteral("a UUID string");
    case FieldType::optionalId:
        return QStringLiteral("a UUID string or null");
    case FieldType::moment:
        return QStringLiteral("an ISO 8601 date-time with an offset");
    case FieldType::optionalMoment:
        return QStringLiteral("an ISO 8601 date-time with an offset, or null");
    case FieldType::integer:
        return QStringLiteral("a 64-bit integer written as a decimal string");
    case FieldType::optionalInteger:
        return QStringLiteral("a 64-bit integer written as a decimal string, or null");
    case FieldType::bytes:
        return QStringLiteral("a base64 string");
    }
    return {};
}

// One checked field value. Exactly one of the members is meaningful, by the field's type.
struct Value {
    QString text;
    bool flag = false;
    QUuid id;
    QDateTime moment;
    std::optional<qint64> integer;
    QByteArray bytes;
};

bool parseId(const QJsonValue& json, QUuid* out) {
    if (!json.isString())
        return false;
    const QUuid id = QUuid::fromString(json.toString());
    if (id.isNull())
        return false;
    *out = id;
    return true;
}

bool parseMoment(const QJsonValue& json, QDateTime* out) {
    // Without an offset a moment would mean something else in every time zone.
    static const QRegularExpression pattern(QStringLiteral(
        R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}(:\d{2}(\.\d{1,9})?)?(Z|[+-]\d{2}:\d{2})$)"));
    if (!json.isString() || !pattern.match(json.toString()).hasMatch())
        return false;
    const QDateTime moment = QDateTime::fromString(json.toString(), Qt::ISODateWithMs);
    if (!moment.isValid())
        return false;
    *out = moment.toUTC();
    return true;
}

bool parseInteger(const QJsonValue& json, qint64* out) {
    static const QRegularExpression pattern(QStringLiteral(R"(^-?\d{1,19}$)"));
    if (!json.isString() || !pattern.match(json.toString()).hasMatch())
        return false;
    bool ok = false;
    const qint64 value = json.toString().toLongLong(&ok, 10);
    if (!ok)
        return false;
    *out = value;
    return true;
}

bool parseBytes(const QJsonValue& json, QByteArray* out) {
    if (!json.isString())
        return false;
    const QString text = json.toString();
    for (const QChar c : text) {
        if (c.unicode() > 0x7f)
            return false;
    }
    auto decoded =
        QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return false;
    *out = *decoded;
    return true;
}

bool parseValue(const QJsonValue& json, FieldType type, Value* out) {
    switch (type) {
    case FieldType::text:
        out->text = json.toString();
        return json.isString();
    case FieldType::flag:
        out->flag = json.toBool();
        return json.isBool();
    case FieldType::id:
        return parseId(json, &out->id);
    case FieldType::optionalId:
        return json.isNull() || parseId(json, &out->id);
    case FieldType::moment:
        return parseMoment(json, &out->moment);
    case FieldType::optionalMoment:
        return json.isNull() || parseMoment(json, &out->moment);
    case FieldType::integer:
    case FieldType::optionalInteger: {
        if (json.isNull())
            return type == FieldType::optionalInteger;
        qint64 value = 0;
        if (!parseInteger(json, &value))
            return false;
        out->integer = value;
        return true;
    }
    case FieldType::bytes:
        return parseBytes(json, &out->bytes);
    }
    return false;
}

// Checks one record against its field table: no unknown field, no missing one, each of its
// type. `where` names the record in messages ("tasks[3]").
template <std::size_t N>
bool parseRecord(const QJsonValue& json, const Field (&fields)[N], const QString& where,
                 QHash<QString, Value>* out, QString* error) {
    if (!json.isObject()) {
        *error = QStringLiteral("%1 is not a JSON object").arg(where);
        return false;
    }
    const QJsonObject object = json.toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        const bool known = std::any_of(std::begin(fields), std::end(fields),
                                       [&](const Field& field) { return field.name == it.key(); });
        if (!known) {
            *error = QStringLiteral("%1 has an unknown field \"%2\"").arg(where, it.key());
            return false;
        }
    }
    for (const Field& field : fields) {
        const auto it = object.constFind(field.name);
        if (it == object.constEnd()) {
            *error = QStringLiteral("%1 lacks the field \"%2\"").arg(where, field.name);
            return false;
        }
        Value value;
        if (!parseValue(*it, field.type, &value)) {
            *error = QStringLiteral("%1: \"%2\" must be %3")
                         .arg(where, field.name, describe(field.type));
            return false;
        }
        out->insert(field.name, value);
    }
    return true;
}

bool expectTopLevel(const QJsonObject& root, QString* error) {
    static const QSet<QString> known{kFormat, kVersion, kCategories, kTasks};
    for (auto it = root.begin(); it != root.end(); ++it) {
        if (!known.contains(it.key())) {
            *error = QStringLiteral("unknown top-level field \"%1\"").arg(it.key());
            return false;
        }
    }
    if (root.value(kFormat) != QJsonValue(formatName)) {
        *error = QStringLiteral("not a Tavik board: \"format\" must be \"%1\"").arg(formatName);
        return false;
    }
    const QJsonValue version = root.value(kVersion);
    if (!version.isDouble() || version.toDouble() != formatVersion) {
        const QString given = version.isDouble() ? QString::number(version.toDouble())
                                                 : QStringLiteral("that is not a number");
        *error = QStringLiteral("unsupported format version %1 (this Tavik reads version %2)")
                     .arg(given)
                     .arg(formatVersion);
        return false;
    }
    for (const QLatin1String key : {kCategories, kTasks}) {
        if (!root.value(key).isArray()) {
            *error = QStringLiteral("\"%1\" must be an array").arg(key);
            return false;
        }
    }
    return true;
}

} // namespace

// Local wall-clock time with its offset, so that a person reading the file sees their days.
QJsonValue momentValue(const QDateTime& moment) {
    if (!moment.isValid())
        return QJsonValue::Null;
    const int offset = moment.toLocalTime().offsetFromUtc();
    return moment.toOffsetFromUtc(offset).toString(Qt::ISODateWithMs);
}

QByteArray write(const ModelContext& context) {
    QList<const TaskCategory*> categories(context.categories().cbegin(),
                                          context.categories().cend());
    std::sort(categories.begin(), categories.end(), [](const auto* a, const auto* b) {
        if (a->sortIndex() != b->sortIndex())
            return a->sortIndex() < b->sortIndex();
        return idText(a->id()) < idText(b->id());
    });
    QList<const TaskItem*> tasks(context.tasks().cbegin(), context.tasks().cend());
    std::sort(tasks.begin(), tasks.end(), [](const auto* a, const auto* b) {
        if (a->sortIndex() != b->sortIndex())
            return a->sortIndex() > b->sortIndex();
        return idText(a->id()) < idText(b->id());
    });

    QJsonArray categoryArray;
    for (const TaskCategory* category : categories)
        categoryArray.append(categoryObject(*category));
    QJsonArray taskArray;
    for (const TaskItem* task : tasks)
        taskArray.append(taskObject(*task));

    const QJsonObject root{
        {kFormat, formatName},
        {kVersion, formatVersion},
        {kCategories, categoryArray},
        {kTasks, taskArray},
    };
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

namespace {

std::unique_ptr<TaskCategory> categoryFrom(const QHash<QString, Value>& fields) {
    const auto field = [&](const char* name) { return fields.value(QLatin1String(name)); };
    auto category = std::make_unique<TaskCategory>(field("id").id, field("createdAt").moment);
    category->setName(field("name").text);
    category->setColorHex(field("colorHex").text);
    category->setSortIndex(*field("sortIndex").integer);
    return category;
}

std::unique_ptr<TaskItem> taskFrom(const QHash<QString, Value>& fields, TaskCategory* category) {
    const auto field = [&](const char* name) { return fields.value(QLatin1String(name)); };
    auto task = std::make_unique<TaskItem>(field("id").id, field("createdAt").moment);
    task->setTitle(field("title").text);
    task->setNote(field("note").text);
    task->setNoteData(field("noteData").bytes);
    task->setCompleted(field("completed").flag);
    task->setCompletedAt(field("completedAt").moment);
    task->setDueDate(field("dueDate").moment);
    task->setWeek(field("year").integer, field("week").integer);
    task->setReminderAt(field("reminderAt").moment);
    task->setScheduledExplicitly(field("scheduledExplicitly").flag);
    task->setCategory(category);
    task->setSortIndex(*field("sortIndex").integer);
    task->setUpdatedAt(field("updatedAt").moment);
    return task;
}

QString taskWhere(qsizetype index) {
    return QStringLiteral("tasks[%1]").arg(index);
}

// The first pass: every record checked, the lists kept, of each task only its id (to find
// a repeated one) and the list it names when that list was not read yet.
bool checkDocument(QIODevice& device, Checked* checked, QString* error) {
    JsonStream json(device);
    if (!json.beginObject()) {
        *error = json.error();
        return false;
    }
    QJsonObject top; // format and version, and a stand-in for each array seen
    QString unknown;
    QString recordError;
    QHash<QUuid, qsizetype> listIndex;
    std::vector<std::pair<QUuid, qsizetype>> taskIds;
    QHash<QUuid, qsizetype> namedBeforeRead; // list id -> first task naming it
    QString key;
    while (json.nextKey(&key)) {
        const bool lists = key == kCategories;
        if (!lists && key != kTasks) {
            QJsonValue value;
            if (!json.readValue(&value))
                break;
            if (key == kFormat || key == kVersion)
                top.insert(key, value);
            else if (unknown.isEmpty())
                unknown = key;
            continue;
        }
        if (!json.enterArray()) {
            top.insert(key, QJsonValue::Null);
            if (!json.skipValue())
                break;
            continue;
        }
        top.insert(key, QJsonArray());
        QJsonValue element;
        for (qsizetype i = 0; recordError.isEmpty() && json.nextElement(&element); ++i) {
            const QString where = lists ? QStringLiteral("categories[%1]").arg(i) : taskWhere(i);
            QHash<QString, Value> fields;
            if (!(lists ? parseRecord(element, kCategoryFields, where, &fields, &recordError)
                        : parseRecord(element, kTaskFields, where, &fields, &recordError)))
                break;
            const QUuid id = fields.value(QStringLiteral("id")).id;
            if (lists) {
                if (listIndex.contains(id)) {
                    recordError =
                        QStringLiteral("%1: the id %2 appears twice").arg(where, idText(id));
                    break;
                }
                listIndex.insert(id, qsizetype(checked->categories.size()));
                checked->categories.push_back(categoryFrom(fields));
                continue;
            }
            taskIds.emplace_back(id, i);
            const QUuid listId = fields.value(QStringLiteral("category")).id;
            if (!listId.isNull() && !listIndex.contains(listId) &&
                !namedBeforeRead.contains(listId))
                namedBeforeRead.insert(listId, i);
        }
        if (!json.error().isEmpty())
            break;
        if (!json.atEnd() && !json.skipRestOfArray())
            break;
    }
    if (!json.error().isEmpty() || !json.endDocument()) {
        *error = json.error();
        return false;
    }

    if (!unknown.isEmpty()) {
        *error = QStringLiteral("unknown top-level field \"%1\"").arg(unknown);
        return false;
    }
    if (!expectTopLevel(top, error))
        return false;
    if (!recordError.isEmpty()) {
        *error = recordError;
        return false;
    }
    for (auto it = namedBeforeRead.cbegin(); it != namedBeforeRead.cend(); ++it) {
        if (!listIndex.contains(it.key())) {
            *error = QStringLiteral("%1: its category %2 is not among the categories")
                         .arg(taskWhere(it.value()), idText(it.key()));
            return false;
        }
    }
    // Ids are unique across the whole store, lists and tasks alike.
    std::sort(taskIds.begin(), taskIds.end());
    for (std::size_t i = 0; i < taskIds.size(); ++i) {
        const auto& [id, index] = taskIds[i];
        if (i > 0 && taskIds[i - 1].first == id) {
            *error =
                QStringLiteral("%1: the id %2 appears twice").arg(taskWhere(index), idText(id));
            return false;
        }
        if (listIndex.contains(id)) {
            *error = QStringLiteral("%1: the id %2 appears twice: categories[%3] has it too")
                         .arg(taskWhere(index), idText(id))
                         .arg(listIndex.value(id));
            return false;
        }
    }
    checked->taskCount = qsizetype(taskIds.size());
    return true;
}

// The second pass, over a checked document: each task built, handed over and let go.
bool forEachTask(QIODevice& device, const Checked& checked,
                 const std::function<bool(std::unique_ptr<TaskItem>)>& visit, QString* error) {
    if (!device.seek(0)) {
        *error = device.errorString();
        return false;
    }
    QHash<QUuid, TaskCategory*> lists;
    for (const auto& category : checked.categories)
        lists.insert(category->id(), category.get());
    JsonStream json(device);
    QString key;
    bool ok = json.beginObject();
    while (ok && json.nextKey(&key)) {
        if (key != kTasks || !json.enterArray()) {
            ok = json.skipValue();
            continue;
        }
        QJsonValue element;
        for (qsizetype i = 0; ok && json.nextElement(&element); ++i) {
            QHash<QString, Value> fields;
            // The file was checked whole; a failure here means it changed since.
            if (!parseRecord(element, kTaskFields, taskWhere(i), &fields, error))
                return false;
            const QUuid listId = fields.value(QStringLiteral("category")).id;
            ok = visit(taskFrom(fields, listId.isNull() ? nullptr : lists.value(listId)));
            if (!ok)
                return false;
        }
        ok = json.error().isEmpty();
    }
    if (!json.error().isEmpty()) {
        *error = QStringLiteral("the file changed while it was read: %1").arg(json.error());
        return false;
    }
    return ok;
}

bool refuseUnlessEmpty(const ModelContext& context, QString* error) {
    if (context.tasks().isEmpty() && context.categories().isEmpty())
        return true;
    *error = QStringLiteral("the store already holds %1 tasks and %2 lists; "
                            "a backup is restored only into an empty store")
                 .arg(context.tasks().size())
                 .arg(context.categories().size());
    return false;
}

} // namespace

std::optional<Checked> check(QIODevice& device, QString* error) {
    QString ignored;
    Checked checked;
    if (!checkDocument(device, &checked, error ? error : &ignored))
        return std::nullopt;
    return checked;
}

std::optional<Records> read(const QByteArray& json, QString* error) {
    QString ignored;
    QString& message = error ? *error : ignored;
    QBuffer buffer;
    buffer.setData(json);
    buffer.open(QIODevice::ReadOnly);
    Checked checked;
    if (!checkDocument(buffer, &checked, &message))
        return std::nullopt;
    Records records;
    if (!forEachTask(
            buffer, checked,
            [&records](std::unique_ptr<TaskItem> task) {
                records.tasks.push_back(std::move(task));
                return true;
            },
            &message))
        return std::nullopt;
    records.categories = std::move(checked.categories);
    return records;
}

bool restore(ModelContext& context, QIODevice& device, const Checked& checked, QString* error) {
    QString ignored;
    QString& message = error ? *error : ignored;
    if (!refuseUnlessEmpty(context, &message))
        return false;
    QString readError;
    const bool written = context.writeThrough(
        [&](ModelContext::RecordSink& sink) {
            for (const auto& category : checked.categories) {
                if (!sink.write(*category))
                    return false;
            }
            return forEachTask(
                device, checked,
                [&sink](std::unique_ptr<TaskItem> task) { return sink.write(*task); }, &readError);
        },
        &message);
    if (!written && !readError.isEmpty())
        message = readError;
    else if (!written)
        message = QStringLiteral("the store could not be saved: %1").arg(message);
    return written;
}

bool restore(ModelContext& context, Records records, QString* error) {
    QString ignored;
    QString& message = error ? *error : ignored;
    if (!refuseUnlessEmpty(context, &message))
        return false;

    QList<TaskCategory*> categories;
    for (auto& category : records.categories) {
        categories.append(category.release());
        context.insert(categories.last());
    }
    QList<TaskItem*> tasks;
    for (auto& task : records.tasks) {
        tasks.append(task.release());
        context.insert(tasks.last());
    }

    QString saveError;
    if (!context.save(&saveError)) {
        // Records that never reached the disk leave the context without a trace.
        for (TaskItem* task : std::as_const(tasks))
            context.remove(task);
        for (TaskCategory* category : std::as_const(categories))
            context.remove(category);
        message = QStringLiteral("the store could not be saved: %1").arg(saveError);
        return false;
    }
    return true;
}

} // namespace BoardArchive
