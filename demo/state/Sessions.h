#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

namespace demo {

class StateFile;

/// What a person gets at sign-in: a short-lived access token and the value of the refresh cookie.
struct SessionTokens
{
    QString sessionId;
    QByteArray access;
    QByteArray refresh;
    int accessSeconds = 0;
};

/**
 * Who is signed in.
 *
 * Tokens are random; only their SHA-256 is kept, in memory as in the state file, so that sessions outlive a
 * restart and a stolen state file opens nothing. A refresh replaces both tokens.
 */
class Sessions
{
public:
    static constexpr int defaultAccessSeconds = 900;
    static constexpr int refreshSeconds = 14 * 24 * 3600;

    struct Session
    {
        QString accountId;
        QByteArray accessHash;
        qint64 accessExpiresMs = 0;
        QByteArray refreshHash;
        qint64 refreshExpiresMs = 0;
    };

    explicit Sessions(StateFile &state);

    SessionTokens begin(const QString &accountId);
    /// Renews the session of a refresh cookie; nothing when it is unknown or expired.
    std::optional<SessionTokens> refresh(const QByteArray &refreshToken);
    /// The id of the session whose unexpired access token this is, empty when there is none.
    QString sessionOf(const QByteArray &accessToken) const;
    QString accountOf(const QString &sessionId) const { return m_sessions.value(sessionId).accountId; }
    void end(const QString &sessionId);

    /// Life of access tokens issued from now on.
    void setAccessSeconds(int seconds) { m_accessSeconds = seconds; }
    /// Makes every access token invalid; refresh cookies still work.
    void expireAccess();
    /// Ends every session.
    void endAll();

private:
    SessionTokens issue(const QString &sessionId, const QString &accountId);
    void store();

    StateFile &m_state;
    QHash<QString, Session> m_sessions;
    int m_accessSeconds = defaultAccessSeconds;
};

} // namespace demo
