#include "secretstore.h"

#include <qt6keychain/keychain.h>

namespace dayvex {

KeychainSecretStore::KeychainSecretStore(QString service) : m_service(std::move(service)) {}

void KeychainSecretStore::read(const QString &name, std::function<void(const QString &, const QString &)> done)
{
    auto *job = new QKeychain::ReadPasswordJob(m_service);
    job->setAutoDelete(true);
    job->setKey(name);
    QObject::connect(job, &QKeychain::Job::finished, job, [done = std::move(done)](QKeychain::Job *finished) {
        auto *reading = static_cast<QKeychain::ReadPasswordJob *>(finished);
        if (reading->error() != QKeychain::NoError)
            done(QString(), QStringLiteral("the keychain cannot give the password: %1").arg(reading->errorString()));
        else
            done(reading->textData(), QString());
    });
    job->start();
}

void KeychainSecretStore::write(const QString &name, const QString &secret, std::function<void(const QString &)> done)
{
    auto *job = new QKeychain::WritePasswordJob(m_service);
    job->setAutoDelete(true);
    job->setKey(name);
    job->setTextData(secret);
    QObject::connect(job, &QKeychain::Job::finished, job, [done = std::move(done)](QKeychain::Job *finished) {
        done(finished->error() == QKeychain::NoError
                 ? QString()
                 : QStringLiteral("the keychain cannot keep the password: %1").arg(finished->errorString()));
    });
    job->start();
}

void KeychainSecretStore::remove(const QString &name, std::function<void(const QString &)> done)
{
    auto *job = new QKeychain::DeletePasswordJob(m_service);
    job->setAutoDelete(true);
    job->setKey(name);
    QObject::connect(job, &QKeychain::Job::finished, job, [done = std::move(done)](QKeychain::Job *finished) {
        const bool gone = finished->error() == QKeychain::NoError || finished->error() == QKeychain::EntryNotFound;
        done(gone ? QString() : QStringLiteral("the keychain cannot forget the password: %1").arg(finished->errorString()));
    });
    job->start();
}

void MemorySecretStore::read(const QString &name, std::function<void(const QString &, const QString &)> done)
{
    const auto it = m_secrets.constFind(name);
    if (it == m_secrets.cend())
        done(QString(), QStringLiteral("no password is kept for %1").arg(name));
    else
        done(*it, QString());
}

void MemorySecretStore::write(const QString &name, const QString &secret, std::function<void(const QString &)> done)
{
    m_secrets.insert(name, secret);
    done(QString());
}

void MemorySecretStore::remove(const QString &name, std::function<void(const QString &)> done)
{
    m_secrets.remove(name);
    done(QString());
}

} // namespace dayvex
