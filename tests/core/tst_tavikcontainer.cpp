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

// Every file in the directory with its hash: what "untouched" means for a store, whose
// journal files sit next to it.
QMap<QString, QByteArray> snapshot(const QString& dir) {
    QMap<QString, QByteArray> out;
    const QFileInfoList entries = QDir(dir).entryInfoList(QDir::Files | QDir::Hidden);
    for (const QFileInfo& entry : entries)
        out.insert(entry.fileName(), hashOf(entry.filePath()));
    return out;
}

bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// A genuine SQLite file written by some later Tavik: our tables, a higher user_version.
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
    void initTestCase();
    void init();
    void cleanup();

    void storePathsLiveInTheDataDirectory();
    void availabilityFollowsTheMirror_data();
    void availabilityFollowsTheMirror();
    void badStoreFilesAreLeftAsTheyWere_data();
    void badStoreFilesAreLeftAsTheyWere();
    void demoStoreNeverTouchesTheRealOne();

private:
    // Puts one task in the real store, as an earlier launch would have.
    QUuid seedRealStore();

    std::unique_ptr<QTemporaryDir> m_home;
    QByteArray m_savedHome;
};

void TestTavikContainer::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    m_savedHome = qgetenv("HOME");
}

void TestTavikContainer::init() {
    // Test mode puts the data location under $HOME/.qttest: a fresh home per test keeps the
    // stores of one test away from the next.
    m_home = std::make_unique<QTemporaryDir>();
    QVERIFY(m_home->isValid());
    qputenv("HOME", m_home->path().toLocal8Bit());
}

void TestTavikContainer::cleanup() {
    qputenv("HOME", m_savedHome);
    m_home.reset();
}

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

void TestTavikContainer::storePathsLiveInTheDataDirectory() {
    const QString expected = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QVERIFY(expected.startsWith(m_home->path()));
    QVERIFY(!QFileInfo::exists(expected));

    // Asking for the directory makes it, so the first launch can create its store there.
    QCOMPARE(TavikContainer::storeDirectory(), expected);
    QVERIFY(QFileInfo(expected).isDir());
    QCOMPARE(TavikContainer::realStorePath(),
             QDir(expected).filePath(QStringLiteral("tavik.store")));
    QCOMPARE(TavikContainer::demoStorePath(),
             QDir(expected).filePath(QStringLiteral("tavik-demo.store")));
}

void TestTavikContainer::availabilityFollowsTheMirror_data() {
    QTest::addColumn<bool>("cloudSync");
    QTest::addColumn<bool>("installAttacher");
    QTest::addColumn<bool>("attacherSucceeds");
    QTest::addColumn<int>("expectedKind");
    QTest::addColumn<QString>("expectedReason"); // empty: any non-empty text will do
    QTest::addColumn<int>("attacherCalls");

    QTest::newRow("local only, mirror installed")
        << false << true << true << int(Kind::localOnly) << QString() << 0;
    QTest::newRow("local only, no mirror")
        << false << false << false << int(Kind::localOnly) << QString() << 0;
    QTest::newRow("mirrored, attach works")
        << true << true << true << int(Kind::active) << QString() << 1;
    QTest::newRow("mirrored, attach fails") << true << true << false << int(Kind::unavailable)
                                            << QStringLiteral("CalDAV: 401 Unauthorized") << 1;
    QTest::newRow("mirrored, no mirror in this build")
        << true << false << false << int(Kind::unavailable) << QString() << 0;
}

void TestTavikContainer::availabilityFollowsTheMirror() {
    QFETCH(bool, cloudSync);
    QFETCH(bool, installAttacher);
    QFETCH(bool, attacherSucceeds);
    QFETCH(int, expectedKind);
    QFETCH(QString, expectedReason);
    QFETCH(int, attacherCalls);

    const QUuid existing = seedRealStore();
    QVERIFY(!existing.isNull());

    int calls = 0;
    QString attachedPath;
    TavikContainer::MirrorAttacher attacher;
    if (installAttacher) {
        attacher = [&](ModelContainer& container, QString* reason) {
            ++calls;
            attachedPath = container.path();
            // The mirror sees the store already loaded.
            if (!container.mainContext().task(existing))
                return false;
            if (!attacherSucceeds)
                *reason = QStringLiteral("CalDAV: 401 Unauthorized");
            return attacherSucceeds;
        };
    }

    QString error;
    auto [container, availability] = TavikContainer::create(cloudSync, attacher, &error);
    QVERIFY2(container, qPrintable(error));
    QCOMPARE(container->path(), TavikContainer::realStorePath());
    QCOMPARE(calls, attacherCalls);
    if (calls > 0)
        QCOMPARE(attachedPath, TavikContainer::realStorePath());

    QCOMPARE(int(availability.kind), expectedKind);
    if (availability.kind == Kind::unavailable) {
        QVERIFY(!availability.reason.isEmpty());
        if (!expectedReason.isEmpty())
            QCOMPARE(availability.reason, expectedReason);
    } else {
        QVERIFY(availability.reason.isEmpty());
    }

    // Whatever became of the mirror, the board is there and saves.
    ModelContext& context = container->mainContext();
    QVERIFY(context.task(existing));
    QCOMPARE(context.tasks().size(), 1);
    context.insert(new TaskItem(QStringLiteral("new"), 2, kNow));
    QVERIFY(context.save());
    container.reset();
    auto reopened = ModelContext::open(TavikContainer::realStorePath(), &error);
    QVERIFY2(reopened, qPrintable(error));
    QCOMPARE(reopened->tasks().size(), 2);
}

