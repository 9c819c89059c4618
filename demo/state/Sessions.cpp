#include "state/Sessions.h"

#include "state/Random.h"
#include "state/StateFile.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QUuid>

namespace demo {

namespace {

QByteArray hashOf(const QByteArray &token)
{
    return QCryptographicHash::hash(token, QCryptographicHash::Sha256).toHex();
}

qint64 nowMs()
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace

Sessions::Sessions(StateFile &state)
    : m_state(state)
{
    const QJsonObject stored = state.section("sessions").toObject();
    for (auto it = stored.begin(); it != stored.end(); ++it) {
        const QJsonObject object = it.value().toObject();
        const Session session{object["account"].toString(), object["access"].toString().toLatin1(),
            object["access_expires"].toInteger(), object["refresh"].toString().toLatin1(),
            object["refresh_expires"].toInteger()};
        if (session.refreshExpiresMs > nowMs())
            m_sessions.insert(it.key(), session);
    }
}

SessionTokens Sessions::begin(const QString &accountId)
{
    return issue(QUuid::createUuid().toString(QUuid::WithoutBraces), accountId);
}

std::optional<SessionTokens> Sessions::refresh(const QByteArray &refreshToken)
{
    const QByteArray hash = hashOf(refreshToken);
    for (auto it = m_sessions.cbegin(); it != m_sessions.cend(); ++it) {
        if (it->refreshHash == hash && it->refreshExpiresMs > nowMs())
            return issue(QString(it.key()), QString(it->accountId));
    }
    return std::nullopt;
}

QString Sessions::sessionOf(const QByteArray &accessToken) const
{
    if (accessToken.isEmpty())
        return {};
    const QByteArray hash = hashOf(accessToken);
    for (auto it = m_sessions.cbegin(); it != m_sessions.cend(); ++it) {
        if (it->accessHash == hash && it->accessExpiresMs > nowMs())
            return it.key();
    }
    return {};
}

void Sessions::end(const QString &sessionId)
{
    if (m_sessions.remove(sessionId))
        store();
}

void Sessions::expireAccess()
{
    for (Session &session : m_sessions)
        session.accessExpiresMs = 0;
    store();
}

void Sessions::endAll()
{
    m_sessions.clear();
    store();
}

SessionTokens Sessions::issue(const QString &sessionId, const QString &accountId)
{
    SessionTokens tokens{sessionId, randomToken(), randomToken(), m_accessSeconds};
    m_sessions.insert(sessionId,
        {accountId, hashOf(tokens.access), nowMs() + m_accessSeconds * qint64(1000), hashOf(tokens.refresh),
            nowMs() + refreshSeconds * qint64(1000)});
    store();
    return tokens;
}

void Sessions::store()
{
    QJsonObject stored;
    for (auto it = m_sessions.cbegin(); it != m_sessions.cend(); ++it) {
        stored.insert(it.key(),
            QJsonObject{{"account", it->accountId}, {"access", QString::fromLatin1(it->accessHash)},
                {"access_expires", it->accessExpiresMs}, {"refresh", QString::fromLatin1(it->refreshHash)},
                {"refresh_expires", it->refreshExpiresMs}});
    }
    m_state.setSection("sessions", stored);
}

} // namespace demo
