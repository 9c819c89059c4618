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
/// | command         | takes                                   | result |
/// |-----------------|-----------------------------------------|-----------------------------------------------|
/// | items           | selector, get                           | the items found, described, with "values" |
/// | focus           |                                         | the item with the keyboard focus, or null |
/// | windows         |                                         | geometry, title, visibility of all windows |
/// | context         | object, get or call + args              | "values" or the call's result | | invoke |
/// selector, call, args                    | the call's result on the first item           | |
/// accessibleNames |                                         | AccessibilityAudit::namedItems | |
/// accessibleGaps  |                                         | AccessibilityAudit::namelessItems | |
/// watchSignals    | type, signal, get                       | null; see SignalLog | | takeSignals     | |
/// SignalLog::take                               | | stopSignals     | | null | | startStalls     | | null;
/// see StallWatch                          | | readStalls      |                                         |
/// StallWatch::report                            | | stopStalls      | | null | | startFrames     | | null;
/// see FrameWatch                          | | readFrames      |                                         |
/// FrameWatch::report                            |
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
