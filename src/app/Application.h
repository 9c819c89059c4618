#pragma once

#include "archive/ExportModel.h"
#include "archive/FormatUtils.h"
#include "archive/TimelineModel.h"
#include "live/CameraListModel.h"
#include "net/ApiClient.h"
#include "net/WSClient.h"

#include <QObject>
#include <QQmlApplicationEngine>
#include <QTimer>
#include <QUrl>

// The object graph of the client: every service and model, once, for the whole run; the wiring between them;
// and the QML engine that shows them. They are members in the order of their creation, so that the engine
// goes first and every service outlives what uses it.
//
// Nothing is fetched before the first successful sign-in. The QML types are registered by the entry point.
class Application : public QObject
{
    Q_OBJECT

public:
    Application();
    ~Application() override;

    // Shows the root document; false when it cannot be loaded.
    bool load(const QUrl &rootDocument = QUrl(QStringLiteral("qrc:/ZorvelClient/qml/Main.qml")));

    ApiClient &apiClient() { return m_apiClient; }
    WSClient &wsClient() { return m_wsClient; }
    CameraListModel &cameraModel() { return m_cameraModel; }
    QQmlApplicationEngine &engine() { return m_engine; }

private:
    void wire();
    void publish();
    void startSession();
    // However it ended: nothing is fetched, and nobody sees this user's cameras, until the next sign-in.
    void endSession();
    // The event channel outlives a session that has expired; nothing is fetched then.
    void refetchCameras();
    // What changed while the event channel was lost was not pushed.
    void catchUpAfterLoss();
    // The server answers again, but its list of cameras has not arrived since the sign-in.
    void catchUpWithoutCameras();

    ApiClient m_apiClient;
    WSClient m_wsClient;
    CameraListModel m_cameraModel;
    TimelineModel m_timelineModel{&m_apiClient};
    ExportModel m_exportModel{&m_apiClient};
    FormatUtils m_formatUtils;
    QTimer m_statusPollTimer{this};
    QTimer m_cameraRefetchTimer{this};
    bool m_channelWasLost = false;
    bool m_hasCameraList = false;
    QQmlApplicationEngine m_engine;
};
