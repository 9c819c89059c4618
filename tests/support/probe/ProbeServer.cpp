#include "ProbeServer.h"

#include "AccessibilityAudit.h"
#include "ItemQuery.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QMetaMethod>
#include <QtGui/QGuiApplication>
#include <QtNetwork/QLocalSocket>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

#include <stdexcept>

namespace {

constexpr int maxArguments = 4;

QJsonArray items(const QJsonObject &request)
{
    QJsonArray found;
    const QJsonArray names = request.value(QStringLiteral("get")).toArray();
    const auto matches = ItemQuery::find(request.value(QStringLiteral("selector")).toObject());
    for (const QQuickItem *item : matches) {
        QJsonObject entry = ItemQuery::describe(item);
        if (!names.isEmpty()) {
            entry.insert(QStringLiteral("values"), ItemQuery::properties(item, names));
        }
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
    const QJsonArray names = request.value(QStringLiteral("get")).toArray();
    const auto all = QGuiApplication::topLevelWindows();
    for (const QWindow *window : all) {
        found.append(QJsonObject{
            {QStringLiteral("id"), static_cast<qint64>(window->winId())},
            {QStringLiteral("title"), window->title()},
            {QStringLiteral("x"), window->x()},
            {QStringLiteral("y"), window->y()},
            {QStringLiteral("width"), window->width()},
            {QStringLiteral("height"), window->height()},
            {QStringLiteral("visible"), window->isVisible()},
            {QStringLiteral("active"), window->isActive()},
            {QStringLiteral("visibility"), window->visibility()},
            {QStringLiteral("values"), ItemQuery::properties(window, names)},
        });
    }
    return found;
}

QJsonValue call(QObject *object, const QString &name, const QJsonArray &arguments)
{
    const QMetaObject *type = object->metaObject();
    for (int i = 0; i < type->methodCount(); ++i) {
        const QMetaMethod method = type->method(i);
        if (name != QString::fromUtf8(method.name()) || method.parameterCount() != arguments.size()
            || arguments.size() > maxArguments) {
            continue;
        }
        QVariantList values;
        QGenericArgument generic[maxArguments];
        for (int a = 0; a < arguments.size(); ++a) {
            values.append(arguments.at(a).toVariant());
            const QMetaType wanted = method.parameterMetaType(a);
            if (wanted != QMetaType::fromType<QVariant>() && !values.last().convert(wanted)) {
                throw std::runtime_error("argument of the wrong type");
            }
        }
        for (int a = 0; a < arguments.size(); ++a) {
            const bool loose = method.parameterMetaType(a) == QMetaType::fromType<QVariant>();
            generic[a] = loose ? QGenericArgument("QVariant", &values.at(a))
                               : QGenericArgument(values.at(a).metaType().name(), values.at(a).constData());
        }
        QVariant result;
        if (method.returnMetaType() == QMetaType::fromType<QVariant>()) {
            method.invoke(
                object, Q_RETURN_ARG(QVariant, result), generic[0], generic[1], generic[2], generic[3]);
        } else if (method.returnMetaType() == QMetaType::fromType<void>()) {
            method.invoke(object, generic[0], generic[1], generic[2], generic[3]);
        } else {
            result = QVariant(method.returnMetaType());
            method.invoke(object, QGenericReturnArgument(method.typeName(), result.data()), generic[0],
                generic[1], generic[2], generic[3]);
        }
        return ItemQuery::toJson(result);
    }
    throw std::runtime_error("no such method");
}

QObject *contextObject(const QString &name)
{
    QObject *found = nullptr;
    ItemQuery::visit([&](QQuickItem *item) {
        const QQmlEngine *engine = found ? nullptr : qmlEngine(item);
        if (engine) {
            found = engine->rootContext()->contextProperty(name).value<QObject *>();
        }
    });
    if (!found) {
        throw std::runtime_error("no such context object");
    }
    return found;
}

QJsonValue context(const QJsonObject &request)
{
    QObject *object = contextObject(request.value(QStringLiteral("object")).toString());
    const QString method = request.value(QStringLiteral("call")).toString();
    if (method.isEmpty()) {
        return ItemQuery::properties(object, request.value(QStringLiteral("get")).toArray());
    }
    return call(object, method, request.value(QStringLiteral("args")).toArray());
}

QQuickItem *firstItem(const QJsonObject &request)
{
    const auto found = ItemQuery::find(request.value(QStringLiteral("selector")).toObject());
    if (found.isEmpty()) {
        throw std::runtime_error("no such item");
    }
    return found.first();
}

QJsonValue invoke(const QJsonObject &request)
{
    return call(firstItem(request), request.value(QStringLiteral("call")).toString(),
        request.value(QStringLiteral("args")).toArray());
}

QJsonValue assignProperty(const QJsonObject &request)
{
    const QByteArray name = request.value(QStringLiteral("property")).toString().toUtf8();
    if (!firstItem(request)->setProperty(
            name.constData(), request.value(QStringLiteral("value")).toVariant())) {
        throw std::runtime_error("no such property");
    }
    return {};
}

} // namespace

ProbeServer::ProbeServer(const QString &socketName, QObject *parent)
    : QObject(parent)
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server.listen(socketName)) {
        qFatal("probe: cannot listen on %s", qUtf8Printable(socketName));
    }
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
        return {{QStringLiteral("result"), perform(request.value(QStringLiteral("do")).toString(), request)}};
    } catch (const std::runtime_error &error) {
        return {{QStringLiteral("error"), QString::fromUtf8(error.what())}};
    }
}

QJsonValue ProbeServer::perform(const QString &command, const QJsonObject &request)
{
    const QHash<QString, std::function<QJsonValue()>> commands{
        {QStringLiteral("items"), [&] { return items(request); }},
        {QStringLiteral("focus"), [] { return focusItem(); }},
        {QStringLiteral("windows"), [&] { return windows(request); }},
        {QStringLiteral("context"), [&] { return context(request); }},
        {QStringLiteral("invoke"), [&] { return invoke(request); }},
        {QStringLiteral("set"), [&] { return assignProperty(request); }},
        {QStringLiteral("accessibleNames"), [] { return AccessibilityAudit::namedItems(); }},
        {QStringLiteral("accessibleGaps"), [] { return AccessibilityAudit::namelessItems(); }},
        {QStringLiteral("watchSignals"), [&] { return m_signals.watch(request), QJsonValue(); }},
        {QStringLiteral("takeSignals"), [&] { return m_signals.take(); }},
        {QStringLiteral("stopSignals"), [&] { return m_signals.stop(), QJsonValue(); }},
        {QStringLiteral("startStalls"), [&] { return m_stalls.restart(), QJsonValue(); }},
        {QStringLiteral("readStalls"), [&] { return m_stalls.report(); }},
        {QStringLiteral("stopStalls"), [&] { return m_stalls.halt(), QJsonValue(); }},
        {QStringLiteral("startFrames"), [&] { return m_frames.restart(), QJsonValue(); }},
        {QStringLiteral("readFrames"), [&] { return m_frames.report(); }},
    };
    const auto found = commands.constFind(command);
    if (found == commands.constEnd()) {
        throw std::runtime_error("no such command");
    }
    return (*found)();
}
