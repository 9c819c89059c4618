#pragma once

#include "FrameWatch.h"
#include "StallWatch.h"

#include <QtCore/QJsonObject>
#include <QtCore/QObject>
#include <QtNetwork/QLocalServer>

class QLocalSocket;

/// Answers questions about the running program on a local socket, one JSON object per line each way.
///
/// A request is {"do": <command>, ...}; the answer {"result": ...} or {"error": <text>}. The commands:
///
/// - items (selector, get): the items found, described, with "values";
/// - windows (get): id, title, state and "values" of all windows;
/// - evaluate (selector, expression): what the expression gives in the document of the first item;
/// - startStalls, readStalls, stopStalls: see StallWatch;
/// - startFrames, readFrames: see FrameWatch.
class ProbeServer : public QObject
{
    Q_OBJECT

public:
    explicit ProbeServer(const QString &socketName, QObject *parent = nullptr);

private:
    void serve(QLocalSocket *socket);
    QJsonObject answer(const QJsonObject &request);
    QJsonValue perform(const QString &command, const QJsonObject &request);

    QLocalServer m_server;
    StallWatch m_stalls;
    FrameWatch m_frames;
};
