#include "archive/TimelineBars.h"

#include "archive/Instants.h"

#include <QJSValue>
#include <QQuickWindow>
#include <QSGGeometryNode>
#include <QSGVertexColorMaterial>

#include <algorithm>
#include <cmath>

namespace {

constexpr int verticesPerRun = 6;
constexpr float faintest = 0.35F;

qint64 toInstant(double ms)
{
    constexpr auto limit = static_cast<double>(Instants::limitMs);
    return std::isfinite(ms) ? static_cast<qint64>(std::clamp(ms, -limit, limit)) : 0;
}

SpanIndex indexOf(const QVariant &spans)
{
    if (spans.metaType() == QMetaType::fromType<SpanIndex>())
        return spans.value<SpanIndex>();
    if (spans.metaType() == QMetaType::fromType<QJSValue>())
        return SpanIndex::fromVariantList(spans.value<QJSValue>().toVariant().toList());
    return SpanIndex::fromVariantList(spans.toList());
}

class BarsNode : public QSGGeometryNode
{
public:
    BarsNode()
        : m_geometry(QSGGeometry::defaultAttributes_ColoredPoint2D(), 0)
    {
        m_geometry.setDrawingMode(QSGGeometry::DrawTriangles);
        m_material.setFlag(QSGMaterial::Blending);
        setGeometry(&m_geometry);
        setMaterial(&m_material);
    }

    void draw(const std::vector<SpanIndex::Run> &runs, qreal columnWidth, qreal height, const QColor &color)
    {
        m_geometry.allocate(static_cast<int>(runs.size()) * verticesPerRun);
        QSGGeometry::ColoredPoint2D *vertex = m_geometry.vertexDataAsColoredPoint2D();
        for (const SpanIndex::Run &run : runs) {
            const auto left = static_cast<float>(run.first * columnWidth);
            const auto right = static_cast<float>((run.last + 1) * columnWidth);
            const auto bottom = static_cast<float>(height);
            const float alpha = color.alphaF() * (faintest + (1 - faintest) * run.coverage);
            const auto premultiplied = [alpha](float part) { return static_cast<uchar>(part * alpha * 255); };
            const auto put = [&](float x, float y) {
                (vertex++)->set(x, y, premultiplied(color.redF()), premultiplied(color.greenF()),
                    premultiplied(color.blueF()), premultiplied(1));
            };
            put(left, 0);
            put(right, 0);
            put(left, bottom);
            put(left, bottom);
            put(right, 0);
            put(right, bottom);
        }
        markDirty(QSGNode::DirtyGeometry);
    }

private:
    QSGGeometry m_geometry;
    QSGVertexColorMaterial m_material;
};

} // namespace

TimelineBars::TimelineBars(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void TimelineBars::setSpans(const QVariant &spans)
{
    const SpanIndex index = indexOf(spans);
    if (index.isSharedWith(m_index))
        return;
    m_spans = spans;
    m_index = index;
    update();
    emit spansChanged();
}

void TimelineBars::setViewStart(double ms)
{
    if (m_viewStart == ms)
        return;
    m_viewStart = ms;
    update();
    emit viewStartChanged();
}

void TimelineBars::setViewEnd(double ms)
{
    if (m_viewEnd == ms)
        return;
    m_viewEnd = ms;
    update();
    emit viewEndChanged();
}

void TimelineBars::setColor(const QColor &color)
{
    if (m_color == color)
        return;
    m_color = color;
    update();
    emit colorChanged();
}

QSGNode *TimelineBars::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    const qreal pixelRatio = window()->effectiveDevicePixelRatio();
    const auto runs
        = m_index.runs(toInstant(m_viewStart), toInstant(m_viewEnd), qRound(width() * pixelRatio));
    if (runs.empty()) {
        delete oldNode;
        return nullptr;
    }
    auto *node = oldNode ? static_cast<BarsNode *>(oldNode) : new BarsNode;
    node->draw(runs, 1 / pixelRatio, height(), m_color);
    return node;
}

void TimelineBars::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size())
        update();
}

void TimelineBars::itemChange(ItemChange change, const ItemChangeData &data)
{
    QQuickItem::itemChange(change, data);
    if (change == ItemDevicePixelRatioHasChanged)
        update();
}
