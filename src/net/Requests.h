#pragma once

#include <QNetworkRequest>
#include <QString>
#include <QUrl>

#include <functional>

class QNetworkReply;

/**
 * How every request to the server is built and how its failure becomes a text. Shared by all clients of the
 * server.
 */
namespace Requests {

enum class Body { None, Json };

/// A request with a fresh "X-Request-ID", and "application/json" as its content type where it carries JSON.
/// Redirects are followed within the same scheme, host and port only, so that neither token nor password
/// reaches another server. It fails when nothing is heard of it for `silenceLimitMs`: a server that loses its
/// power in the middle of a request never says so.
QNetworkRequest plain(const QUrl &url, Body body = Body::None);
inline constexpr int silenceLimitMs = 30'000;

/// The same with "Authorization: Bearer <accessToken>".
QNetworkRequest authorized(const QUrl &url, const QString &accessToken, Body body = Body::None);

/// The text as one segment of a path, or as a value of a query.
QString encoded(const QString &text);

/// Gives `handle` the whole body once the reply has finished. The reply becomes a child of `owner`, which is
/// the object that asked: when that goes first, the request is cancelled and nothing is called. An answer of
/// more than `answerLimit` bytes is cancelled and counts as failed.
void whenFinished(QNetworkReply *reply, QObject *owner,
    const std::function<void(QNetworkReply &reply, const QByteArray &body)> &handle);
inline constexpr qint64 answerLimit = 64LL * 1024 * 1024;

/// Cancels the request when it has not finished after `silenceLimitMs` from now, even if its answer still
/// comes in drop by drop: for requests that the operator is waiting for.
void limitDuration(QNetworkReply *reply);

/// The reply failed: no connection, any HTTP error status, or cancelled.
bool hasFailed(const QNetworkReply &reply);

// Why a reply failed. None of the texts shows the user name or password that an address may carry.

/// In the network layer's words, except for an answer that was given up waiting for, or grew too long.
QString networkErrorText(const QNetworkReply &reply);

/// In the server's words: the "error" text of its JSON body, else the network layer's
/// text.
QString serverErrorText(const QNetworkReply &reply, const QByteArray &body);

/// In technical words: "HTTP <status>: <network layer's text>", or that text alone when
/// no answer arrived.
QString httpErrorText(const QNetworkReply &reply);

} // namespace Requests
