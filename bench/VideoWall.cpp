// Plays one URL in a grid of video items and prints what it cost, as one line of JSON: the first frames, CPU
// time and memory while playing, redraws of the window, and the longest time for which the GUI thread and the
// render thread were blocked while the grid opened, played and closed.
//   zorvel-bench-wall --url URL [--players 16] [--seconds 10] [--size 1280x800] [--backs] [--keep-open]
#include "live/MpvObject.h"
#include "live/RedrawGatherer.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRunnable>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <clocale>
#include <cmath>
#include <ctime>
#include <memory>
#include <vector>

namespace {

double nowMs()
{
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

double cpuSeconds()
{
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

double statusValue(const QByteArray &key)
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(key.size()).simplified().split(' ').value(0).toDouble();
    }
    return 0;
}

// Measures how late the GUI thread and the render thread of a window answer.
class BlockMeter : public QObject
{
public:
    explicit BlockMeter(QQuickWindow *window)
        : m_window(window)
        , m_render(std::make_shared<std::atomic<double>>(0))
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(2);
        connect(&m_timer, &QTimer::timeout, this, &BlockMeter::tick);
        m_timer.start();
    }

    void reset()
    {
        m_gui = 0;
        *m_render = 0;
        m_last = nowMs();
    }
    double gui() const { return m_gui; }
    double render() const { return *m_render; }

private:
    void tick()
    {
        const double now = nowMs();
        m_gui = std::max(m_gui, now - m_last - 2);
        m_last = now;
        if (!m_window)
            return;
        m_window->scheduleRenderJob(
            QRunnable::create([now, worst = m_render] { *worst = std::max(worst->load(), nowMs() - now); }),
            QQuickWindow::NoStage);
    }

    QPointer<QQuickWindow> m_window;
    QTimer m_timer;
    double m_last = nowMs();
    double m_gui = 0;
    std::shared_ptr<std::atomic<double>> m_render;
};

void runFor(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// The time to the first frame of players that are opened one after the other, in milliseconds.
QJsonArray openRepeatedly(QQuickWindow *window, const QString &url, int times)
{
    QJsonArray results;
    for (int i = 0; i < times; ++i) {
        MpvObject player(window->contentItem());
        player.setSize(window->size());
        QEventLoop loop;
        QObject::connect(&player, &MpvObject::firstFrameRendered, &loop, &QEventLoop::quit);
        QTimer::singleShot(10000, &loop, &QEventLoop::quit);
        const double beginMs = nowMs();
        player.setSource(url);
        loop.exec();
        results.append(nowMs() - beginMs);
        runFor(500);
    }
    return results;
}

} // namespace

