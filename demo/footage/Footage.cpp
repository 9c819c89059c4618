#include "footage/Footage.h"

#include "footage/Scene.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <array>
#include <mutex>

namespace demo {

namespace {

constexpr int quantizer = 28;
constexpr int loopFrames = Scene::loopSeconds * FrameInstant::framesPerSecond;
/// Changes whenever scenes or encoder settings do, so that an old cache is not taken.
constexpr int cacheVersion = 1;

QByteArray joined(const QList<QByteArray> &slices, qsizetype from)
{
    QByteArray bytes;
    for (qsizetype i = from; i < slices.size(); ++i)
        bytes += slices[i];
    return bytes;
}

QByteArray checksum(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256);
}

/// The frames of a cache file; none when it is missing or damaged.
QList<QByteArray> loadFrames(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray sum = file.read(QCryptographicHash::hashLength(QCryptographicHash::Sha256));
    const QByteArray content = file.readAll();
    if (sum != checksum(content))
        return {};
    QList<QByteArray> frames;
    QDataStream stream(content);
    stream >> frames;
    return frames;
}

void saveFrames(const QString &path, const QList<QByteArray> &frames)
{
    QByteArray content;
    QDataStream stream(&content, QIODevice::WriteOnly);
    stream << frames;
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(checksum(content) + content);
        file.commit();
    }
}

} // namespace

/// The scene's loop. Of an IDR picture only the slices below the name band are kept, of others those below
/// the time band.
struct Footage::Clip
{
    QList<QByteArray> frames;

    const QByteArray &frame(qint64 loopSecond, int index) const
    {
        return frames.at(loopSecond * FrameInstant::framesPerSecond + index);
    }
};

/// What belongs to one format.
struct Footage::Side
{
    explicit Side(const VideoFormat &videoFormat)
        : format(videoFormat)
        , band(videoFormat)
        , headers(SliceEncoder(videoFormat.size, videoFormat.macroblocksPerSlice(), quantizer).headers())
    {
    }

    VideoFormat format;
    TimeBand band;
    SliceEncoder::Headers headers;
    std::array<std::once_flag, Scene::themes> clipOnce;
    std::array<std::shared_ptr<const Clip>, Scene::themes> clips;
    QMutex nameMutex;
    QHash<QString, std::array<QByteArray, 2>> nameSlices;
};

Footage::Footage(const QString &cacheFolder)
    : m_cacheFolder(cacheFolder)
    , m_main(std::make_unique<Side>(VideoFormat::main()))
    , m_sub(std::make_unique<Side>(VideoFormat::sub()))
{
}

Footage::~Footage()
{
    m_stopping = true;
    if (m_warmUp.joinable())
        m_warmUp.join();
}

void Footage::warmUp()
{
    m_warmUp = std::thread([this] {
        for (Side *wanted : {m_sub.get(), m_main.get()}) {
            for (int theme = 0; theme < Scene::themes && !m_stopping; ++theme)
                clip(theme, *wanted);
        }
    });
}

Footage::Side &Footage::side(const VideoFormat &format) const
{
    return format.isMain() ? *m_main : *m_sub;
}

SliceEncoder::Headers Footage::headers(const VideoFormat &format) const
{
    return side(format).headers;
}

QByteArray Footage::picture(const Look &look, const VideoFormat &format, const FrameInstant &instant)
{
    Side &part = side(format);
    const int theme = look.number % Scene::themes;
    const int parity = int(instant.second % 2);
    const QByteArray &rest = clip(theme, part)->frame(loopSecond(look, instant.second), instant.frame);
    if (instant.frame > 0)
        return part.band.laterSlice(instant.frame) + rest;
    return part.band.firstSlice(instant.second) + nameSlice(look, theme, parity, part) + rest;
}

qint64 Footage::maxSecondBytes(const Look &look, const VideoFormat &format, qint64 second)
{
    Side &part = side(format);
    const int theme = look.number % Scene::themes;
    const std::shared_ptr<const Clip> scene = clip(theme, part);
    qint64 bytes = part.band.maxFirstSliceBytes() + nameSlice(look, theme, int(second % 2), part).size();
    for (int i = 0; i < FrameInstant::framesPerSecond; ++i) {
        bytes += scene->frame(loopSecond(look, second), i).size();
        if (i > 0)
            bytes += part.band.laterSlice(i).size();
    }
    return bytes;
}

// Cameras of one theme are an even number of seconds apart, so that the parity of IDR pictures agrees.
qint64 Footage::loopSecond(const Look &look, qint64 second)
{
    return (second + qint64(2) * (look.number / Scene::themes)) % Scene::loopSeconds;
}

std::shared_ptr<const Footage::Clip> Footage::clip(int theme, Side &part)
{
    std::call_once(part.clipOnce[theme], [&] { part.clips[theme] = loadOrEncode(theme, part.format); });
    return part.clips[theme];
}

std::shared_ptr<const Footage::Clip> Footage::loadOrEncode(int theme, const VideoFormat &format) const
{
    auto clip = std::make_shared<Clip>();
    const QString path
        = QDir(m_cacheFolder)
              .filePath(QString("scene-%1-%2-%3.bin").arg(cacheVersion).arg(theme).arg(format.size.height()));
    clip->frames = loadFrames(path);
    if (clip->frames.size() == loopFrames)
        return clip;
    clip->frames.clear();

    Scene scene(theme, format);
    SliceEncoder encoder(format.size, format.macroblocksPerSlice(), quantizer);
    for (int i = 0; i < loopFrames; ++i) {
        const bool idr = i % FrameInstant::framesPerSecond == 0;
        clip->frames.append(joined(encoder.encode(scene.frame(i), idr), idr ? 2 : 1));
    }
    QDir().mkpath(m_cacheFolder);
    saveFrames(path, clip->frames);
    return clip;
}

QByteArray Footage::nameSlice(const Look &look, int theme, int parity, Side &part)
{
    const QMutexLocker lock(&part.nameMutex);
    const QString key = QString("%1 %2").arg(theme).arg(look.name);
    auto found = part.nameSlices.constFind(key);
    if (found == part.nameSlices.cend()) {
        const Frame420 picture = Scene(theme, part.format).named(look.name);
        SliceEncoder encoder(part.format.size, part.format.macroblocksPerSlice(), quantizer);
        std::array<QByteArray, 2> slices;
        for (QByteArray &slice : slices)
            slice = encoder.encode(picture, true).at(1);
        found = part.nameSlices.insert(key, slices);
    }
    return found->at(parity);
}

} // namespace demo
