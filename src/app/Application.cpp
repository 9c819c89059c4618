#include "app/Application.h"

#include "app/CrashReporting.h"

#include <QQmlContext>

#include <clocale>
#include <utility>

namespace {

constexpr int statusPollIntervalMs = 15000;
constexpr int cameraRefetchDelayMs = 250;

} // namespace

Application::Application()
{
    // Qt's application object takes the operating system's number format over.
    std::setlocale(LC_NUMERIC, "C");
    m_statusPollTimer.setObjectName(QStringLiteral("statusPollTimer"));
    m_statusPollTimer.setInterval(statusPollIntervalMs);
    m_cameraRefetchTimer.setObjectName(QStringLiteral("cameraRefetchTimer"));
    m_cameraRefetchTimer.setInterval(cameraRefetchDelayMs);
    m_cameraRefetchTimer.setSingleShot(true);
    wire();
    publish();
}

Application::~Application() = default;

bool Application::load(const QUrl &rootDocument)
{
    m_engine.addImportPath(QStringLiteral(":/"));
    m_engine.load(rootDocument);
    return !m_engine.rootObjects().isEmpty();
}

void Application::wire()
{
    const auto start = qOverload<>(&QTimer::start);

    connect(&m_statusPollTimer, &QTimer::timeout, &m_apiClient, &ApiClient::fetchCamerasStatus);
    connect(&m_apiClient, &ApiClient::camerasReceived, &m_cameraModel, &CameraListModel::setCameras);
    connect(&m_apiClient, &ApiClient::camerasReceived, &m_apiClient, &ApiClient::fetchCamerasStatus);
    connect(&m_apiClient, &ApiClient::camerasReceived, this, [this] { m_hasCameraList = true; });
    connect(&m_apiClient, &ApiClient::cameraStatusReceived, &m_cameraModel, &CameraListModel::updateStatuses);
    connect(&m_apiClient, &ApiClient::cameraStatusReceived, this, &Application::catchUpWithoutCameras);
    connect(&m_wsClient, &WSClient::cameraStatusChanged, &m_cameraModel, &CameraListModel::updateStatus);
    connect(&m_cameraRefetchTimer, &QTimer::timeout, this, &Application::refetchCameras);
    connect(&m_wsClient, &WSClient::cameraAdded, &m_cameraRefetchTimer, start);
    connect(&m_wsClient, &WSClient::cameraUpdated, &m_cameraRefetchTimer, start);
    connect(&m_wsClient, &WSClient::cameraDeleted, &m_cameraRefetchTimer, start);
    connect(&m_apiClient, &ApiClient::loginSucceeded, this, &Application::startSession);
    connect(
        &m_wsClient, &WSClient::needsToken, this, [this] { m_wsClient.setToken(m_apiClient.accessToken()); });
    connect(&m_apiClient, &ApiClient::sessionExpired, this, [] { clearCrashUser(); });
    connect(&m_apiClient, &ApiClient::sessionExpired, &m_statusPollTimer, &QTimer::stop);
    connect(&m_apiClient, &ApiClient::authChanged, this, &Application::endSession);
    connect(&m_apiClient, &ApiClient::signedOut, this, [] { clearCrashUser(); });
    connect(&m_apiClient, &ApiClient::signedOut, &m_exportModel, &ExportModel::dismiss);
    connect(&m_apiClient, &ApiClient::signedOut, &m_wsClient, &WSClient::disconnect);
    connect(&m_wsClient, &WSClient::connectionChanged, this, &Application::catchUpAfterLoss);
}

void Application::publish()
{
    QQmlContext *const context = m_engine.rootContext();
    context->setContextProperty(QStringLiteral("apiClient"), &m_apiClient);
    context->setContextProperty(QStringLiteral("wsClient"), &m_wsClient);
    context->setContextProperty(QStringLiteral("cameraModel"), &m_cameraModel);
    context->setContextProperty(QStringLiteral("timelineModel"), &m_timelineModel);
    context->setContextProperty(QStringLiteral("exportModel"), &m_exportModel);
    context->setContextProperty(QStringLiteral("formatUtils"), &m_formatUtils);
}

void Application::startSession()
{
    setCrashUser(m_apiClient.login(), m_apiClient.serverUrl());
    m_hasCameraList = false;
    m_apiClient.fetchCameras();
    m_apiClient.fetchFloorPlans();
    m_apiClient.fetchOpenIncidents();
    m_wsClient.connectTo(WSClient::eventChannelUrl(m_apiClient.serverUrl()), m_apiClient.accessToken());
    m_channelWasLost = false;
    m_statusPollTimer.start();
}

void Application::endSession()
{
    if (m_apiClient.isAuthenticated())
        return;
    m_statusPollTimer.stop();
    m_cameraRefetchTimer.stop();
    m_cameraModel.setCameras({});
    m_timelineModel.clear();
    m_exportModel.endSession();
}

void Application::refetchCameras()
{
    if (m_apiClient.isAuthenticated())
        m_apiClient.fetchCameras();
}

void Application::catchUpAfterLoss()
{
    if (!m_wsClient.isConnected())
        m_channelWasLost = true;
    else if (std::exchange(m_channelWasLost, false) && m_apiClient.isAuthenticated())
        m_cameraRefetchTimer.start();
}

void Application::catchUpWithoutCameras()
{
    if (!m_hasCameraList)
        m_cameraRefetchTimer.start();
}
