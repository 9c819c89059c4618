#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>

namespace demo {

class StateFile;

struct Account
{
    QString id;
    QString login;
    QString groupId;
    QStringList permissions;
    QByteArray salt;
    QByteArray passwordHash;

    bool may(const QString &permission) const { return permissions.contains(permission); }
};

/// The people who may sign in. Passwords are kept only as salted PBKDF2 hashes.
class Accounts
{
public:
    static constexpr int minPasswordLength = 6;

    explicit Accounts(StateFile &state);

    /// Every permission the recorder knows; the first account gets them all.
    static QStringList allPermissions();

    bool isEmpty() const { return m_accounts.isEmpty(); }
    const Account *byId(const QString &id) const;
    /// Adds an account. Returns null with a text for the person when login or password will not do or the
    /// login is taken.
    const Account *create(
        const QString &login, const QString &password, const QStringList &permissions, QString *error);
    /// The account whose login and password these are, or null. Takes as long for an unknown login.
    const Account *verify(const QString &login, const QString &password) const;

private:
    void store();

    StateFile &m_state;
    QHash<QString, Account> m_accounts;
};

} // namespace demo
