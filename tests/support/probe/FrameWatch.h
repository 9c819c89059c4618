#pragma once

#include "ThreadClock.h"

#include <QtCore/QJsonObject>
#include <QtCore/QMutex>
#include <QtCore/QObject>

#include <memory>

/// Watches the frames of the first Qt Quick window on its render thread: how many there were, and the longest
/// one. As with StallWatch, time in which the render thread only waited for a processor is told apart.
class FrameWatch : public QObject
{
    Q_OBJECT

public:
    explicit FrameWatch(QObject *parent = nullptr);

    /// Forgets the count and the longest frame.
    void restart();

    /// {"frames", "firstAtNs", "frameMs", "waitedMs"}: frames swapped since the restart; when the first one
    /// was; the longest frame from synchronising (the GUI thread stands still) to swapping, less its waiting
    /// for a processor; that waiting.
    QJsonObject report() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // Both on the render thread.
    void begin();
    void end();

    mutable QMutex m_mutex;
    std::unique_ptr<ThreadGroup> m_threads;
    ThreadGroup::Moment m_begin;
    LongestSpan m_longest;
    int m_frames = 0;
    qint64 m_firstAtNs = 0;
};
