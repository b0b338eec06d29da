#include "ModelContext.h"
#include "TaskItem.h"
#include "TestData.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <limits>

namespace {

const QString kSeedMoment = QStringLiteral("2026-11-24T16:00:00");
const QDate kSeedDay(2026, 11, 24);

QDateTime local(QDate day, QTime time) {
    return QDateTime(day, time, Qt::LocalTime).toUTC();
}

struct Result {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

class Home {
public:
    Home() {
        if (!m_dir.isValid())
            qFatal("no temporary directory");
    }

    [[nodiscard]] QString path(const QString& name) const { return m_dir.filePath(name); }
    [[nodiscard]] QString dataHome() const { return path(QStringLiteral("share")); }
    [[nodiscard]] QString storePath() const {
        return dataHome() + QStringLiteral("/tavik/tavik.store");
    }
    [[nodiscard]] QString demoStorePath() const {
        return dataHome() + QStringLiteral("/tavik/tavik-demo.store");
    }

    Result run(const QStringList& arguments) const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), m_dir.path());
        env.insert(QStringLiteral("XDG_DATA_HOME"), dataHome());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
        env.insert(QStringLiteral("XDG_CACHE_HOME"), path(QStringLiteral("cache")));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path());
        QProcess process;
        process.setProcessEnvironment(env);
        process.setWorkingDirectory(m_dir.path());
        process.start(QStringLiteral(TAVIK_BINARY), arguments);
        Result result;
        if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit) {
            qWarning("tavik %s did not finish normally", qPrintable(arguments.join(u' ')));
            process.kill();
            process.waitForFinished();
            return result;
        }
        result.exitCode = process.exitCode();
        result.out = process.readAllStandardOutput();
        result.err = process.readAllStandardError();
        return result;
    }

    std::unique_ptr<ModelContext> openStore() const {
        QDir().mkpath(QFileInfo(storePath()).path());
        QString error;
        auto context = ModelContext::open(storePath(), &error);
        if (!context)
            qWarning("cannot open %s: %s", qPrintable(storePath()), qPrintable(error));
        return context;
    }

    bool writeFile(const QString& name, const QByteArray& bytes) const {
        QFile file(path(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

    [[nodiscard]] QStringList state() const {
        QStringList entries;
        QDirIterator it(m_dir.path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString file = it.next();
            const QFileInfo info(file);
            QString entry = QDir(m_dir.path()).relativeFilePath(file);
            if (info.isFile()) {
                QFile f(file);
                f.open(QIODevice::ReadOnly);
                entry += QStringLiteral(" %1 %2 %3")
                             .arg(info.size())
                             .arg(QString::fromLatin1(
                                 QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256)
                                     .toHex()))
                             .arg(info.lastModified().toMSecsSinceEpoch());
            }
            entries << entry;
        }
        entries.sort();
        return entries;
    }

private:
    QTemporaryDir m_runtime;
    QTemporaryDir m_dir;
};

QJsonObject parseObject(const QByteArray& json) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        qWarning("not JSON: %s", qPrintable(error.errorString()));
    return document.object();
}

} // namespace

