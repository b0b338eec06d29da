#include "BoardTestSupport.h"
#include "ModelContext.h"
#include "TaskItem.h"
#include "TavikContainer.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using TavikContainer::SyncAvailability;
using Kind = TavikContainer::SyncAvailability::Kind;

namespace {

const QDateTime kNow = QDateTime(QDate(2025, 1, 6), QTime(12, 0), Qt::UTC);

QByteArray hashOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(&file);
    return hash.result();
}

QMap<QString, QByteArray> snapshot(const QString& dir) {
    QMap<QString, QByteArray> out;
    const QFileInfoList entries = QDir(dir).entryInfoList(QDir::Files | QDir::Hidden);
    for (const QFileInfo& entry : entries)
        out.insert(entry.fileName(), hashOf(entry.filePath()));
    return out;
}

bool writeNewerStore(const QString& path) {
    BoardTest::SideConnection db(path);
    return db.exec(QStringLiteral("CREATE TABLE tasks (id TEXT PRIMARY KEY, title TEXT,"
                                  " shiny_new_field BLOB)")) &&
           db.exec(QStringLiteral("INSERT INTO tasks VALUES ('x', 'from the future', x'00')")) &&
           db.exec(QStringLiteral("PRAGMA user_version = %1").arg(ModelContext::schemaVersion + 1));
}

} // namespace

class TestTavikContainer : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        m_savedHome = qgetenv("HOME");
    }

    void init() {
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(m_home->isValid());
        qputenv("HOME", m_home->path().toLocal8Bit());
    }

    void cleanup() {
        qputenv("HOME", m_savedHome);
        m_home.reset();
    }

    // Garbage and damaged pages are left as they were by ModelContext (tst_storedamage) and by
    // every command (tst_commandline's "unopenable store" rows); here, a store from a newer
    // version, asked to mirror.
    void newerStoreIsLeftAsItWas() {
        const QString path = TavikContainer::realStorePath();
        QVERIFY(writeNewerStore(path));
        const QMap<QString, QByteArray> before = snapshot(TavikContainer::storeDirectory());
        QVERIFY(before.contains(QStringLiteral("tavik.store")));

        QString error;
        auto [container, availability] = TavikContainer::create(true, {}, &error);
        QVERIFY(!container);
        QVERIFY2(error.contains(QStringLiteral("tavik.store")), qPrintable(error));
        QVERIFY2(error.contains(QString::number(ModelContext::schemaVersion + 1)),
                 qPrintable(error));
        QCOMPARE(availability.kind, Kind::unavailable);
        QVERIFY(!availability.reason.isEmpty());
        QCOMPARE(snapshot(TavikContainer::storeDirectory()), before);
    }

    void demoStoreNeverTouchesTheRealOne() {
        const QUuid existing = seedRealStore();
        QVERIFY(!existing.isNull());
        const QMap<QString, QByteArray> before = snapshot(TavikContainer::storeDirectory());

        QString error;
        auto [demo, availability] = TavikContainer::createDemo(&error);
        QVERIFY2(demo, qPrintable(error));
        QCOMPARE(availability.kind, Kind::localOnly);
        QVERIFY(!demo->mainContext().task(existing));
        demo->mainContext().insert(new TaskItem(QStringLiteral("示例"), 1, kNow));
        QVERIFY(demo->mainContext().save());
        demo.reset();

        QMap<QString, QByteArray> after = snapshot(TavikContainer::storeDirectory());
        after.removeIf(
            [](auto entry) { return entry.key().startsWith(QLatin1String("tavik-demo")); });
        QCOMPARE(after, before);

        // Asked to mirror with no mirror there: the real store opens, sync unavailable.
        error.clear();
        auto [container, mirrored] = TavikContainer::create(true, {}, &error);
        QVERIFY2(container, qPrintable(error));
        QCOMPARE(mirrored.kind, Kind::unavailable);
        QVERIFY(!mirrored.reason.isEmpty());
        QVERIFY(container->mainContext().task(existing));
        container->mainContext().insert(new TaskItem(QStringLiteral("new"), 2, kNow));
        QVERIFY(container->mainContext().save());
    }

private:
    QUuid seedRealStore();

    std::unique_ptr<QTemporaryDir> m_home;
    QByteArray m_savedHome;
};

QUuid TestTavikContainer::seedRealStore() {
    QString error;
    auto context = ModelContext::open(TavikContainer::realStorePath(), &error);
    if (!context) {
        qWarning("seed: %s", qPrintable(error));
        return {};
    }
    auto* task = new TaskItem(QStringLiteral("已有任务"), 1, kNow);
    context->insert(task);
    return context->save() ? task->id() : QUuid();
}

QTEST_GUILESS_MAIN(TestTavikContainer)
#include "tst_tavikcontainer.moc"
