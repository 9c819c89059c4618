#include "archive/ExportModel.h"

#include "net/ApiClient.h"

#include <QFileInfo>
#include <QFuture>
#include <QNetworkReply>
#include <QPromise>
#include <QRegularExpression>
#include <QThreadPool>

namespace {

constexpr qint64 windowMs = 300'000;
constexpr qint64 chunkBytes = 262'144;
constexpr qint64 readAheadBytes = 16 * chunkBytes;
constexpr qint64 errorBodyLimit = 65'536;
constexpr int bytesIntervalMs = 250;
constexpr int stallMs = 60'000;
constexpr int busyDelayMs = 5'000;
constexpr int busyLimit = 120;
constexpr int firstRetryDelayMs = 1'000;
constexpr int attemptLimit = 5;
constexpr int statusBusy = 429;

int httpStatus(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

} // namespace

ExportModel::ExportModel(ApiClient *apiClient, QObject *parent)
    : QObject(parent)
    , m_apiClient(apiClient)
{
    m_retryTimer.setObjectName(QStringLiteral("retryTimer"));
    m_retryTimer.setSingleShot(true);
    connect(&m_retryTimer, &QTimer::timeout, this, &ExportModel::fetchNextWindow);

    m_stallTimer.setObjectName(QStringLiteral("stallTimer"));
    m_stallTimer.setSingleShot(true);
    connect(&m_stallTimer, &QTimer::timeout, this, [this] {
        m_stalled = true;
        m_reply->abort();
    });
}

ExportModel::~ExportModel()
{
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
    }
}

void ExportModel::setError(const QString &error)
{
    if (m_error == error)
        return;
    m_error = error;
    emit errorChanged();
}

void ExportModel::exportDirect(
    const QString &cameraId, const QDateTime &from, const QDateTime &to, const QUrl &saveUrl)
{
    if (m_downloading || !from.isValid() || !to.isValid() || from >= to)
        return;

    dismiss();
    m_path = saveUrl.toLocalFile();
    m_file = std::make_shared<QSaveFile>(m_path);
    if (m_path.isEmpty() || !m_file->open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        m_file.reset();
        const QString message = QStringLiteral("Cannot write to ") + m_path;
        setError(message);
        emit downloadFailed(message);
        return;
    }

    m_cameraId = cameraId;
    m_origin = from;
    m_to = to;
    m_windowCount = (from.msecsTo(to) + windowMs - 1) / windowMs;
    m_windowIndex = 0;
    m_retries = 0;
    m_throttled = 0;
    m_needInit = true;
    m_cancelled = false;
    m_writeFailed = false;
    m_bytesTimer.invalidate();
    setDownloadedBytes(0);
    setProgress(0);
    setDownloading(true);
    fetchNextWindow();
}

void ExportModel::cancel()
{
    if (!m_downloading || m_cancelled)
        return;
    m_cancelled = true;
    m_retryTimer.stop();
    if (m_reply)
        m_reply->abort();
    else if (!m_committing)
        cleanUpCancelled();
}

void ExportModel::endSession()
{
    if (!m_downloading) {
        dismiss();
        return;
    }
    if (m_committing) {
        m_sessionEnded = true;
        return;
    }
    m_retryTimer.stop();
    m_stallTimer.stop();
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
        m_reply->deleteLater();
    }
    fail(QStringLiteral("The session ended before the export was complete"));
}

void ExportModel::dismiss()
{
    if (m_downloading)
        return;
    setError({});
    setSavedPath({});
    setPartial(false);
}

void ExportModel::fetchNextWindow()
{
    if (m_cancelled) {
        cleanUpCancelled();
        return;
    }
    if (m_windowIndex == m_windowCount) {
        commit();
        return;
    }
    m_windowStartSize = m_file->size();
    m_errorBody.clear();
    m_stalled = false;
    const QDateTime from = m_origin.addMSecs(m_windowIndex * windowMs);
    const QDateTime to = std::min(from.addMSecs(windowMs), m_to);
    m_reply = m_apiClient->openExportStream(m_cameraId, m_origin, from, to, m_needInit, this);
    m_reply->setReadBufferSize(readAheadBytes);
    connect(m_reply, &QNetworkReply::readyRead, this, &ExportModel::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &ExportModel::onFinished);
    m_stallTimer.start(stallMs);
}

void ExportModel::onReadyRead()
{
    m_stallTimer.start(stallMs);
    const bool couldWrite = !m_writeFailed;
    readBody();
    if (m_writeFailed) {
        if (couldWrite)
            m_reply->abort();
        return;
    }
    if (!m_bytesTimer.isValid() || m_bytesTimer.hasExpired(bytesIntervalMs)) {
        m_bytesTimer.start();
        setDownloadedBytes(m_file->size());
    }
}

void ExportModel::readBody()
{
    const bool refused = httpStatus(*m_reply) >= 400;
    m_chunk.resize(chunkBytes);
    while (m_reply->bytesAvailable() > 0) {
        const qint64 length = m_reply->read(m_chunk.data(), m_chunk.size());
        if (length <= 0)
            return;
        if (refused)
            m_errorBody.append(m_chunk.constData(), std::min(length, errorBodyLimit - m_errorBody.size()));
        else if (!m_writeFailed)
            m_writeFailed = m_file->write(m_chunk.constData(), length) != length;
    }
}