class TestCommandLine : public QObject {
    Q_OBJECT

private:
    QByteArray m_demoBackup;

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY2(QFileInfo(QStringLiteral(TAVIK_BINARY)).isExecutable(), TAVIK_BINARY);
        Home home;
        const Result result = home.run({QStringLiteral("--seed-demo"), QStringLiteral("--export"),
                                        QStringLiteral("--at"), kSeedMoment});
        QCOMPARE(result.exitCode, 0);
        m_demoBackup = result.out;
        QCOMPARE(parseObject(m_demoBackup).value(QStringLiteral("tasks")).toArray().size(), 13);
    }

    void listJson() {
        Home home;
        const Result result =
            home.run({QStringLiteral("--seed-demo"), QStringLiteral("--list"),
                      QStringLiteral("--json"), QStringLiteral("--at"), kSeedMoment});
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.err.isEmpty(), result.err.constData());

        const QJsonObject root = parseObject(result.out);
        // Printed as the store is read, yet in the layout of the whole document, empty
        // columns and a board without tasks included.
        QCOMPARE(result.out, QJsonDocument(root).toJson());
        for (const QStringList& arguments :
             {QStringList{"--list", "--json"}, QStringList{"--list", "done", "--json"}}) {
            const QByteArray out = Home().run(arguments).out;
            QCOMPARE(out, QJsonDocument(parseObject(out)).toJson());
        }
        QCOMPARE(QDateTime::fromString(root.value(QStringLiteral("now")).toString(), Qt::ISODate),
                 local(kSeedDay, QTime(16, 0)));
        const QRegularExpression withOffset(QStringLiteral(R"((Z|[+-]\d\d:\d\d)$)"));
        QStringList shape;
        for (const QJsonValue& column : root.value(QStringLiteral("columns")).toArray()) {
            const QJsonArray tasks = column[QStringLiteral("tasks")].toArray();
            shape << QStringLiteral("%1 %2")
                         .arg(column[QStringLiteral("column")].toString())
                         .arg(tasks.size());
            qint64 previous = std::numeric_limits<qint64>::max();
            for (const QJsonValue& task : tasks) {
                const qint64 sortIndex = task[QStringLiteral("sortIndex")].toString().toLongLong();
                QVERIFY(sortIndex < previous);
                previous = sortIndex;
            }
        }
        QCOMPARE(shape, (QStringList{"later 3", "thisWeek 2", "today 7", "done 1"}));

        const QJsonObject meeting =
            root[QStringLiteral("columns")][2][QStringLiteral("tasks")][6].toObject();
        QCOMPARE(meeting[QStringLiteral("list")].toString(), QStringLiteral("工作"));
        const QString dueDate = meeting[QStringLiteral("dueDate")].toString();
        const QString reminderAt = meeting[QStringLiteral("reminderAt")].toString();
        QVERIFY2(withOffset.match(dueDate).hasMatch(), qPrintable(dueDate));
        QCOMPARE(QDateTime::fromString(dueDate, Qt::ISODateWithMs), local(kSeedDay, QTime(0, 0)));
        QVERIFY2(withOffset.match(reminderAt).hasMatch(), qPrintable(reminderAt));
        QCOMPARE(QDateTime::fromString(reminderAt, Qt::ISODateWithMs),
                 local(kSeedDay, QTime(15, 0)));
    }

    void exportImportExport() {
        Home home;
        const Result backup =
            home.run({QStringLiteral("--seed-demo"), QStringLiteral("--export"),
                      QStringLiteral("demo.json"), QStringLiteral("--at"), kSeedMoment});
        QCOMPARE(backup.exitCode, 0);
        QFile demo(home.path(QStringLiteral("demo.json")));
        QVERIFY(demo.open(QIODevice::ReadOnly));
        const QByteArray first = demo.readAll();

        const Result imported = home.run({QStringLiteral("--import"), QStringLiteral("demo.json")});
        QCOMPARE(imported.exitCode, 0);
        QVERIFY(imported.out.contains("2 lists and 13 tasks"));

        const Result again = home.run({QStringLiteral("--export")});
        QCOMPARE(again.exitCode, 0);
        QCOMPARE(again.out, first);

        const QStringList list{QStringLiteral("--list"), QStringLiteral("--json"),
                               QStringLiteral("--at"), kSeedMoment};
        QCOMPARE(home.run(list).out,
                 home.run(QStringList{QStringLiteral("--seed-demo")} + list).out);
    }

    void invocation_data() { TestData::addRows("invocations.json"); }

    void invocation() {
        QFETCH(QJsonObject, row);
        const QString store = row[QStringLiteral("store")].toString();
        Home home;
        if (store == QLatin1String("demo")) {
            QVERIFY(home.writeFile(QStringLiteral("demo.json"), m_demoBackup));
            QCOMPARE(home.run({QStringLiteral("--import"), QStringLiteral("demo.json")}).exitCode,
                     0);
        } else if (store.startsWith(QLatin1String("import:"))) {
            const QString backup = QStringLiteral(TAVIK_TEST_DATA "/") + store.mid(7);
            QCOMPARE(home.run({QStringLiteral("--import"), backup}).exitCode, 0);
        } else if (store == QLatin1String("seeded")) {
            QCOMPARE(home.run({QStringLiteral("--seed-demo"), QStringLiteral("--list"),
                               QStringLiteral("--at"), kSeedMoment})
                         .exitCode,
                     0);
        } else if (store == QLatin1String("task")) {
            auto context = home.openStore();
            QVERIFY(context);
            context->insert(new TaskItem(QStringLiteral("mine"), 1, local(kSeedDay, QTime(8, 0))));
            QVERIFY(context->save());
        } else if (store.startsWith(QLatin1String("unopenable"))) {
            const QString path =
                store.endsWith(QLatin1String("demo")) ? home.demoStorePath() : home.storePath();
            QVERIFY(QDir().mkpath(QFileInfo(path).path()));
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("My shopping list, not a database.\n" + QByteArray(600, 'x'));
        }
        const QJsonObject files = row[QStringLiteral("files")].toObject();
        for (auto it = files.begin(); it != files.end(); ++it) {
            const QString text = it.value().toString();
            QVERIFY(home.writeFile(it.key(),
                                   text == QLatin1String("@demo") ? m_demoBackup : text.toUtf8()));
        }
        QTest::qWait(20);
        const QStringList before = home.state();

        QStringList arguments;
        for (const QJsonValue& argument : row[QStringLiteral("argv")].toArray())
            arguments << argument.toString();
        const Result result = home.run(arguments);
        QCOMPARE(result.exitCode, row[QStringLiteral("status")].toInt());
        if (row.contains(QStringLiteral("out")))
            QCOMPARE(QString::fromUtf8(result.out), row[QStringLiteral("out")].toString());
        const QStringList lines = QString::fromUtf8(result.out).split(u'\n');
        for (const QJsonValue& line : row[QStringLiteral("outLines")].toArray())
            QVERIFY2(lines.contains(line.toString()), qPrintable(line.toString()));
        if (row.contains(QStringLiteral("onlyTask"))) {
            const QJsonArray tasks =
                parseObject(result.out)[QStringLiteral("columns")][0][QStringLiteral("tasks")]
                    .toArray();
            QCOMPARE(tasks.size(), 1);
            const QJsonObject expected = row[QStringLiteral("onlyTask")].toObject();
            for (auto it = expected.begin(); it != expected.end(); ++it)
                QCOMPARE(tasks[0][it.key()], it.value());
        }
        const QString err = QString::fromUtf8(result.err);
        if (!row.contains(QStringLiteral("err")))
            QVERIFY2(err.isEmpty(), qPrintable(err));
        for (const QJsonValue& pattern : row[QStringLiteral("err")].toArray())
            QVERIFY2(QRegularExpression(pattern.toString()).match(err).hasMatch(), qPrintable(err));

        if (const QString written = row[QStringLiteral("writes")].toString(); !written.isEmpty()) {
            QVERIFY(QFileInfo::exists(home.path(written)));
            QFile::remove(home.path(written));
        }
        if (row[QStringLiteral("unchanged")].toBool())
            QCOMPARE(home.state(), before);
        if (row[QStringLiteral("noData")].toBool())
            QVERIFY(!QFileInfo::exists(home.dataHome()));
    }
};

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
