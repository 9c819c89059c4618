#include "footage/Scene.h"

#include "footage/FrameCode.h"

#include <QFont>
#include <QPainter>
#include <QRandomGenerator>

#include <cmath>

namespace demo {

namespace {

constexpr int ballSize = 96;
constexpr int ballMargin = 8;
constexpr int horizon = 400;

QColor skyColor(int theme)
{
    return QColor::fromHsv(theme * 360 / Scene::themes, 120, 90);
}

void paintHouses(QPainter &painter, int theme)
{
    QRandomGenerator random(quint32(theme) + 1);
    for (int x = 0; x < 1280;) {
        const int width = 96 + int(random.bounded(96u));
        const int height = 64 + int(random.bounded(112u));
        const QRect house(x, horizon - height, width - 16, height);
        painter.fillRect(
            house, QColor::fromHsv(theme * 360 / Scene::themes, 60, 70 + int(random.bounded(40u))));
        for (int wx = house.left() + 14; wx < house.right() - 20; wx += 32) {
            for (int wy = house.top() + 14; wy < house.bottom() - 20; wy += 32)
                painter.fillRect(QRect(wx, wy, 14, 16),
                    random.bounded(3u) == 0 ? QColor(240, 220, 140) : QColor(40, 46, 56));
        }
        x += width;
    }
}

QImage paintBackdrop(int theme, const VideoFormat &format)
{
    QImage image(format.size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(format.size.width() / 1280.0, format.size.height() / 720.0);
    const QColor sky = skyColor(theme);
    const int skyTop = 2 * VideoFormat::main().bandHeight();
    painter.fillRect(QRect(0, 0, 1280, skyTop), sky);
    QLinearGradient gradient(0, skyTop, 0, horizon);
    gradient.setColorAt(0, sky);
    gradient.setColorAt(1, sky.lighter(190));
    painter.fillRect(QRect(0, skyTop, 1280, horizon - skyTop), gradient);
    paintHouses(painter, theme);
    QLinearGradient ground(0, horizon, 0, 720);
    ground.setColorAt(0, QColor(96, 98, 96));
    ground.setColorAt(1, QColor(58, 60, 62));
    painter.fillRect(QRect(0, horizon, 1280, 720 - horizon), ground);
    painter.setPen(QPen(QColor(200, 200, 190), 5));
    for (int x = -400; x <= 1680; x += 160)
        painter.drawLine(640 + (x - 640) / 3, horizon + 60, x, 720);
    return image;
}

} // namespace

Scene::Scene(int theme, const VideoFormat &format)
    : m_format(format)
    , m_theme(theme)
    , m_backdrop(paintBackdrop(theme, format))
    , m_frame(format.size)
{
    m_frame.drawRgb({0, format.bandHeight()},
        m_backdrop.copy(
            0, format.bandHeight(), format.size.width(), format.size.height() - format.bandHeight()));
}

QRect Scene::ballRect(int index) const
{
    const double turn = 2 * M_PI * index / (loopSeconds * FrameInstant::framesPerSecond);
    const int side = m_format.scaled(ballSize + 2 * ballMargin);
    const double x = 640 - 540 * std::cos(turn);
    const double y = 520 - 140 * std::abs(std::sin(5 * turn));
    return {
        m_format.scaled(int(x)) / 2 * 2 - side / 2, m_format.scaled(int(y)) / 2 * 2 - side / 2, side, side};
}

const Frame420 &Scene::frame(int index)
{
    if (!m_ball.isNull())
        m_frame.drawRgb(m_ball.topLeft(), m_backdrop.copy(m_ball));
    m_ball = ballRect(index);
    QImage patch = m_backdrop.copy(m_ball);
    QPainter painter(&patch);
    painter.setRenderHint(QPainter::Antialiasing);
    const int margin = m_format.scaled(ballMargin);
    const QRectF ball = QRectF(patch.rect()).adjusted(margin, margin, -margin, -margin);
    painter.setPen(QPen(Qt::white, m_format.scaled(6)));
    painter.setBrush(QColor::fromHsv((m_theme * 360 / themes + 150) % 360, 220, 230));
    painter.drawEllipse(ball);
    painter.end();
    m_frame.drawRgb(m_ball.topLeft(), patch);
    return m_frame;
}

Frame420 Scene::named(const QString &name) const
{
    const QRect band(0, m_format.bandHeight(), m_format.size.width(), m_format.bandHeight());
    QImage image = m_backdrop.copy(band);
    QPainter painter(&image);
    QFont font("DejaVu Sans");
    font.setPixelSize(m_format.scaled(48));
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    const QRect room = image.rect().adjusted(m_format.scaled(24), 0, -m_format.scaled(24), 0);
    painter.drawText(room, Qt::AlignVCenter | Qt::AlignLeft,
        QFontMetrics(font).elidedText(name, Qt::ElideRight, room.width()));
    painter.end();
    Frame420 picture = m_frame;
    picture.drawRgb(band.topLeft(), image);
    return picture;
}

} // namespace demo
