#pragma once

// A real CalDAV server on loopback for one test: /usr/bin/radicale with a password file (so a
// wrong password is a real 401) or /usr/bin/xandikos, serving a temporary folder on a free
// port, stopped when the object goes.

#include "ServerProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

class CalDavServer {
public:
    enum class Kind { radicale, xandikos };
    inline static const QString username = QStringLiteral("alice");
    inline static const QString password = QStringLiteral("s3cret pässword");

    explicit CalDavServer(Kind kind)
        : m_kind(kind) {}

    // Starts the server and waits until it accepts connections; again after stop(), on the
    // same port with the same data. A test running beside this one may take a free port
    // between the probe and the server's bind: then another port is tried.
    bool start() {
        if (m_port != 0)
            return launch();
        for (int attempt = 0; attempt < 3; ++attempt) {
            QTcpServer probe;
            if (!probe.listen(QHostAddress::LocalHost))
                return false;
            m_port = probe.serverPort();
            probe.close();
            if (launch())
                return true;
            stop();
        }
        return false;
    }

    void stop() { m_process.stop(); }

private:
    bool launch() {
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
        // Up only when our own process holds the listening socket, not another test's server.
        return m_process.startUntil([this] { return listening(); }, 15000);
    }

    // Whether the server's process holds the socket listening on the port.
    [[nodiscard]] bool listening() const {
        QFile table(QStringLiteral("/proc/net/tcp"));
        if (!table.open(QIODevice::ReadOnly))
            return false;
        const QByteArray local =
            QStringLiteral("0100007F:%1").arg(m_port, 4, 16, QLatin1Char('0')).toUpper().toLatin1();
        const QDir fds(QStringLiteral("/proc/%1/fd").arg(m_process.processId()));
        for (const QByteArray& line : table.readAll().split('\n')) {
            const QList<QByteArray> fields = line.simplified().split(' ');
            if (fields.size() > 9 && fields.at(1) == local && fields.at(3) == "0A") {
                const QString socket =
                    QStringLiteral("socket:[%1]").arg(QLatin1String(fields.at(9)));
                for (const QFileInfo& fd : fds.entryInfoList(QDir::System))
                    if (fd.symLinkTarget().endsWith(socket))
                        return true;
            }
        }
        return false;
    }

public:
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
    ServerProcess m_process;
    quint16 m_port = 0;
};