int main(int argc, char *argv[])
{
    std::setlocale(LC_NUMERIC, "C");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
    const QGuiApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");

    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("url"), {}, QStringLiteral("url")},
        {QStringLiteral("players"), {}, QStringLiteral("n"), QStringLiteral("16")},
        {QStringLiteral("seconds"), {}, QStringLiteral("s"), QStringLiteral("10")},
        {QStringLiteral("size"), {}, QStringLiteral("WxH"), QStringLiteral("1280x800")},
        {QStringLiteral("backs"), QStringLiteral("a second, idle player behind each")},
        {QStringLiteral("hidden"), QStringLiteral("hide all players after opening")},
        {QStringLiteral("openings"), QStringLiteral("only open one player after the other"),
            QStringLiteral("n")},
        {QStringLiteral("close"), {}, QStringLiteral("cells|window|quit"), QStringLiteral("cells")},
    });
    parser.process(application);
    const QString url = parser.value(QStringLiteral("url"));
    const int count = parser.value(QStringLiteral("players")).toInt();
    const QStringList size = parser.value(QStringLiteral("size")).split(QLatin1Char('x'));
    const QString closing = parser.value(QStringLiteral("close"));

    auto window = std::make_unique<QQuickWindow>();
    window->setColor(Qt::black);
    window->resize(size.value(0).toInt(), size.value(1).toInt());
    window->show();
    runFor(500);
    QJsonObject result;
    result[QStringLiteral("bareMemoryMb")] = statusValue("VmRSS:") / 1024;
    std::atomic_int redraws = 0;
    QObject::connect(
        window.get(), &QQuickWindow::frameSwapped, window.get(), [&redraws] { ++redraws; },
        Qt::DirectConnection);

    const int openings = parser.value(QStringLiteral("openings")).toInt();
    if (openings > 0) {
        result[QStringLiteral("firstFramesMs")] = openRepeatedly(window.get(), url, openings);
        puts(QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
        return 0;
    }
    BlockMeter meter(window.get());
    runFor(50);
    meter.reset();
    const double openedMs = nowMs();
    const int columns = int(std::ceil(std::sqrt(count)));
    const double width = window->width() / double(columns);
    const double height = window->height() / std::ceil(count / double(columns));
    std::vector<MpvObject *> players;
    int firstFrames = 0;
    double firstFrameMs = 0;
    double lastFirstFrameMs = 0;
    for (int i = 0; i < count; ++i) {
        for (int slot = 0; slot < (parser.isSet(QStringLiteral("backs")) ? 2 : 1); ++slot) {
            auto *player = new MpvObject(window->contentItem());
            player->setPosition({(i % columns) * width, (i / columns) * height});
            player->setSize({width - 2, height - 2});
            player->setVisible(slot == 0);
            if (slot == 1)
                continue;
            players.push_back(player);
            QObject::connect(player, &MpvObject::firstFrameRendered, window.get(), [&] {
                lastFirstFrameMs = nowMs() - openedMs;
                if (firstFrames++ == 0)
                    firstFrameMs = lastFirstFrameMs;
            });
            player->setSource(url);
        }
    }
    const double createdMs = nowMs() - openedMs;
    for (int i = 0; i < 600 && firstFrames < count; ++i)
        runFor(20);
    runFor(300);
    result[QStringLiteral("createMs")] = createdMs;
    result[QStringLiteral("firstFrames")] = firstFrames;
    result[QStringLiteral("firstFrameMs")] = firstFrameMs;
    result[QStringLiteral("lastFirstFrameMs")] = lastFirstFrameMs;
    result[QStringLiteral("openGuiBlockMs")] = meter.gui();
    result[QStringLiteral("openRenderBlockMs")] = meter.render();

    if (parser.isSet(QStringLiteral("hidden"))) {
        for (MpvObject *player : players)
            player->setVisible(false);
    }
    runFor(2000);
    meter.reset();
    redraws = 0;
    quint64 frames = 0;
    for (const MpvObject *player : players)
        frames -= player->framesDelivered();
    const double cpuBefore = cpuSeconds();
    const double before = nowMs();
    runFor(parser.value(QStringLiteral("seconds")).toInt() * 1000);
    const double seconds = (nowMs() - before) / 1000;
    for (const MpvObject *player : players)
        frames += player->framesDelivered();
    result[QStringLiteral("cpu")] = (cpuSeconds() - cpuBefore) / seconds;
    result[QStringLiteral("cpuPerPlayer")] = (cpuSeconds() - cpuBefore) / seconds / count;
    result[QStringLiteral("redrawsPerSecond")] = redraws / seconds;
    result[QStringLiteral("framesPerSecondAndPlayer")] = double(frames) / seconds / count;
    result[QStringLiteral("tickMs")] = RedrawGatherer::of(window.get())->tickMs();
    result[QStringLiteral("memoryMb")] = statusValue("VmRSS:") / 1024;
    result[QStringLiteral("threads")] = statusValue("Threads:");
    result[QStringLiteral("playGuiBlockMs")] = meter.gui();
    result[QStringLiteral("playRenderBlockMs")] = meter.render();

    meter.reset();
    const double closeMs = nowMs();
    if (closing == QLatin1String("cells")) {
        qDeleteAll(players);
        result[QStringLiteral("deleteMs")] = nowMs() - closeMs;
        runFor(2000);
        result[QStringLiteral("closeRenderBlockMs")] = meter.render();
    } else if (closing == QLatin1String("window")) {
        window->close();
        runFor(20);
        const double deleteMs = nowMs();
        window.reset();
        result[QStringLiteral("deleteWindowMs")] = nowMs() - deleteMs;
    } else {
        window.reset();
    }
    result[QStringLiteral("closeGuiBlockMs")]
        = closing == QLatin1String("cells") ? meter.gui() : nowMs() - closeMs;
    runFor(1000);
    result[QStringLiteral("threadsAfter")] = statusValue("Threads:");
    result[QStringLiteral("memoryAfterMb")] = statusValue("VmRSS:") / 1024;
    puts(QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    return 0;
}
