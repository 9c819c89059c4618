#pragma once

#include "net/ApiClient.h"

#include <QDateTime>
#include <QTcpServer>
#include <QVariantList>

// Answers the timeline model in the server's place: the server itself stays silent. Times are in ms since the
// epoch.
class ArchiveFeed : public QObject
{
    Q_OBJECT

public:
    explicit ArchiveFeed(QObject *parent)
        : QObject(parent)
        , m_client(new ApiClient(this))
    {
        m_silentServer.listen(QHostAddress::LocalHost);
        m_client->checkStatus(QStringLiteral("http://127.0.0.1:%1").arg(m_silentServer.serverPort()));
    }

    ApiClient *client() { return m_client; }

    Q_INVOKABLE void giveRange(const QString &cameraId, qint64 earliest, qint64 latest)
    {
        const auto instant = [](qint64 ms) { return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC); };
        emit m_client->recordingRangeReceived(cameraId, {instant(earliest), instant(latest), latest > 0});
    }
    Q_INVOKABLE void failRange(const QString &cameraId)
    {
        emit m_client->recordingRangeFailed(cameraId, QStringLiteral("refused"));
    }
    Q_INVOKABLE void giveBatch(const QVariantMap &perCamera, const QVariantList &merged)
    {
        emit m_client->batchTimelineReceived(perCamera, merged, {});
    }

private:
    QTcpServer m_silentServer;
    ApiClient *m_client;
};

// Stands in for ExportModel: it remembers what it was asked, and a test says how far it is.
class StandInExportModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool downloading MEMBER m_downloading NOTIFY changed)
    Q_PROPERTY(qint64 downloadedBytes MEMBER m_downloadedBytes NOTIFY changed)
    Q_PROPERTY(double progress MEMBER m_progress NOTIFY changed)
    Q_PROPERTY(bool partial MEMBER m_partial NOTIFY changed)
    Q_PROPERTY(QString error MEMBER m_error NOTIFY changed)
    Q_PROPERTY(QString savedPath MEMBER m_savedPath NOTIFY changed)
    Q_PROPERTY(int cancelled MEMBER m_cancelled NOTIFY changed)

public:
    using QObject::QObject;

    Q_INVOKABLE QString formatSize(qint64 bytes) const { return QStringLiteral("%1 bytes").arg(bytes); }
    Q_INVOKABLE void dismiss()
    {
        setProperty("error", QString());
        setProperty("savedPath", QString());
        setProperty("partial", false);
    }
    Q_INVOKABLE void reset()
    {
        dismiss();
        setProperty("downloading", false);
        setProperty("downloadedBytes", 0);
        setProperty("progress", 0);
        setProperty("cancelled", 0);
    }
    Q_INVOKABLE void cancel() { setProperty("cancelled", m_cancelled + 1); }

signals:
    void changed();
    void downloadFinished(const QString &path);
    void downloadFailed(const QString &error);
    void downloadCancelled();

private:
    bool m_downloading = false;
    qint64 m_downloadedBytes = 0;
    double m_progress = 0;
    bool m_partial = false;
    QString m_error;
    QString m_savedPath;
    int m_cancelled = 0;
};
