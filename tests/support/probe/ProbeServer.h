#pragma once

#include "FrameWatch.h"
#include "SignalLog.h"
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
/// - focus: the item with the keyboard focus, or null;
/// - windows (get): id, title, state and "values" of all windows;
/// - context (object, get or call and args): the "values" of a context object, or the call's result;
/// - invoke (selector, call, args): the call's result on the first item;
/// - accessibleGaps: see AccessibilityAudit;
/// - watchSignals (type, signal, get), takeSignals, stopSignals: see SignalLog;
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
    SignalLog m_signals;
    StallWatch m_stalls;
    FrameWatch m_frames;
};