void TestTavikContainer::badStoreFilesAreLeftAsTheyWere_data() {
    QTest::addColumn<QByteArray>("contents"); // empty: a store of a newer schema
    QTest::addColumn<bool>("cloudSync");

    const QByteArray text = QByteArrayLiteral("这不是数据库 — just a note that landed here\n");
    QByteArray header = QByteArrayLiteral("SQLite format 3");
    header.append('\0');
    header.append(QByteArray(4080, '\x5a'));
    QByteArray noise(8192, Qt::Uninitialized);
    for (int i = 0; i < noise.size(); ++i)
        noise[i] = char((i * 131 + 17) % 256);

    QTest::newRow("text file") << text << false;
    QTest::newRow("text file, mirrored") << text << true;
    QTest::newRow("SQLite header over garbage") << header << false;
    QTest::newRow("binary noise") << noise << false;
    QTest::newRow("newer schema") << QByteArray() << false;
    QTest::newRow("newer schema, mirrored") << QByteArray() << true;
}

void TestTavikContainer::badStoreFilesAreLeftAsTheyWere() {
    QFETCH(QByteArray, contents);
    QFETCH(bool, cloudSync);

    const QString path = TavikContainer::realStorePath();
    if (contents.isEmpty())
        QVERIFY(writeNewerStore(path));
    else
        QVERIFY(writeFile(path, contents));
    const QMap<QString, QByteArray> before = snapshot(TavikContainer::storeDirectory());
    QVERIFY(before.contains(QStringLiteral("tavik.store")));

    int calls = 0;
    const auto attacher = [&calls](ModelContainer&, QString*) {
        ++calls;
        return true;
    };
    QString error;
    auto [container, availability] = TavikContainer::create(cloudSync, attacher, &error);
    QVERIFY(!container);
    QCOMPARE(calls, 0);
    // Clear enough to act on: it names the file.
    QVERIFY2(error.contains(QStringLiteral("tavik.store")), qPrintable(error));
    if (contents.isEmpty())
        QVERIFY2(error.contains(QString::number(ModelContext::schemaVersion + 1)),
                 qPrintable(error));
    if (cloudSync) {
        // The mirrored open failed first, and said why.
        QCOMPARE(availability.kind, Kind::unavailable);
        QVERIFY(!availability.reason.isEmpty());
    }

    // Byte for byte as before, and no journal left beside it.
    QCOMPARE(snapshot(TavikContainer::storeDirectory()), before);
}

void TestTavikContainer::demoStoreNeverTouchesTheRealOne() {
    const QUuid existing = seedRealStore();
    QVERIFY(!existing.isNull());
    const QMap<QString, QByteArray> before = snapshot(TavikContainer::storeDirectory());

    QString error;
    auto [demo, availability] = TavikContainer::createDemo(&error);
    QVERIFY2(demo, qPrintable(error));
    QCOMPARE(demo->path(), TavikContainer::demoStorePath());
    QCOMPARE(availability.kind, Kind::localOnly);
    QVERIFY(!demo->mainContext().task(existing));
    for (int i = 0; i < 20; ++i)
        demo->mainContext().insert(new TaskItem(QStringLiteral("示例 %1").arg(i), i, kNow));
    QVERIFY(demo->mainContext().save());
    demo.reset();

    // Only demo files appeared; the real store's files are as they were.
    QMap<QString, QByteArray> after = snapshot(TavikContainer::storeDirectory());
    for (auto it = after.begin(); it != after.end();) {
        if (it.key().startsWith(QStringLiteral("tavik-demo.store")))
            it = after.erase(it);
        else
            ++it;
    }
    QCOMPARE(after, before);

    auto real = TavikContainer::create(false, {}, &error).container;
    QVERIFY2(real, qPrintable(error));
    QCOMPARE(real->mainContext().tasks().size(), 1);
    QVERIFY(real->mainContext().task(existing));
}

QTEST_GUILESS_MAIN(TestTavikContainer)
#include "tst_tavikcontainer.moc"
