#include "CommandLine.h"

#include "BoardArchive.h"
#include "Bucket.h"
#include "Clock.h"
#include "DemoData.h"
#include "IsoCalendar.h"
#include "LaunchOptions.h"
#include "ModelContainer.h"
#include "RichText.h"
#include "StoreQuery.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TavikContainer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSqlDatabase>
#include <QStandardPaths>
#include <cstdio>

namespace CommandLine {

namespace {

enum ExitCode { success = 0, failure = 1, usage = 2 };

const QString kList = QStringLiteral("--list");
const QString kCountToday = QStringLiteral("--count-today");
const QString kExport = QStringLiteral("--export");
const QString kImport = QStringLiteral("--import");

void print(FILE* stream, const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
}

int usageError(const QString& message) {
    print(stderr, QStringLiteral("tavik: %1\nTry 'tavik --help'.\n").arg(message));
    return usage;
}

int failed(const QString& message) {
    print(stderr, QStringLiteral("tavik: %1\n").arg(message));
    return failure;
}

// The application has no mode without a store: the same stop as at launch.
int containerFailed(const QString& reason) {
    print(stderr, QStringLiteral("Failed to create ModelContainer: %1\n").arg(reason));
    return failure;
}

// What a reading command looks at.
struct ReadStore {
    std::unique_ptr<ModelContainer> container;
    QString error;
};

// The store a reading command shows, opened read-only: a reading command never writes, so
// it neither races the running board nor changes a file it could not read whole. The real
// store is read only when it exists: a board that was never saved is empty. Only a demo store
// that does not exist yet is made (and seeded), as --seed-demo promises.
ReadStore openForReading(bool demo, const QDateTime& now, ModelContext::OpenMode mode) {
    ReadStore store;
    // Asked of the folder first: the container's paths make the folder.
    const QString dataDir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    const QString path = QDir(dataDir).filePath(
        QLatin1String(demo ? TavikContainer::demoStoreName : TavikContainer::realStoreName));
    if (demo && !QFileInfo::exists(path)) {
        store.container = TavikContainer::createDemo(&store.error).container;
        if (store.container)
            DemoData::seedIfEmpty(store.container->mainContext(), now);
        return store;
    }
    if (QFileInfo::exists(path)) {
        if (auto context = ModelContext::open(path, &store.error, mode))
            store.container = std::make_unique<ModelContainer>(std::move(context));
        return store;
    }
    if (auto empty = ModelContext::open(QStringLiteral(":memory:"), &store.error))
        store.container = std::make_unique<ModelContainer>(std::move(empty));
    return store;
}

QString dayText(const QDateTime& day, const IsoCalendar& calendar) {
    return calendar.localDate(day).toString(Qt::ISODate);
}

// "15:00" on the task's own day, the full local date and time otherwise.
QString reminderText(const TaskItem& task, const IsoCalendar& calendar) {
    const QDateTime local = task.reminderAt().toLocalTime();
    if (task.dueDate().isValid() && calendar.isSameDay(task.dueDate(), task.reminderAt()))
        return local.toString(QStringLiteral("HH:mm"));
    return local.toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

QString taskLine(const TaskItem& task, const IsoCalendar& calendar) {
    QString line = QStringLiteral("  ") + task.title();
    if (task.category())
        line += QStringLiteral("  list ") + task.category()->name();
    if (task.dueDate().isValid())
        line += QStringLiteral("  day ") + dayText(task.dueDate(), calendar);
    if (task.reminderAt().isValid())
        line += QStringLiteral("  reminder ") + reminderText(task, calendar);
    return line + QLatin1Char('\n');
}

// The note's formatting as the runs object, or null when the task has none: a noteData
// that does not decode is shown as missing here, while `note` still carries the text.
QJsonValue richNoteJson(const TaskItem& task) {
    RichText rich;
    if (task.noteData().isEmpty() || !RichText::fromJson(task.noteData(), &rich))
        return QJsonValue::Null;
    return QJsonDocument::fromJson(rich.toJson()).object();
}

QJsonObject taskJson(const TaskItem& task) {
    const TaskCategory* category = task.category();
    return QJsonObject{
        {QStringLiteral("id"), task.id().toString(QUuid::WithoutBraces)},
        {QStringLiteral("title"), task.title()},
        {QStringLiteral("list"), category ? QJsonValue(category->name()) : QJsonValue::Null},
        {QStringLiteral("listId"),
         category ? QJsonValue(category->id().toString(QUuid::WithoutBraces)) : QJsonValue::Null},
        {QStringLiteral("dueDate"), BoardArchive::momentValue(task.dueDate())},
        {QStringLiteral("reminderAt"), BoardArchive::momentValue(task.reminderAt())},
        {QStringLiteral("completed"), task.completed()},
        {QStringLiteral("sortIndex"), QString::number(task.sortIndex())},
        {QStringLiteral("note"), task.note()},
        {QStringLiteral("richNote"), richNoteJson(task)},
    };
}

// Prints the listing as the store hands it over, one task at a time, so that a board of any
// size costs the memory of one record. The JSON has the layout QJsonDocument::Indented gives
// the whole document: keys in order, four spaces a level.
class Listing {
public:
    Listing(bool json, const QList<Bucket>& columns, const QHash<Bucket, int>& sizes)
        : m_json(json)
        , m_columns(columns)
        , m_sizes(sizes) {}

    void task(Bucket bucket, const TaskItem& task) {
        begin();
        while (!m_current || *m_current != bucket)
            openNext();
        if (!m_json) {
            print(stdout, taskLine(task, m_calendar));
            return;
        }
        QByteArray object = QJsonDocument(taskJson(task)).toJson(QJsonDocument::Indented);
        object.chop(1); // the document's closing newline
        object.replace("\n", "\n                ");
        print(stdout, QString::fromUtf8(
                          (m_tasksInColumn ? ",\n                " : "                ") + object));
        ++m_tasksInColumn;
    }

    // Columns after the last task's are listed empty.
    void end(const QDateTime& now) {
        begin();
        while (m_next < m_columns.size())
            openNext();
        closeCurrent();
        if (m_json)
            print(stdout, QStringLiteral("\n    ],\n    \"now\": %1\n}\n")
                              .arg(scalar(BoardArchive::momentValue(now))));
    }

private:
    // Nothing is printed before the store has handed over its first row (SQLite has read
    // every row to sort them by then): a store that cannot be read prints no partial board.
    void begin() {
        if (m_begun)
            return;
        m_begun = true;
        if (m_json)
            print(stdout, QStringLiteral("{\n    \"columns\": [\n"));
    }

    static QString scalar(const QJsonValue& value) {
        const QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
        return QString::fromUtf8(text.mid(1, text.size() - 2));
    }

    void openNext() {
        closeCurrent();
        const Bucket bucket = m_columns.at(m_next++);
        if (!m_json) {
            print(stdout, QStringLiteral("%1%2 %3 (%4)\n")
                              .arg(m_next > 1 ? QStringLiteral("\n") : QString(),
                                   BucketInfo::rawValue(bucket), BucketInfo::title(bucket))
                              .arg(m_sizes.value(bucket)));
        } else {
            print(stdout, QStringLiteral("%1        {\n            \"column\": %2,\n"
                                         "            \"tasks\": [\n")
                              .arg(m_next > 1 ? QStringLiteral(",\n") : QString(),
                                   scalar(BucketInfo::rawValue(bucket))));
        }
        m_current = bucket;
        m_tasksInColumn = 0;
    }

    void closeCurrent() {
        if (m_current && m_json)
            print(stdout, QStringLiteral("%1            ],\n            \"title\": %2\n        }")
                              .arg(m_tasksInColumn ? QStringLiteral("\n") : QString(),
                                   scalar(BucketInfo::title(*m_current))));
        m_current.reset();
    }

    const bool m_json;
    const QList<Bucket> m_columns;
    const QHash<Bucket, int> m_sizes;
    const IsoCalendar m_calendar{};
    qsizetype m_next = 0;
    std::optional<Bucket> m_current;
    int m_tasksInColumn = 0;
    bool m_begun = false;
};

// A store whose tables cannot be read is damaged: the same stop, and advice, as at launch.
int storeFailed(const ModelContext& context, const QString& detail) {
    return containerFailed(ModelContext::damagedMessage(context.path(), detail));
}

int listBoard(const ModelContext& context, const QDateTime& now, std::optional<Bucket> only,
              bool json) {
    // One snapshot for the sizes and the rows, whatever the running board saves meanwhile.
    QSqlDatabase store = QSqlDatabase::database(context.connectionName(), false);
    store.transaction();
    const StoreQuery query(store, now);
    QString error;
    const std::optional<QHash<Bucket, int>> sizes = query.columnSizes(&error);
    if (!sizes)
        return storeFailed(context, error);
    QList<Bucket> columns;
    for (Bucket bucket : BucketInfo::allCases) {
        if (!only || *only == bucket)
            columns.append(bucket);
    }
    Listing listing(json, columns, *sizes);
    const bool read = query.forEachTask(
        only, [&listing](Bucket bucket, const TaskItem& task) { listing.task(bucket, task); },
        &error);
    store.rollback();
    if (!read)
        return storeFailed(context, error);
    listing.end(now);
    return success;
}

int exportBoard(const ModelContext& context, const QString& path) {
    const QByteArray document = BoardArchive::write(context);
    if (path.isEmpty()) {
        std::fwrite(document.constData(), 1, static_cast<size_t>(document.size()), stdout);
        return std::fflush(stdout) == 0 ? success : failed(QStringLiteral("cannot write"));
    }
    // All or nothing: a backup cut short must not replace an older good one.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(document) != document.size() ||
        !file.commit())
        return failed(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    return success;
}

int importBoard(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return failed(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    QString error;
    // The whole file is checked before the store is even opened, so a bad file creates
    // nothing; then it is read again and written task by task, never held whole.
    const std::optional<BoardArchive::Checked> checked = BoardArchive::check(file, &error);
    if (!checked)
        return failed(QStringLiteral("%1 is not a Tavik backup: %2").arg(path, error));

    std::unique_ptr<ModelContainer> container = TavikContainer::create(false, {}, &error).container;
    if (!container)
        return containerFailed(error);
    if (!BoardArchive::restore(container->mainContext(), file, *checked, &error))
        return failed(QStringLiteral("import refused: %1").arg(error));
    print(stdout, QStringLiteral("Imported %1 lists and %2 tasks into %3\n")
                      .arg(checked->categories.size())
                      .arg(checked->taskCount)
                      .arg(container->path()));
    return success;
}

std::optional<QDateTime> parseMoment(const QString& text) {
    QDateTime moment = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!moment.isValid()) {
        const QDate day = QDate::fromString(text, Qt::ISODate);
        if (!day.isValid())
            return std::nullopt;
        moment = day.startOfDay();
    }
    return moment.toUTC();
}

} // namespace

QString helpText() {
    return QStringLiteral(
        "Usage: tavik [--seed-demo] [COMMAND]\n"
        "\n"
        "Tavik is a personal to-do board. Without a command it starts the board in the tray\n"
        "and shows its window (--background: tray only; --toggle: show or hide the board\n"
        "of the running Tavik; --quick-add: the quick-entry window).\n"
        "\n"
        "Commands:\n"
        "  --list [COLUMN] [--json]  Print the board as it stands now: the columns later,\n"
        "                            thisWeek and today, then the done list, or only the\n"
        "                            named COLUMN (later, thisWeek, today or done). Tasks\n"
        "                            come in board order (larger sortIndex first), each\n"
        "                            with its title, list, day and reminder. The later\n"
        "                            column is NOT narrowed to the list selected on the\n"
        "                            board: it shows the tasks of every list.\n"
        "  --count-today             Print the number of open tasks in today, the count\n"
        "                            the tray shows.\n"
        "  --export [FILE]           Write every list and task, with every field, as JSON\n"
        "                            to FILE, or to standard output.\n"
        "  --import FILE             Restore such a JSON backup into an empty store. A store\n"
        "                            that holds records, or a file that is not a valid\n"
        "                            backup, is refused and nothing changes.\n"
        "  -h, --help                Show this text.\n"
        "\n"
        "Options:\n"
        "  --json                    With --list: JSON, dates in ISO 8601 with offset. Each\n"
        "                            task also has its note as plain text (note) and with\n"
        "                            its formatting (richNote: the runs form, or null when\n"
        "                            the note has no formatting that can be read).\n"
        "  --seed-demo               Use the demo store instead of the real one and fill it\n"
        "                            with the demo board first if it has no task. Not with\n"
        "                            --import.\n"
        "  --at MOMENT               Take MOMENT (ISO 8601, e.g. 2026-11-24T09:00 or\n"
        "                            2026-11-24T09:00+01:00) as now instead of the clock.\n"
        "\n"
        "Sync account (a CalDAV server: Nextcloud, Radicale, Fastmail, ...):\n"
        "  --connect URL USER        Find the calendars at URL with USER and the password\n"
        "                            read from standard input, then keep the account (the\n"
        "                            password in the desktop's Secret Service).\n"
        "  --disconnect              Forget the account; the board keeps every task.\n"
        "  --sync                    Sync once: progress on standard error, a summary of\n"
        "                            what went up and came down on standard output, exit 1\n"
        "                            with the reason when it fails. With the board running,\n"
        "                            the board is asked to sync.\n"
        "\n"
        "--list, --count-today and --export only read the store; they never write it\n"
        "(--seed-demo does fill an empty demo store).\n"
        "\n"
        "Exit status: 0 on success, 1 when the store or a file can't be read or written or\n"
        "an import is refused, 2 for wrong usage.\n");
}

int run(const LaunchOptions& options, const Clock& clock) {
    if (!options.error.isEmpty())
        return usageError(options.error);

    if (options.help) {
        print(stdout, helpText());
        return success;
    }

    const QStringList& commands = options.commands;
    if (commands.size() > 1)
        return usageError(QStringLiteral("choose one command, not %1").arg(commands.join(u' ')));
    const bool listing = commands.contains(kList);
    if (options.json && !listing)
        return usageError(QStringLiteral("--json goes with --list only"));
    if (commands.isEmpty())
        return usageError(
            QStringLiteral("no command given (--list, --count-today, --export or --import)"));
    const QString& command = commands.first();
    const QStringList& positional = options.positional;
    const bool demo = options.seedDemo;

    if (command == kImport && (demo || options.at))
        return usageError(QStringLiteral("--import takes neither --seed-demo nor --at"));

    QDateTime now = clock.now();
    if (options.at) {
        const std::optional<QDateTime> moment = parseMoment(*options.at);
        if (!moment)
            return usageError(
                QStringLiteral("--at wants an ISO 8601 moment, not \"%1\"").arg(*options.at));
        now = *moment;
    }

    if (command == kImport) {
        if (positional.size() != 1)
            return usageError(QStringLiteral("--import takes exactly one FILE"));
        return importBoard(positional.first());
    }

    std::optional<Bucket> column;
    if (command == kList && !positional.isEmpty()) {
        column = BucketInfo::fromRawValue(positional.first());
        if (!column || positional.size() > 1)
            return usageError(QStringLiteral("--list takes one of later, thisWeek, today, done"));
    }
    if (command == kCountToday && !positional.isEmpty())
        return usageError(QStringLiteral("--count-today takes no argument"));
    if (command == kExport && positional.size() > 1)
        return usageError(QStringLiteral("--export takes at most one FILE"));

    // Listing and counting ask the tables themselves; only an export needs every record.
    ReadStore store = openForReading(demo, now,
                                     command == kExport ? ModelContext::OpenMode::readOnly
                                                        : ModelContext::OpenMode::query);
    if (!store.container && command == kExport && !positional.isEmpty()) {
        // A damaged store: what can still be read goes to the named file, and the command
        // says that it is not the whole board.
        ReadStore salvaged = openForReading(demo, now, ModelContext::OpenMode::salvage);
        if (salvaged.container) {
            const ModelContext& context = salvaged.container->mainContext();
            if (exportBoard(context, positional.value(0)) != success)
                return failure;
            print(stderr, QStringLiteral("%1\nExported what could still be read (%2 tasks, %3 "
                                         "lists) to %4; it is not the whole board: %5\n")
                              .arg(store.error)
                              .arg(context.tasks().size())
                              .arg(context.categories().size())
                              .arg(positional.value(0), context.damage()));
            return failure;
        }
    }
    if (!store.container)
        return containerFailed(store.error);
    ModelContext& context = store.container->mainContext();

    if (command == kList)
        return listBoard(context, now, column, options.json);
    if (command == kCountToday) {
        QString error;
        const std::optional<int> count =
            StoreQuery(QSqlDatabase::database(context.connectionName(), false), now)
                .todayOpenCount(&error);
        if (!count)
            return storeFailed(context, error);
        print(stdout, QStringLiteral("%1\n").arg(*count));
        return success;
    }
    return exportBoard(context, positional.value(0));
}

} // namespace CommandLine
