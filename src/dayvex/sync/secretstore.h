#pragma once

#include <dayvex/dayvex_export.h>

#include <QHash>
#include <QString>

#include <functional>

namespace dayvex {

/// Where a sync keeps an account's password: the system's keychain by default
/// (KeychainSecretStore), or any other place a host provides. Answers may come
/// later, from the event loop; each callback is called exactly once.
class DAYVEX_CORE_EXPORT SecretStore
{
public:
    virtual ~SecretStore() = default; ///< A secret store may be destroyed through this interface.
    /// Calls done with the secret kept under name, or with an empty secret and the reason it cannot be read.
    virtual void read(const QString &name, std::function<void(const QString &secret, const QString &error)> done) = 0;
    /// Keeps secret under name, then calls done with an empty text or the reason it could not.
    virtual void write(const QString &name, const QString &secret, std::function<void(const QString &error)> done) = 0;
    /// Forgets the secret under name, then calls done as write does.
    virtual void remove(const QString &name, std::function<void(const QString &error)> done) = 0;
};

/// The system's keychain through QtKeychain (the Secret Service, KWallet...),
/// under the service name given.
class DAYVEX_CORE_EXPORT KeychainSecretStore : public SecretStore
{
public:
    /// Secrets of the service `service` (for instance "Dayvex CalDAV").
    explicit KeychainSecretStore(QString service = QStringLiteral("Dayvex CalDAV"));
    void read(const QString &name, std::function<void(const QString &, const QString &)> done) override; ///< See SecretStore.
    void write(const QString &name, const QString &secret, std::function<void(const QString &)> done) override; ///< See SecretStore.
    void remove(const QString &name, std::function<void(const QString &)> done) override; ///< See SecretStore.

private:
    QString m_service;
};

/// Secrets held in this process only, for tests and for a session whose keychain is missing.
class DAYVEX_CORE_EXPORT MemorySecretStore : public SecretStore
{
public:
    void read(const QString &name, std::function<void(const QString &, const QString &)> done) override; ///< See SecretStore.
    void write(const QString &name, const QString &secret, std::function<void(const QString &)> done) override; ///< See SecretStore.
    void remove(const QString &name, std::function<void(const QString &)> done) override; ///< See SecretStore.

private:
    QHash<QString, QString> m_secrets;
};

} // namespace dayvex
