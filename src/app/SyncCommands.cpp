#include "SyncCommands.h"

#include "CalDavMirror.h"
#include "CloudAccount.h"
#include "CloudSync.h"
#include "KeychainStore.h"
#include "LaunchOptions.h"
#include "ModelContainer.h"
#include "Notifications.h"
#include "Preferences.h"
#include "SingleInstance.h"
#include "StoreLock.h"
#include "TaskItem.h"
#include "TavikContainer.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QSet>
#include <QTimer>
#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace SyncCommands {

namespace {

const QString kConnect = QStringLiteral("--connect");
const QString kDisconnect = QStringLiteral("--disconnect");
const QString kSync = QStringLiteral("--sync");

void print(FILE* stream, const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

int failed(const QString& message) {
    print(stderr, QStringLiteral("tavik: %1\n").arg(message));
    return 1;
}

int usageError(const QString& message) {
    print(stderr, QStringLiteral("tavik: %1\nTry 'tavik --help'.\n").arg(message));
    return 2;
}

// One line of standard input, without echo when it is a terminal.
QString readPassword() {
    const bool terminal = isatty(STDIN_FILENO) != 0;
    termios saved{};
    if (terminal) {
        print(stderr, QStringLiteral("Password: "));
        tcgetattr(STDIN_FILENO, &saved);
        termios quiet = saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    QByteArray line;
    for (int c = std::fgetc(stdin); c != EOF && c != '\n'; c = std::fgetc(stdin))
        line.append(char(c));
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSANOW, &saved);
        print(stderr, QStringLiteral("\n"));
    }
    if (line.endsWith('\r'))
        line.chop(1);
    return QString::fromUtf8(line);
}

bool boardIsRunning() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface() &&
           bus.interface()->isServiceRegistered(SingleInstance::serviceName).value();
}

int connectOrDisconnect(const QString& command, const LaunchOptions& options) {
    Preferences preferences;
    KeychainStore keys;
    QNetworkAccessManager network;
    CloudAccount account(preferences, keys, &network);
    QEventLoop loop;
    bool ok = false;
    QObject::connect(&account, &CloudAccount::connectFinished, &loop, [&](bool worked) {
        ok = worked;
        loop.quit();
    });
    if (command == kConnect) {
        if (options.positional.size() != 2)
            return usageError(QStringLiteral("--connect takes URL and USER (the password comes "
                                             "on standard input)"));
        const QString password = readPassword();
        account.connectAccount(options.positional.at(0), options.positional.at(1), password);
    } else {
        if (!options.positional.isEmpty())
            return usageError(QStringLiteral("--disconnect takes no argument"));
        account.disconnectAccount();
    }
    if (account.isBusy())
        loop.exec();
    if (!ok)
        return failed(account.message());
    print(stdout, account.message() + u'\n');
    // The running board follows at once.
    if (boardIsRunning() && !SingleInstance::forward({QStringLiteral("tavik"), command}))
        print(stderr, QStringLiteral("tavik: the running board did not answer; it takes the "
                                     "change at its next start\n"));
    return account.messageIsError() ? 1 : 0;
}

QString stepName(MirrorEvent::Type type) {
    switch (type) {
    case MirrorEvent::Type::setup:
        return QStringLiteral("setup");
    case MirrorEvent::Type::import:
        return QStringLiteral("import");
    case MirrorEvent::Type::exportChanges:
        return QStringLiteral("export");
    }
    return {};
}

