#include "footage/TimeBand.h"

#include <QDateTime>
#include <QFont>
#include <QFontMetrics>
#include <QMutexLocker>
#include <QPainter>

namespace demo {

namespace {

constexpr int quantizer = 26;
constexpr int rememberedSeconds = 4096;
constexpr int blackLuma = 16;
constexpr int whiteLuma = 235;
constexpr int textLeft = 248; // beyond the cells of the frame, in main-format pixels
constexpr int textHeight = 64;
const QString characters = "0123456789-: ";

/// Every character of the time text as a grey picture, all of one size.
QList<QImage> paintGlyphs(int height)
{
    QFont font("DejaVu Sans Mono");
    font.setPixelSize(height * 3 / 4);
    font.setBold(true);
    const int width = QFontMetrics(font).horizontalAdvance(u'0') / 2 * 2;
    QList<QImage> glyphs;
    for (const QChar character : characters) {
        QImage glyph(width, height, QImage::Format_Grayscale8);
        glyph.fill(blackLuma);
        QPainter painter(&glyph);
        painter.setFont(font);
        painter.setPen(QColor(whiteLuma, whiteLuma, whiteLuma));
        painter.drawText(glyph.rect(), Qt::AlignCenter, QString(character));
        glyphs.append(glyph);
    }
    return glyphs;
}

} // namespace

// The later slices are encoded over a text and a code full of edges, and the frame's cells stand apart from
// everything that changes with the second: nothing but those cells is coded, whatever the first slice shows.
TimeBand::TimeBand(const VideoFormat &format)
    : m_format(format)
    , m_glyphs(paintGlyphs(format.scaled(textHeight)))
    , m_encoder(format.bandSize(), 0, quantizer)
    , m_firstSlices(rememberedSeconds)
{
    SliceEncoder encoder(format.bandSize(), 0, quantizer);
    for (int frame = 0; frame < FrameInstant::framesPerSecond; ++frame) {
        const Frame420 picture = paint("8080-08-08 80:80:80", {0x55aa55aa, frame});
        const QByteArray slice = encoder.encode(picture, frame == 0).first();
        if (frame > 0)
            m_laterSlices.append(slice);
    }
}

QByteArray TimeBand::firstSlice(qint64 second)
{
    const QMutexLocker lock(&m_mutex);
    if (const QByteArray *known = m_firstSlices.object(second))
        return *known;
    const Frame420 picture
        = paint(QDateTime::fromSecsSinceEpoch(second).toString("yyyy-MM-dd HH:mm:ss"), {second, 0});
    if (m_encoder.nextParity() != second % 2)
        m_encoder.encode(picture, true);
    QByteArray slice = m_encoder.encode(picture, true).first();
    if (slice.size() > maxFirstSliceBytes())
        qFatal("A time band takes %lld bytes", qlonglong(slice.size()));
    m_firstSlices.insert(second, new QByteArray(slice));
    return slice;
}

qsizetype TimeBand::maxFirstSliceBytes() const
{
    return m_format.isMain() ? 8000 : 5000;
}

Frame420 TimeBand::paint(const QString &text, const FrameInstant &instant) const
{
    Frame420 picture(m_format.bandSize());
    QPoint at(m_format.scaled(textLeft), 0);
    for (const QChar character : text) {
        const QImage &glyph = m_glyphs.at(characters.indexOf(character));
        picture.drawGrey(at, glyph);
        at.rx() += glyph.width();
    }
    const std::array<bool, FrameCode::cells> whites = FrameCode::encode(instant);
    const int cellWidth = m_format.size.width() / FrameCode::cells;
    const int stripTop = m_format.scaled(textHeight);
    for (int cell = 0; cell < FrameCode::cells; ++cell)
        picture.fillGrey(QRect(cell * cellWidth, stripTop, cellWidth, m_format.bandHeight() - stripTop),
            whites[cell] ? whiteLuma : blackLuma);
    return picture;
}

} // namespace demo
