#include "ProbeServer.h"

#include "AccessibilityAudit.h"
#include "ItemQuery.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtGui/QGuiApplication>
#include <QtNetwork/QLocalSocket>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtQml/QQmlExpression>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

#include <stdexcept>

namespace {

QJsonArray items(const QJsonObject &request)
{
    QJsonArray found;
    const auto matches = ItemQuery::find(request["selector"].toObject());
    for (const QQuickItem *item : matches) {
        QJsonObject entry = ItemQuery::describe(item);
        entry.insert("values", ItemQuery::properties(item, request["get"].toArray()));
        found.append(entry);
    }
    return found;
}

QJsonValue focusItem()
{
    const auto *window = qobject_cast<QQuickWindow *>(QGuiApplication::focusWindow());
    const QQuickItem *item = window ? window->activeFocusItem() : nullptr;
    return item ? QJsonValue(ItemQuery::describe(item)) : QJsonValue();
}

QJsonArray windows(const QJsonObject &request)
{
    QJsonArray found;
    const auto all = QGuiApplication::topLevelWindows();
    for (const QWindow *window : all) {
        found.append(QJsonObject{
            {"id", static_cast<qint64>(window->winId())},
            {"title", window->title()},
            {"visible", window->isVisible()},
            {"active", window->isActive()},
            {"values", ItemQuery::properties(window, request["get"].toArray())},
        });
    }
    return found;
}

// Calls a function with the request's arguments, as a document would.
QJsonValue call(QQmlContext *context, QObject *scope, const QString &function, const QJsonObject &request)
{
    const QByteArray arguments = QJsonDocument(request["args"].toArray()).toJson(QJsonDocument::Compact);
    QQmlExpression expression(context, scope, function + "(..." + QString::fromUtf8(arguments) + ')');
    const QVariant result = expression.evaluate();
    if (expression.hasError())
        throw std::runtime_error(expression.error().toString().toStdString());
    return ItemQuery::toJson(result);
}

QQmlContext *rootContext()
{
    const auto all = QGuiApplication::topLevelWindows();
    for (const QWindow *window : all)
        if (const QQmlEngine *engine = qmlEngine(window))
            return engine->rootContext();
    throw std::runtime_error("no window of a document");
}

QJsonValue context(const QJsonObject &request)
{
    const QString name = request["object"].toString();
    if (request.contains("call"))
        return call(rootContext(), nullptr, name + '.' + request["call"].toString(), request);
    const auto *object = rootContext()->contextProperty(name).value<QObject *>();
    if (!object)
        throw std::runtime_error("no such context object");
    return ItemQuery::properties(object, request["get"].toArray());
}

QJsonValue invoke(const QJsonObject &request)
{
    const auto found = ItemQuery::find(request["selector"].toObject());
    if (found.isEmpty())
        throw std::runtime_error("no such item");
    return call(qmlContext(found.first()), found.first(), request["call"].toString(), request);
}

} // namespace

ProbeServer::ProbeServer(const QString &socketName, QObject *parent)
    : QObject(parent)
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server.listen(socketName))
        qFatal("probe: cannot listen on %s", qUtf8Printable(socketName));
    connect(
        &m_server, &QLocalServer::newConnection, this, [this] { serve(m_server.nextPendingConnection()); });
}

void ProbeServer::serve(QLocalSocket *socket)
{
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
        while (socket->canReadLine()) {
            const QJsonObject request = QJsonDocument::fromJson(socket->readLine()).object();
            socket->write(QJsonDocument(answer(request)).toJson(QJsonDocument::Compact) + '\n');
        }
    });
}

QJsonObject ProbeServer::answer(const QJsonObject &request)
{
    try {
        return {{"result", perform(request["do"].toString(), request)}};
    } catch (const std::runtime_error &error) {
        return {{"error", QString::fromUtf8(error.what())}};
    }
}

QJsonValue ProbeServer::perform(const QString &command, const QJsonObject &request)
{
    const QHash<QString, std::function<QJsonValue()>> commands{
        {"items", [&] { return items(request); }},
        {"focus", [] { return focusItem(); }},
        {"windows", [&] { return windows(request); }},
        {"context", [&] { return context(request); }},
        {"invoke", [&] { return invoke(request); }},
        {"accessibleGaps", [] { return AccessibilityAudit::namelessItems(); }},
        {"watchSignals", [&] { return m_signals.watch(request), QJsonValue(); }},
        {"takeSignals", [&] { return m_signals.take(); }},
        {"stopSignals", [&] { return m_signals.stop(), QJsonValue(); }},
        {"startStalls", [&] { return m_stalls.restart(), QJsonValue(); }},
        {"readStalls", [&] { return m_stalls.report(); }},
        {"stopStalls", [&] { return m_stalls.halt(), QJsonValue(); }},
        {"startFrames", [&] { return m_frames.restart(), QJsonValue(); }},
        {"readFrames", [&] { return m_frames.report(); }},
    };
    const auto found = commands.constFind(command);
    if (found == commands.constEnd())
        throw std::runtime_error("no such command");
    return (*found)();
}