int syncOnce(const Clock& clock) {
    if (boardIsRunning()) {
        if (!SingleInstance::forward({QStringLiteral("tavik"), kSync}))
            return failed(QStringLiteral("Tavik is running but did not answer"));
        print(stdout, QStringLiteral("asked the running Tavik to sync; its settings window "
                                     "shows how it went\n"));
        return 0;
    }
    Preferences preferences;
    KeychainStore keys;
    QNetworkAccessManager network;
    CloudAccount account(preferences, keys, &network);
    if (!account.isConfigured())
        return failed(QStringLiteral("no sync account; connect one first with --connect URL USER"));

    QEventLoop loop;
    CalDavClient::Account credentials;
    QString problem;
    account.loadAccount(&loop, [&](const CalDavClient::Account& loaded, const QString& why) {
        credentials = loaded;
        problem = why;
        loop.quit();
    });
    loop.exec();
    if (!problem.isEmpty())
        return failed(problem);

    StoreLock lock(TavikContainer::realStorePath());
    if (QString reason; !lock.tryLock(&reason))
        return failed(reason);
    NotificationHub hub;
    CloudSync cloudSync({&network, clock, hub, nullptr}, SyncScheduler::Timing{});
    QString error;
    TavikContainer::Opened opened = TavikContainer::create(
        true,
        [&](ModelContainer& container, QString* reason) {
            return cloudSync.attach(container.mainContext(), credentials, reason);
        },
        &error);
    if (!opened.container)
        return failed(QStringLiteral("Failed to create ModelContainer: ") + error);
    if (opened.sync.kind != TavikContainer::SyncAvailability::Kind::active)
        return failed(opened.sync.reason);

    ModelContext& context = opened.container->mainContext();
    CalDavMirror& mirror = *cloudSync.mirror();
    const qsizetype waiting = context.pendingChanges().size();
    // What came down: the records the import touched.
    QSet<const QObject*> received;
    bool importing = false;
    const auto touched = [&](const QObject* record) {
        if (importing)
            received.insert(record);
    };
    QObject::connect(&context, &ModelContext::taskInserted, &loop, touched);
    QObject::connect(&context, &ModelContext::taskChanged, &loop, touched);
    QObject::connect(&context, &ModelContext::taskRemoved, &loop, touched);
    CalDavError lastError;
    QObject::connect(&mirror, &CalDavMirror::eventChanged, &loop, [&](const MirrorEvent& event) {
        const QString step = stepName(event.type);
        if (event.type == MirrorEvent::Type::import)
            importing = !event.endedAt.isValid();
        if (!event.endedAt.isValid()) {
            print(stderr, step + QStringLiteral("…\n"));
        } else if (event.error.isError()) {
            lastError = event.error;
            print(stderr, QStringLiteral("%1 failed: %2\n").arg(step, event.error.detail));
        }
    });
    QObject::connect(&mirror, &CalDavMirror::progress, &loop, [](qsizetype done, qsizetype total) {
        print(stderr, QStringLiteral("export %1/%2\r").arg(done).arg(total));
    });
    bool ok = false;
    QObject::connect(&mirror, &CalDavMirror::finished, &loop, [&](bool worked) {
        ok = worked;
        loop.quit();
    });
    mirror.sync();
    loop.exec();
    const qsizetype stillWaiting = context.pendingChanges().size();
    cloudSync.detach();

    const qsizetype sent = waiting - stillWaiting;
    if (!ok)
        return failed(QStringLiteral("sync failed: %1 (%2); sent %3 changes before it stopped")
                          .arg(lastError.userText(), lastError.detail)
                          .arg(qMax<qsizetype>(0, sent)));
    print(stdout, QStringLiteral("synced: up %1 changes, down %2 tasks\n")
                      .arg(qMax<qsizetype>(0, sent))
                      .arg(received.size()));
    return 0;
}

} // namespace

int run(const QString& command, const LaunchOptions& options, const Clock& clock) {
    if (options.seedDemo || options.at)
        return usageError(QStringLiteral("%1 takes neither --seed-demo nor --at").arg(command));
    if (command == kSync) {
        if (!options.positional.isEmpty())
            return usageError(QStringLiteral("--sync takes no argument"));
        return syncOnce(clock);
    }
    return connectOrDisconnect(command, options);
}

} // namespace SyncCommands
