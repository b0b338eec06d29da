#include "SyncCommands.h"

#include "CalDavMirror.h"
#include "CloudAccount.h"
#include "CloudSync.h"
#include "CloudSyncMonitor.h"
#include "KeychainStore.h"
#include "LaunchOptions.h"
#include "ModelContainer.h"
#include "Notifications.h"
#include "Preferences.h"
#include "SingleInstance.h"
#include "StoreLock.h"
#include "SyncReport.h"
#include "TavikContainer.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QTimer>
#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace SyncCommands {

namespace {

const QString kConnect = QStringLiteral("--connect");
const QString kDisconnect = QStringLiteral("--disconnect");
const QString kSync = QStringLiteral("--sync");
const QString noAccount =
    QStringLiteral("no sync account; connect one first with --connect URL USER");

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

// The closing line of a sync, run here or by the running board.
int conclude(int exitCode, const QString& line) {
    if (exitCode != 0)
        return failed(line);
    print(stdout, line + u'\n');
    return 0;
}

int syncOnce(const Clock& clock) {
    if (boardIsRunning()) {
        QString line;
        const int exitCode = SingleInstance::requestSync(
            [](const QString& progress) { print(stderr, progress); }, &line);
        if (exitCode < 0)
            return failed(QStringLiteral("Tavik is running but did not answer: ") + line);
        return conclude(exitCode, line);
    }
    Preferences preferences;
    KeychainStore keys;
    QNetworkAccessManager network;
    CloudAccount account(preferences, keys, &network);
    if (!account.isConfigured())
        return failed(noAccount);

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

    SyncReport report(opened.container->mainContext(), *cloudSync.mirror());
    QObject::connect(&report, &SyncReport::progress, &loop,
                     [](const QString& line) { print(stderr, line); });
    int exitCode = 1;
    QString line;
    QObject::connect(&report, &SyncReport::finished, &loop, [&](int code, const QString& text) {
        exitCode = code;
        line = text;
        loop.quit();
    });
    report.start();
    loop.exec();
    cloudSync.detach();
    return conclude(exitCode, line);
}

// Runs one sync on the board's mirror for `tavik --sync` and answers it when it ends.
void answerSync(SingleInstance& instance, CloudSync& cloudSync, ModelContext& context) {
    CalDavMirror* mirror = cloudSync.mirror();
    if (!mirror) {
        const QString reason = cloudSync.monitor() ? cloudSync.monitor()->stateText() : QString();
        instance.endSync(1, reason.isEmpty()
                                ? noAccount
                                : QStringLiteral("sync is off in the running Tavik: ") + reason);
        return;
    }
    auto* report = new SyncReport(context, *mirror, &instance);
    QObject::connect(report, &SyncReport::progress, &instance, &SingleInstance::reportSyncProgress);
    QObject::connect(report, &SyncReport::finished, &instance,
                     [&instance, report](int exitCode, const QString& line) {
                         instance.endSync(exitCode, line);
                         report->deleteLater();
                     });
    report->start();
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

void serve(SingleInstance& instance, CloudSync& cloudSync, ModelContext& context) {
    QObject::connect(
        &instance, &SingleInstance::syncRequested, &instance,
        [&instance, &cloudSync, &context] { answerSync(instance, cloudSync, context); });
}

} // namespace SyncCommands
