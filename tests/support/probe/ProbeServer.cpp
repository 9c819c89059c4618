#include "ProbeServer.h"

#include "ItemQuery.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtGui/QGuiApplication>
#include <QtNetwork/QLocalSocket>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlExpression>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

#include <algorithm>
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

QJsonValue evaluate(const QJsonObject &request)
{
    const auto found = ItemQuery::find(request["selector"].toObject());
    const auto item
        = std::ranges::find_if(found, [](const QQuickItem *each) { return qmlContext(each) != nullptr; });
    if (item == found.end())
        throw std::runtime_error("no such item");
    QQmlExpression expression(qmlContext(*item), *item, request["expression"].toString());
    const QVariant result = expression.evaluate();
    if (expression.hasError())
        throw std::runtime_error(expression.error().toString().toStdString());
    return ItemQuery::toJson(result);
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
        {"windows", [&] { return windows(request); }},
        {"evaluate", [&] { return evaluate(request); }},
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