void ExportModel::onFinished()
{
    m_stallTimer.stop();
    readBody();
    const QNetworkReply *reply = m_reply;
    m_reply->deleteLater();
    const bool failed = reply->error() != QNetworkReply::NoError;
    const int status = httpStatus(*reply);

    if (m_writeFailed) {
        fail(QStringLiteral("Disk write failed: ") + m_path);
    } else if (m_cancelled) {
        cleanUpCancelled();
    } else if (!failed && (status == 200 || status == 204)) {
        const bool partial = reply->rawHeader("X-Export-Partial") == "true";
        windowDone(status == 200 && m_file->size() > m_windowStartSize, partial);
    } else {
        retryWindow(status);
    }
}

void ExportModel::windowDone(bool dataWritten, bool partial)
{
    m_reply.clear();
    if (partial)
        setPartial(true);
    if (dataWritten)
        m_needInit = false;
    ++m_windowIndex;
    m_retries = 0;
    m_throttled = 0;
    setProgress(static_cast<double>(m_windowIndex) / static_cast<double>(m_windowCount));
    setDownloadedBytes(m_file->size());
    fetchNextWindow();
}

void ExportModel::retryWindow(int status)
{
    if (!m_file->resize(m_windowStartSize) || !m_file->seek(m_windowStartSize)) {
        fail(QStringLiteral("Disk write failed: ") + m_path);
        return;
    }
    const bool busy = status == statusBusy;
    const bool givenUp = busy ? ++m_throttled > busyLimit : ++m_retries >= attemptLimit;
    if (givenUp) {
        fail(m_stalled ? QStringLiteral("The server stopped sending")
                       : Requests::serverErrorText(*m_reply, m_errorBody));
        return;
    }
    m_reply.clear();
    m_retryTimer.start(busy ? busyDelayMs : firstRetryDelayMs << (m_retries - 1));
}

// Committing waits until the file is on the disk, which can take seconds: not on this thread.
void ExportModel::commit()
{
    m_committing = true;
    const auto promise = std::make_shared<QPromise<bool>>();
    promise->start();
    promise->future().then(this, [this](bool saved) {
        committed(saved);
        if (std::exchange(m_sessionEnded, false))
            dismiss();
    });
    QThreadPool::globalInstance()->start([promise, file = std::exchange(m_file, nullptr)] {
        promise->addResult(file->commit());
        promise->finish();
    });
}

void ExportModel::committed(bool saved)
{
    m_committing = false;
    if (m_cancelled && !saved) {
        cleanUpCancelled();
        return;
    }
    if (!saved) {
        fail(QStringLiteral("Failed to save ") + m_path);
        return;
    }
    const qint64 size = QFileInfo(m_path).size();
    if (size == 0)
        setPartial(true);
    setProgress(1.0);
    setDownloadedBytes(std::max(m_downloadedBytes, size));
    setSavedPath(m_path);
    setDownloading(false);
    emit downloadFinished(m_path);
}

void ExportModel::fail(const QString &message)
{
    discardFile();
    setDownloading(false);
    setError(message);
    emit downloadFailed(message);
}

void ExportModel::cleanUpCancelled()
{
    discardFile();
    setDownloading(false);
    setDownloadedBytes(0);
    setProgress(0);
    emit downloadCancelled();
}

void ExportModel::discardFile()
{
    m_reply.clear();
    if (m_file)
        m_file->cancelWriting();
    m_file.reset();
}

bool ExportModel::wouldReplace(const QUrl &saveUrl) const
{
    return QFileInfo::exists(saveUrl.toLocalFile());
}

QString ExportModel::formatSize(qint64 bytes) const
{
    constexpr qint64 kilo = 1024;
    constexpr qint64 mega = kilo * kilo;
    constexpr qint64 giga = kilo * mega;
    if (bytes <= 0)
        return QStringLiteral("—");
    if (bytes < mega)
        return QStringLiteral("%1 KB").arg(bytes / kilo);
    if (bytes < giga)
        return QStringLiteral("%1 MB").arg(static_cast<double>(bytes) / mega, 0, 'f', 1);
    return QStringLiteral("%1 GB").arg(static_cast<double>(bytes) / giga, 0, 'f', 2);
}

QString ExportModel::suggestFileName(
    const QString &cameraName, const QDateTime &from, const QDateTime &to) const
{
    static const QRegularExpression unsafe(
        QStringLiteral("[^\\p{L}\\p{N}_\\-]"), QRegularExpression::UseUnicodePropertiesOption);
    const QString format = QStringLiteral("yyyy-MM-dd_HH-mm");
    QString name = cameraName;
    return QStringLiteral("%1_%2_%3.mp4")
        .arg(name.replace(unsafe, QStringLiteral("_")), from.toString(format), to.toString(format));
}

void ExportModel::setDownloading(bool downloading)
{
    if (m_downloading == downloading)
        return;
    m_downloading = downloading;
    emit downloadingChanged();
}

void ExportModel::setDownloadedBytes(qint64 bytes)
{
    if (m_downloadedBytes == bytes)
        return;
    m_downloadedBytes = bytes;
    emit downloadedBytesChanged();
}

void ExportModel::setProgress(double progress)
{
    if (qFuzzyCompare(1 + m_progress, 1 + progress))
        return;
    m_progress = progress;
    emit progressChanged();
}

void ExportModel::setPartial(bool partial)
{
    if (m_partial == partial)
        return;
    m_partial = partial;
    emit partialChanged();
}

void ExportModel::setSavedPath(const QString &path)
{
    if (m_savedPath == path)
        return;
    m_savedPath = path;
    emit savedPathChanged();
}
