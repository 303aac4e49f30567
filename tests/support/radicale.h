#pragma once

// A Radicale of Debian's on 127.0.0.1 and a free port, with a throw-away
// storage folder, one user with a plain-text password and one calendar, for
// the CalDAV tests and the benchmark. It dies with the process that started
// it (PR_SET_PDEATHSIG), so a crashed test leaves no server behind.

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

class Radicale
{
public:
    static QString executable() { return QStandardPaths::findExecutable(QStringLiteral("radicale")); }

    QString user = QStringLiteral("alice");
    QString password = QStringLiteral("s3cret-pass");
    quint16 port = 0;

    Radicale()
    {
        QTcpServer probe;
        if (probe.listen(QHostAddress::LocalHost, 0))
            port = probe.serverPort();
        const QString root = m_dir.path();
        QDir(root).mkpath(QStringLiteral("collections/collection-root/%1/work").arg(user));
        write(root + QStringLiteral("/collections/collection-root/%1/work/.Radicale.props").arg(user),
              R"({"C:supported-calendar-component-set": "VEVENT,VTODO", "D:displayname": "Work", "tag": "VCALENDAR"})");
        write(root + QStringLiteral("/users"), (user + QLatin1Char(':') + password + QLatin1Char('\n')).toUtf8());
        write(root + QStringLiteral("/config"),
              QStringLiteral("[server]\nhosts = 127.0.0.1:%1\n[auth]\ntype = htpasswd\nhtpasswd_filename = %2/users\n"
                             "htpasswd_encryption = plain\ndelay = 0\n[rights]\ntype = owner_only\n"
                             "[storage]\nfilesystem_folder = %2/collections\n[web]\ntype = none\n[logging]\nlevel = warning\n")
                  .arg(port)
                  .arg(root)
                  .toUtf8());
    }
    ~Radicale() { stop(); }
    Radicale(const Radicale &) = delete;
    Radicale &operator=(const Radicale &) = delete;

    QUrl server() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(port)); }
    QUrl calendar() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/%2/work/").arg(port).arg(user)); }
    QString folder() const { return m_dir.path(); }

    // Starts the server and waits until it takes connections; false when it does not within 15 s.
    bool start()
    {
        m_process.setProgram(executable());
        m_process.setArguments({QStringLiteral("--config"), m_dir.path() + QStringLiteral("/config")});
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.setChildProcessModifier([] {
            ::setpgid(0, 0);
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        });
        m_process.start();
        if (!m_process.waitForStarted(10000))
            return false;
        for (int i = 0; i < 300; ++i) {
            QTcpSocket probe;
            probe.connectToHost(QHostAddress::LocalHost, port);
            if (probe.waitForConnected(50))
                return true;
            if (m_process.state() == QProcess::NotRunning)
                return false;
            QThread::msleep(50);
        }
        return false;
    }

    // Kills the server's process group and waits for it.
    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        ::kill(-pid_t(m_process.processId()), SIGKILL);
        m_process.waitForFinished(5000);
    }

    bool isRunning() const { return m_process.state() == QProcess::Running; }

    // A server that stops answering for a while (paused) and then goes on as it was.
    void pause(bool paused)
    {
        if (isRunning())
            ::kill(-pid_t(m_process.processId()), paused ? SIGSTOP : SIGCONT);
    }

private:
    static void write(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(bytes);
    }

    QTemporaryDir m_dir;
    QProcess m_process;
};
