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

// Stands in for ArchivePlayer: it remembers what it was asked, and a test says what state it is in.
class StandInArchivePlayer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString state MEMBER m_state NOTIFY stateChanged)
    Q_PROPERTY(qint64 currentTime MEMBER m_currentTime NOTIFY currentTimeChanged)
    Q_PROPERTY(bool playing READ playing NOTIFY stateChanged)
    Q_PROPERTY(double speed MEMBER m_speed NOTIFY speedChanged)
    Q_PROPERTY(QVariantList calls MEMBER m_calls)

public:
    bool playing() const { return m_state == u"playing"; }

    Q_INVOKABLE void init(QObject *) { note({"init"}); }
    Q_INVOKABLE void setPlayer(QObject *) { note({"setPlayer"}); }
    Q_INVOKABLE void setSynchronized(bool on) { note({"setSynchronized", on}); }
    Q_INVOKABLE void setCoverage(const QVariantList &spans) { note({"setCoverage", QVariant(spans)}); }
    Q_INVOKABLE QString loadedCameraId() const { return m_cameraId; }
    Q_INVOKABLE void startFrom(const QString &cameraId, qint64 ms)
    {
        note({"startFrom", cameraId, ms});
        m_cameraId = cameraId;
        setProperty("currentTime", ms);
        setProperty("state", "loading");
    }
    Q_INVOKABLE void seek(qint64 ms)
    {
        note({"seek", ms});
        setProperty("currentTime", ms);
    }
    Q_INVOKABLE void showAt(qint64 ms) { note({"showAt", ms}); }
    Q_INVOKABLE void pause()
    {
        if (playing())
            setProperty("state", "paused");
    }
    Q_INVOKABLE void resume()
    {
        if (m_state == u"paused")
            setProperty("state", "playing");
    }
    Q_INVOKABLE void stop()
    {
        note({"stop"});
        m_cameraId.clear();
        setProperty("currentTime", 0);
        setProperty("state", "idle");
    }
    Q_INVOKABLE void setSpeed(double rate) { setProperty("speed", rate); }

signals:
    void stateChanged();
    void currentTimeChanged();
    void speedChanged();

private:
    void note(const QVariantList &call) { m_calls.append(QVariant(call)); }

    QString m_state = QStringLiteral("idle");
    QString m_cameraId;
    qint64 m_currentTime = 0;
    double m_speed = 1;
    QVariantList m_calls;
};

// Stands in for ExportModel in the same way.
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
