#pragma once

// A real CalDAV server on loopback for one test: /usr/bin/radicale with a password file (so a
// wrong password is a real 401) or /usr/bin/xandikos, serving a temporary folder on a free
// port, stopped when the object goes.

#include <QDir>
#include <QElapsedTimer>
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
        QStringList arguments;
        QString program;
        if (m_kind == Kind::radicale) {
            program = QStringLiteral("/usr/bin/radicale");
            write(root + QStringLiteral("/users"), username + QLatin1Char(':') + password + '\n');
            write(root + QStringLiteral("/config"),
                  QStringLiteral("[server]\nhosts = 127.0.0.1:%1\n"
                                 "[auth]\ntype = htpasswd\nhtpasswd_filename = %2/users\n"
                                 "htpasswd_encryption = plain\n"
                                 "[storage]\nfilesystem_folder = %2/collections\n"
                                 "[rights]\ntype = owner_only\n[logging]\nlevel = warning\n")
                      .arg(m_port)
                      .arg(root));
            arguments = {QStringLiteral("--config"), root + QStringLiteral("/config")};
        } else {
            program = QStringLiteral("/usr/bin/xandikos");
            arguments = {QStringLiteral("-d"),         root,
                         QStringLiteral("--defaults"), QStringLiteral("-l"),
                         QStringLiteral("127.0.0.1"),  QStringLiteral("-p"),
                         QString::number(m_port)};
        }
        // Xandikos logs every request; Radicale only what went wrong.
        if (m_kind == Kind::xandikos) {
            m_process.setStandardOutputFile(QProcess::nullDevice());
            m_process.setStandardErrorFile(QProcess::nullDevice());
        } else {
            m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        }
        // A test that crashes must not leave its server running.
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        m_process.start(program, arguments);
        if (!m_process.waitForStarted())
            return false;
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < 15000) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, m_port);
            if (socket.waitForConnected(200))
                return true;
            if (m_process.state() != QProcess::Running)
                return false;
            QTest::qWait(100);
        }
        return false;
    }

    void stop() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(5000))
            m_process.kill();
        m_process.waitForFinished(2000);
    }

    [[nodiscard]] QUrl url() const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_port));
    }
    [[nodiscard]] Kind kind() const { return m_kind; }

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
