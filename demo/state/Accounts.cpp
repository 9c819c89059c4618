#include "state/Accounts.h"

#include "state/Random.h"
#include "state/StateFile.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QPasswordDigestor>
#include <QUuid>

#include <algorithm>

namespace demo {

namespace {

constexpr int hashRounds = 30000;
constexpr int hashBytes = 32;

QByteArray hashOf(const QString &password, const QByteArray &salt)
{
    return QPasswordDigestor::deriveKeyPbkdf2(
        QCryptographicHash::Sha256, password.toUtf8(), salt, hashRounds, hashBytes);
}

bool equalInConstantTime(const QByteArray &a, const QByteArray &b)
{
    if (a.size() != b.size())
        return false;
    int difference = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        difference |= a[i] ^ b[i];
    return difference == 0;
}

} // namespace

Accounts::Accounts(StateFile &state)
    : m_state(state)
{
    const QJsonArray stored = state.section("accounts").toArray();
    for (const auto &value : stored) {
        const QJsonObject object = value.toObject();
        Account account{object["id"].toString(), object["login"].toString(), object["group_id"].toString(),
            {}, QByteArray::fromBase64(object["salt"].toString().toLatin1()),
            QByteArray::fromBase64(object["hash"].toString().toLatin1())};
        const QJsonArray permissions = object["permissions"].toArray();
        for (const auto &permission : permissions)
            account.permissions.append(permission.toString());
        m_accounts.insert(account.id, account);
    }
}

QStringList Accounts::allPermissions()
{
    return {"manage_users", "manage_cameras", "manage_vision", "view_audit", "respond_incidents",
        "view_cluster", "floor_plan_view", "manage_floor_plans", "manage_storage", "manage_remote_access"};
}

const Account *Accounts::byId(const QString &id) const
{
    const auto found = m_accounts.constFind(id);
    return found == m_accounts.cend() ? nullptr : &*found;
}

const Account *Accounts::create(
    const QString &login, const QString &password, const QStringList &permissions, QString *error)
{
    if (login.trimmed().isEmpty()) {
        *error = "The login must not be empty";
        return nullptr;
    }
    if (password.size() < minPasswordLength) {
        *error = QString("The password needs at least %1 characters").arg(minPasswordLength);
        return nullptr;
    }
    const bool isTaken = std::any_of(m_accounts.cbegin(), m_accounts.cend(),
        [&login](const Account &account) { return account.login == login; });
    if (isTaken) {
        *error = QString("The login %1 is taken").arg(login);
        return nullptr;
    }
    Account account;
    account.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    account.login = login;
    account.groupId = permissions.isEmpty() ? "operators" : "administrators";
    account.permissions = permissions;
    account.salt = randomBytes(16);
    account.passwordHash = hashOf(password, account.salt);
    m_accounts.insert(account.id, account);
    store();
    return byId(account.id);
}

const Account *Accounts::verify(const QString &login, const QString &password) const
{
    const auto found = std::find_if(m_accounts.cbegin(), m_accounts.cend(),
        [&login](const Account &account) { return account.login == login; });
    const bool isKnown = found != m_accounts.cend();
    const QByteArray hash = hashOf(password, isKnown ? found->salt : QByteArray(16, '\0'));
    return isKnown && equalInConstantTime(hash, found->passwordHash) ? &*found : nullptr;
}

void Accounts::store()
{
    QJsonArray stored;
    for (const Account &account : std::as_const(m_accounts)) {
        stored.append(QJsonObject{{"id", account.id}, {"login", account.login}, {"group_id", account.groupId},
            {"permissions", QJsonArray::fromStringList(account.permissions)},
            {"salt", QString::fromLatin1(account.salt.toBase64())},
            {"hash", QString::fromLatin1(account.passwordHash.toBase64())}});
    }
    m_state.setSection("accounts", stored);
}

} // namespace demo
