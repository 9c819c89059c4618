#pragma once

#include "archive/SpanIndex.h"

#include <QColor>
#include <QQuickItem>
#include <QVariant>

/**
 * The bars of the timeline: recorded spans over the visible range [viewStart, viewEnd), filling the item's
 * height.
 *
 * Drawn as scene-graph rectangles, at most one per device pixel of the width. A column that is recorded only
 * in part is paler, though never so pale that a short recording is lost in a long range. Instants are
 * milliseconds since the epoch, UTC. Nothing is drawn while the range is empty.
 */
class TimelineBars : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(QVariant spans READ spans WRITE setSpans NOTIFY spansChanged)
    Q_PROPERTY(double viewStart READ viewStart WRITE setViewStart NOTIFY viewStartChanged)
    Q_PROPERTY(double viewEnd READ viewEnd WRITE setViewEnd NOTIFY viewEndChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)

public:
    explicit TimelineBars(QQuickItem *parent = nullptr);

    /// A SpanIndex, or a list of maps {"start", "end"} in any order; entries of another shape are not drawn.
    QVariant spans() const { return m_spans; }
    void setSpans(const QVariant &spans);

    double viewStart() const { return m_viewStart; }
    void setViewStart(double ms);

    double viewEnd() const { return m_viewEnd; }
    void setViewEnd(double ms);

    QColor color() const { return m_color; }
    void setColor(const QColor &color);

signals:
    void spansChanged();
    void viewStartChanged();
    void viewEndChanged();
    void colorChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;

private:
    QVariant m_spans;
    SpanIndex m_index;
    double m_viewStart = 0;
    double m_viewEnd = 0;
    QColor m_color = Qt::white;
};
