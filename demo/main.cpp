#include "Recorder.h"
#include "Termination.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QStandardPaths>

#include <cstdio>
#include <optional>

namespace {

constexpr int maxCameras = 128;

int fail(const QString &message)
{
    std::fprintf(stderr, "zorvel-demo-recorder: %s\n", qUtf8Printable(message));
    return 1;
}

/// A whole number within bounds; anything else ends the program with a message.
int number(const QCommandLineParser &parser, const QString &option, int from, int to)
{
    bool isNumber = false;
    const int value = parser.value(option).toInt(&isNumber);
    if (!isNumber || value < from || value > to)
        std::exit(fail(QString("--%1 must be a number from %2 to %3").arg(option).arg(from).arg(to)));
    return value;
}

demo::Recorder::Options readOptions()
{
    QCommandLineParser parser;
    parser.setApplicationDescription("A small recording server on loopback, to try the client out with");
    parser.addHelpOption();
    parser.addOptions({{"port", "HTTP port, 0 picks a free one (8090)", "port", "8090"},
        {"rtsp-port", "RTSP port, 0 picks a free one (8554)", "port", "8554"},
        {"data", "Folder for accounts, cameras and preferences", "folder",
            QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)},
        {"cache", "Folder for encoded footage, shared by all recorders", "folder",
            QStandardPaths::writableLocation(QStandardPaths::CacheLocation)},
        {"cameras", "Number of cameras; without it those of the data folder, or 16", "count"}});
    parser.process(*qApp);

    demo::Recorder::Options options;
    options.httpPort = quint16(number(parser, "port", 0, 65535));
    options.rtspPort = quint16(number(parser, "rtsp-port", 0, 65535));
    options.dataFolder = parser.value("data");
    options.cacheFolder = parser.value("cache");
    if (parser.isSet("cameras"))
        options.cameras = number(parser, "cameras", 1, maxCameras);
    return options;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName("zorvel-demo-recorder");
    const demo::Termination termination;

    const demo::Recorder::Options options = readOptions();
    QString error;
    demo::StateFile state(options.dataFolder);
    if (!state.load(&error))
        return fail(error);
    demo::Recorder recorder(state, options);
    if (!recorder.start(&error))
        return fail(error);
    std::printf("ready http=%d rtsp=%d\n", recorder.httpPort(), recorder.rtspPort());
    std::fflush(stdout);
    return QGuiApplication::exec();
}
