#include "app/QmlTypes.h"
#include "archive/TimelineModel.h"
#include "net/ApiClient.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickView>
#include <QSGRendererInterface>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <vector>

// What the GUI thread spends on one repaint of the timeline while its view is dragged along by a pixel at a
// time, with few and with many recorded spans. The window draws on the GUI thread (QSG_RENDER_LOOP=basic);
// what counts is the time from the change of the view until the scene is synchronised, which the GUI thread
// of the client spends or waits for as well. And what it spends on many new spans: on the answer of a server,
// the model and the bars, all together.

namespace {

constexpr int repaints = 30;
constexpr double wantedMs = 8;
constexpr double wantedNewMs = 33;
constexpr qint64 dayMs = 24LL * 3600 * 1000;
constexpr qint64 endMs = 1'700'000'000'000;
const QList<int> widths = {960, 1920};

// Of this thread alone: the software rasteriser's threads are not the GUI thread.
double processorMs()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_nsec) / 1e6;
}

// Spans all over a range, each as long as the gap that follows it, of uneven lengths.
QVariantList spansOver(qint64 lengthMs, int count)
{
    QVariantList spans;
    spans.reserve(count);
    const double step = static_cast<double>(lengthMs) / count;
    for (int i = 0; i < count; ++i) {
        const auto start = endMs - lengthMs + static_cast<qint64>(step * i);
        const auto end = start + static_cast<qint64>(step * (0.3 + 0.4 * (i % 7) / 6));
        spans.append(QVariantMap{{QStringLiteral("start"), start}, {QStringLiteral("end"), end}});
    }
    return spans;
}

// The client's timeline in a window of its own.
class Timeline
{
public:
    Timeline()
    {
        m_view.engine()->addImportPath(QStringLiteral(":/"));
        m_view.setResizeMode(QQuickView::SizeRootObjectToView);
        m_view.setSource(QUrl(QStringLiteral("qrc:/ZorvelClient/qml/archive/PlaybackTimeline.qml")));
        QObject::connect(&m_view, &QQuickWindow::afterSynchronizing, &m_view, [this] {
            m_synchronisedMs = processorMs();
            m_isDrawn = true;
        });
        m_view.show();
    }

    bool isReady() const { return m_view.rootObject(); }

    void show(int width, qint64 rangeMs)
    {
        m_view.resize(width, m_view.rootObject()->implicitHeight());
        setView(endMs - rangeMs, endMs);
        m_pixelMs = rangeMs / width;
        for (int i = 0; i < 3; ++i)
            costOf([this] { pan(); });
    }

    // The processor time of what changes, up to the end of the synchronisation that follows.
    double costOf(const std::function<void()> &change)
    {
        QCoreApplication::processEvents();
        m_isDrawn = false;
        const double begin = processorMs();
        change();
        while (!m_isDrawn)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return m_synchronisedMs - begin;
    }

    void setSpans(const QVariant &spans)
    {
        costOf([&] {
            m_view.rootObject()->setProperty("spans", spans);
            m_view.update();
        });
    }

    // What the page does with the spans of one camera, from the request to the drawn bars.
    double loadSpans(TimelineModel &model, const QString &cameraId)
    {
        model.clear();
        const auto connection = QObject::connect(&model, &TimelineModel::spansChanged, &m_view, [&] {
            m_view.rootObject()->setProperty("spans", model.index());
            m_isDrawn = false;
        });
        const double ms = costOf([&] {
            model.loadTimeline(cameraId);
            while (model.loading())
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            m_view.update();
        });
        QObject::disconnect(connection);
        return ms;
    }

    double longestRepaintMs()
    {
        double longest = 0;
        for (int i = 0; i < repaints; ++i)
            longest = std::max(longest, costOf([this] { pan(); }));
        return longest;
    }

private:
    void setView(qint64 startMs, qint64 viewEndMs)
    {
        m_startMs = startMs;
        m_endMs = viewEndMs;
        m_view.rootObject()->setProperty("viewStart", static_cast<double>(startMs));
        m_view.rootObject()->setProperty("viewEnd", static_cast<double>(viewEndMs));
    }

    void pan() { setView(m_startMs - m_pixelMs, m_endMs - m_pixelMs); }

