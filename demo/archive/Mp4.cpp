#include "archive/Mp4.h"

#include "footage/FrameCode.h"

#include <QtEndian>

namespace demo {

namespace {

constexpr quint32 timescale = 90000;
constexpr int fps = FrameInstant::framesPerSecond;
constexpr quint32 pictureDuration = timescale / fps;
constexpr quint32 movieTimescale = 1000;
constexpr quint32 syncSample = 0x02000000;
constexpr quint32 otherSample = 0x01010000;

template <typename T>
QByteArray number(T value)
{
    const T ordered = qToBigEndian(value);
    return {reinterpret_cast<const char *>(&ordered), sizeof ordered};
}

QByteArray u16(quint16 value)
{
    return number(value);
}

QByteArray u32(quint32 value)
{
    return number(value);
}

QByteArray zeros(int count)
{
    return QByteArray(count, '\0');
}

QByteArray box(const char *type, const QByteArray &content)
{
    return u32(quint32(content.size() + 8)) + type + content;
}

QByteArray fullBox(const char *type, const QByteArray &content, quint8 version = 0, quint32 flags = 0)
{
    return box(type, u32(quint32(version) << 24 | flags) + content);
}

QByteArray unityMatrix()
{
    return u32(0x10000) + zeros(12) + u32(0x10000) + zeros(12) + u32(0x40000000);
}

QByteArray fileType()
{
    return box("ftyp", QByteArray("isom") + u32(512) + "isomiso2avc1iso6mp41");
}

QByteArray concatenated(const QList<QByteArray> &pictures)
{
    QByteArray bytes;
    for (const QByteArray &picture : pictures)
        bytes += picture;
    return bytes;
}

} // namespace

QByteArray Mp4::sampleDescription() const
{
    const QByteArray entry = box("avc1",
        zeros(6) + u16(1) + zeros(16) + u16(quint16(m_size.width())) + u16(quint16(m_size.height()))
            + u32(0x480000) + u32(0x480000) + zeros(4) + u16(1) + zeros(32) + u16(24) + u16(0xffff)
            + box("avcC", m_headers.decoderConfiguration()));
    return fullBox("stsd", u32(1) + entry);
}

QByteArray Mp4::movie(const QByteArray &sampleTable, qsizetype pictures, const QByteArray &extension) const
{
    const auto duration = quint32(pictures) * pictureDuration;
    const quint32 movieDuration = quint32(quint64(duration) * movieTimescale / timescale);
    const QByteArray header = fullBox("mvhd",
        zeros(8) + u32(movieTimescale) + u32(movieDuration) + u32(0x10000) + u16(0x100) + zeros(10)
            + unityMatrix() + zeros(24) + u32(2));
    const QByteArray trackHeader = fullBox("tkhd",
        zeros(8) + u32(1) + zeros(4) + u32(movieDuration) + zeros(16) + unityMatrix()
            + u32(quint32(m_size.width()) << 16) + u32(quint32(m_size.height()) << 16),
        0, 3);
    const QByteArray mediaHeader
        = fullBox("mdhd", zeros(8) + u32(timescale) + u32(duration) + u16(0x55c4) + u16(0));
    const QByteArray handler = fullBox("hdlr", zeros(4) + "vide" + zeros(12) + QByteArray("Video", 6));
    const QByteArray dataReference = box("dinf", fullBox("dref", u32(1) + fullBox("url ", {}, 0, 1)));
    const QByteArray information = box("minf", fullBox("vmhd", zeros(8), 0, 1) + dataReference + sampleTable);
    const QByteArray media = box("mdia", mediaHeader + handler + information);
    return box("moov", header + box("trak", trackHeader + media) + extension);
}

/// The movie box of a plain file; the pictures lie one after the other right behind it.
QByteArray Mp4::index(const QList<qsizetype> &sizes) const
{
    QByteArray sizeList;
    for (const qsizetype size : sizes)
        sizeList += u32(quint32(size));
    QByteArray wholePictures;
    for (qsizetype i = 0; i < sizes.size(); i += fps)
        wholePictures += u32(quint32(i + 1));
    const auto count = quint32(sizes.size());
    const auto withOffset = [&](quint32 offset) {
        return movie(box("stbl",
                         sampleDescription() + fullBox("stts", u32(1) + u32(count) + u32(pictureDuration))
                             + fullBox("stss", u32(quint32(wholePictures.size() / 4)) + wholePictures)
                             + fullBox("stsc", u32(1) + u32(1) + u32(count) + u32(1))
                             + fullBox("stsz", u32(0) + u32(count) + sizeList)
                             + fullBox("stco", u32(1) + u32(offset))),
            sizes.size(), {});
    };
    return withOffset(quint32(fileType().size() + withOffset(0).size() + 8));
}

qint64 Mp4::plainOverhead(qsizetype pictures) const
{
    constexpr qint64 dataAndFreeHeads = 16;
    return fileType().size() + index(QList<qsizetype>(pictures, 0)).size() + dataAndFreeHeads;
}

QByteArray Mp4::plainFile(const QList<QByteArray> &pictures, qint64 bytes) const
{
    QList<qsizetype> sizes;
    for (const QByteArray &picture : pictures)
        sizes.append(picture.size());
    QByteArray file = fileType() + index(sizes) + box("mdat", concatenated(pictures));
    file += box("free", QByteArray(bytes - file.size() - 8, '\0'));
    return file;
}

QByteArray Mp4::fragmentHeader() const
{
    const QByteArray emptyTable = box("stbl",
        sampleDescription() + fullBox("stts", u32(0)) + fullBox("stsc", u32(0)) + fullBox("stsz", zeros(8))
            + fullBox("stco", u32(0)));
    const QByteArray defaults
        = fullBox("trex", u32(1) + u32(1) + u32(pictureDuration) + u32(0) + u32(otherSample));
    return fileType() + movie(emptyTable, 0, box("mvex", defaults));
}

QByteArray Mp4::fragment(quint32 number_, qint64 atSecond, const QList<QByteArray> &pictures)
{
    constexpr quint32 baseIsMoof = 0x020000;
    constexpr quint32 offsetFirstFlagsAndSizes = 0x000205;
    QByteArray sizes;
    for (const QByteArray &picture : pictures)
        sizes += u32(quint32(picture.size()));
    const auto withOffset = [&](quint32 offset) {
        const QByteArray run
            = fullBox("trun", u32(quint32(pictures.size())) + u32(offset) + u32(syncSample) + sizes, 0,
                offsetFirstFlagsAndSizes);
        const QByteArray time = fullBox("tfdt", number(quint64(atSecond) * timescale), 1);
        return box("moof",
            fullBox("mfhd", u32(number_)) + box("traf", fullBox("tfhd", u32(1), 0, baseIsMoof) + time + run));
    };
    return withOffset(quint32(withOffset(0).size() + 8)) + box("mdat", concatenated(pictures));
}

} // namespace demo
