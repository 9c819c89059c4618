#pragma once

#include <QLoggingCategory>
#include <QString>

/// Camera statuses: "zorvel.status". Each category shows messages from info level upwards.
Q_DECLARE_LOGGING_CATEGORY(lcStatus)
/// Live streams: "zorvel.stream".
Q_DECLARE_LOGGING_CATEGORY(lcStream)
/// Timeline and archive player: "zorvel.playback".
Q_DECLARE_LOGGING_CATEGORY(lcPlayback)
/// Calls to the server that belong to none of the others: "zorvel.api".
Q_DECLARE_LOGGING_CATEGORY(lcApi)

/// The text without secrets: every address in it loses its user name and password and the values of its query
/// or path items that name a token, password, key or signature; "Bearer" loses its token. A text without any
/// comes back unchanged.
QString redactUrl(const QString &text);