    QQuickView m_view;
    bool m_isDrawn = false;
    double m_synchronisedMs = 0;
    qint64 m_startMs = 0;
    qint64 m_endMs = 0;
    qint64 m_pixelMs = 0;
};

QByteArray jsonOf(const QVariantList &spans)
{
    const auto text = [](const QVariant &ms) {
        return QDateTime::fromMSecsSinceEpoch(ms.toLongLong(), Qt::UTC).toString(Qt::ISODateWithMs).toUtf8();
    };
    QByteArrayList elements;
    for (const QVariant &span : spans) {
        const QVariantMap map = span.toMap();
        elements.append(R"({"start":")" + text(map["start"]) + R"(","end":")" + text(map["end"]) + "\"}");
    }
    return '[' + elements.join(',') + ']';
}

// A recording server that knows one answer for each camera, on a thread of its own.
class Server
{
public:
    explicit Server(const QMap<QByteArray, QVariantList> &spansOfCameras)
    {
        for (auto camera = spansOfCameras.begin(); camera != spansOfCameras.end(); ++camera)
            m_spans.insert(camera.key(), jsonOf(camera.value()));
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            QTcpSocket *socket = m_server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { answer(socket); });
        });
        m_server.moveToThread(&m_thread);
        m_thread.start();
    }
    ~Server()
    {
        m_thread.quit();
        m_thread.wait();
    }
    Q_DISABLE_COPY_MOVE(Server)

    QString url() const { return QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort()); }

private:
    void answer(QTcpSocket *socket) const
    {
        const QByteArray path = socket->readAll().split(' ').value(1);
        const QByteArray spans = m_spans.value(path.split('/').value(3));
        const QByteArray body = path.endsWith("/recording-range")
            ? R"({"earliest":1,"latest":)" + QByteArray::number(endMs) + '}'
            : spans;
        socket->write(
            "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
    }

    QThread m_thread;
    QTcpServer m_server;
    QMap<QByteArray, QByteArray> m_spans;
};

void report(const QString &what, double ms, double baselineMs, const char *wanted, bool isKept)
{
    std::printf("  %-52s%9.2f ms%9.2f ms%8.2f  %s%s\n", qPrintable(what), ms, baselineMs, ms / baselineMs,
        wanted, isKept ? "" : "  <-- MISSED");
}

} // namespace

int main(int argc, char *argv[])
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
    const QGuiApplication application(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Zorvel"));
    QGuiApplication::setApplicationName(QStringLiteral("Zorvel Benchmark"));
    QLoggingCategory::setFilterRules(QStringLiteral("zorvel.*=false"));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    registerQmlTypes();
    Timeline timeline;
    if (!timeline.isReady())
        return 2;

    bool isKept = true;
    for (const auto &[range, rangeMs] : {std::pair("a day", dayMs), std::pair("90 days", 90 * dayMs)}) {
        const QVariantList few = spansOver(rangeMs, 1000);
        const QVariantList many = spansOver(rangeMs, 100000);
        for (const int width : widths) {
            const auto costWith = [&](const QVariantList &spans) {
                timeline.show(width, rangeMs);
                timeline.setSpans(spans);
                return timeline.longestRepaintMs();
            };
            const double emptyMs = costWith({});
            for (const auto &[count, spans] : {std::pair("1,000", &few), std::pair("100,000", &many)}) {
                const double ms = costWith(*spans);
                const bool isFast = ms <= wantedMs;
                isKept = isKept && isFast;
                report(QStringLiteral("%1 spans over %2, %3 pixels wide").arg(count, range).arg(width), ms,
                    emptyMs, "at most 8 ms", isFast);
            }
        }
        const Server server({{"few", few}, {"many", many}});
        ApiClient client;
        client.checkStatus(server.url());
        TimelineModel model(&client);
        timeline.loadSpans(model, QStringLiteral("few"));
        const double fewMs = timeline.loadSpans(model, QStringLiteral("few"));
        const double manyMs = timeline.loadSpans(model, QStringLiteral("many"));
        const bool isFast = manyMs <= wantedNewMs;
        isKept = isKept && isFast;
        report(QStringLiteral("100,000 new spans over %1, beside 1,000").arg(range), manyMs, fewMs,
            "at most 33 ms", isFast);
    }
    return isKept ? 0 : 1;
}
