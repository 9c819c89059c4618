#pragma once

#include <QDateTime>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QSaveFile>
#include <QTimer>
#include <QUrl>

#include <memory>

class ApiClient;
class QNetworkReply;

/**
 * Downloads a span of one camera's recording into one MP4 file.
 *
 * The span is asked for in windows of five minutes, one after the other; each answer is appended to the file
 * as it arrives, so that memory stays the same however long the span is. A window that fails is cut back out
 * of the file and asked for again: at most 120 times when the server is busy (status 429, every 5 s), else
 * four times after 1, 2, 4 and 8 s. A window that brings nothing for a minute counts as failed. The file
 * appears under its name only when all of it is there; failure and cancelling leave nothing behind.
 *
 * Owned by the application, known to QML as `exportModel`. One export runs at a time.
 */
class ExportModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool downloading READ downloading NOTIFY downloadingChanged)
    Q_PROPERTY(qint64 downloadedBytes READ downloadedBytes NOTIFY downloadedBytesChanged)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(bool partial READ partial NOTIFY partialChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    Q_PROPERTY(QString savedPath READ savedPath NOTIFY savedPathChanged)

public:
    /// The client is borrowed and must outlive the model.
    explicit ExportModel(ApiClient *apiClient, QObject *parent = nullptr);
    ~ExportModel() override;

    bool downloading() const { return m_downloading; }
    /// Bytes in the file so far; updated at most four times a second.
    qint64 downloadedBytes() const { return m_downloadedBytes; }
    /// Windows done of all windows, 0 to 1.
    double progress() const { return m_progress; }
    /// Whether footage is missing from the last export because the server could not give it.
    bool partial() const { return m_partial; }
    /// Why the last export failed; empty while none has.
    QString error() const { return m_error; }
    Q_INVOKABLE void setError(const QString &error);
    /// Where the last export was saved, until the next one begins or it is dismissed.
    QString savedPath() const { return m_savedPath; }
    /// Forgets how the last export ended: its error, its file, what it lacks. Nothing happens while one runs.
    Q_INVOKABLE void dismiss();

    /// Starts the export of [from, to) into the local file `saveUrl`. Ignored while one runs and for an empty
    /// span; emits downloadFailed() at once when the file cannot be written.
    Q_INVOKABLE void exportDirect(
        const QString &cameraId, const QDateTime &from, const QDateTime &to, const QUrl &saveUrl);
    /// Ends the running export with downloadCancelled() and leaves no file. Once the file is being saved it
    /// is too late, and the export ends as it would have.
    Q_INVOKABLE void cancel();
    /// Fails the running export because nobody is signed in any more, else dismisses the last one; one that
    /// is being saved just then is dismissed when it is.
    void endSession();

    /// Whether a file is there already that an export to this address would replace.
    Q_INVOKABLE bool wouldReplace(const QUrl &saveUrl) const;
    /// A size in whole KB, MB with one or GB with two decimals; "—" for nothing.
    Q_INVOKABLE QString formatSize(qint64 bytes) const;
    /// A file name made of the camera's name and the span in local time, safe on every file system.
    Q_INVOKABLE QString suggestFileName(
        const QString &cameraName, const QDateTime &from, const QDateTime &to) const;

signals:
    void downloadingChanged();
    void downloadedBytesChanged();
    void progressChanged();
    void partialChanged();
    void errorChanged();
    void savedPathChanged();
    void downloadFinished(const QString &path);
    void downloadFailed(const QString &error);
    void downloadCancelled();

private:
    void fetchNextWindow();
    void onReadyRead();
    void onFinished();
    void readBody();
    void windowDone(bool dataWritten, bool partial);
    void retryWindow(int status);
    void commit();
    void committed(bool saved);
    void fail(const QString &message);
    void cleanUpCancelled();
    void discardFile();
    void setDownloading(bool downloading);
    void setDownloadedBytes(qint64 bytes);
    void setProgress(double progress);
    void setPartial(bool partial);
    void setSavedPath(const QString &path);

    ApiClient *m_apiClient;
    QString m_cameraId;
    QDateTime m_origin;
    QDateTime m_to;
    qint64 m_windowCount = 0;
    qint64 m_windowIndex = 0;
    int m_retries = 0;
    int m_throttled = 0;
    bool m_needInit = true;
    bool m_cancelled = false;
    bool m_writeFailed = false;
    bool m_stalled = false;
    bool m_committing = false;
    bool m_sessionEnded = false;
    QString m_path;
    std::shared_ptr<QSaveFile> m_file;
    qint64 m_windowStartSize = 0;
    QByteArray m_errorBody;
    // Kept from one read to the next: to allocate it each time would cost as much as the reading.
    QByteArray m_chunk;
    QPointer<QNetworkReply> m_reply;
    QTimer m_retryTimer{this};
    QTimer m_stallTimer{this};
    QElapsedTimer m_bytesTimer;

    bool m_downloading = false;
    qint64 m_downloadedBytes = 0;
    double m_progress = 0;
    bool m_partial = false;
    QString m_error;
    QString m_savedPath;
};
