#pragma once

// A real CalDAV server on loopback for one test: /usr/bin/radicale with a password file (so a
// wrong password is a real 401) or /usr/bin/xandikos, serving a temporary folder on a free
// port, stopped when the object goes.

#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <csignal>
#include <sys/prctl.h>

class CalDavServer {
public:
    enum class Kind { radicale, xandikos };
    inline static const QString username = QStringLiteral("alice");
    inline static const QString password = QStringLiteral("s3cret pässword");

    explicit CalDavServer(Kind kind)
        : m_kind(kind) {}
    ~CalDavServer() { stop(); }

    // Starts the server and waits until it accepts connections; again after stop(), on the
    // same port with the same data.
    bool start() {
        if (m_port == 0) {
            QTcpServer probe;
            if (!probe.listen(QHostAddress::LocalHost))
                return false;
            m_port = probe.serverPort();
        }
        const QString root = m_dir.path();
        if (m_kind == Kind::radicale) {
            write(root + QStringLiteral("/users"), username + QLatin1Char(':') + password + '\n');
            write(root + QStringLiteral("/config"),
                  QStringLiteral("[server]\nhosts = 127.0.0.1:%1\n"
                                 "[auth]\ntype = htpasswd\nhtpasswd_filename = %2/users\n"
                                 "htpasswd_encryption = plain\n"
                                 "[storage]\nfilesystem_folder = %2/collections\n"
                                 "[rights]\ntype = owner_only\n[logging]\nlevel = warning\n")
                      .arg(m_port)
                      .arg(root));
            // Radicale logs only what went wrong.
            m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            m_process.setProgram(QStringLiteral("/usr/bin/radicale"));
            m_process.setArguments({QStringLiteral("--config"), root + QStringLiteral("/config")});
        } else {
            m_process.setStandardOutputFile(QProcess::nullDevice());
            m_process.setStandardErrorFile(QProcess::nullDevice());
            m_process.setProgram(QStringLiteral("/usr/bin/xandikos"));
            m_process.setArguments(QStringList{"-d", root, "--defaults", "-l", "127.0.0.1", "-p",
                                               QString::number(m_port)});
        }
        // A test that crashes must not leave its server running.
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        m_process.start();
        return m_process.waitForStarted() &&
               QTest::qWaitFor(
                   [this] {
                       QTcpSocket socket;
                       socket.connectToHost(QHostAddress::LocalHost, m_port);
                       return socket.waitForConnected(200) ||
                              m_process.state() != QProcess::Running;
                   },
                   15000) &&
               m_process.state() == QProcess::Running;
    }

    void stop() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(5000))
            m_process.kill();
        m_process.waitForFinished(2000);
    }

    // Both servers as the rows of a data-driven test, in the column "server".
    static void addRows() {
        QTest::addColumn<Kind>("server");
        QTest::newRow("radicale") << Kind::radicale;
        QTest::newRow("xandikos") << Kind::xandikos;
    }

    // Where Radicale keeps the user's collections, for a benchmark that lays out thousands
    // of items faster than PUTs could.
    [[nodiscard]] QString radicaleUserFolder() const {
        return m_dir.path() + QStringLiteral("/collections/collection-root/") + username;
    }

    [[nodiscard]] QUrl url() const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_port));
    }

private:
    static void write(const QString& path, const QString& text) {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0)
            qFatal("cannot write %s", qPrintable(path));
    }

    Kind m_kind;
    QTemporaryDir m_dir;
    QProcess m_process;
    quint16 m_port = 0;
};
