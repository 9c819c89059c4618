#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QObject>

#include <memory>
#include <vector>

class QQuickWindow;

/// Watches the frames of every Qt Quick window on its render thread: how many there were, and the longest
/// spans. As with StallWatch, time in which the render thread only waited for a processor is told apart.
class FrameWatch : public QObject
{
    Q_OBJECT

public:
    explicit FrameWatch(QObject *parent = nullptr);
    ~FrameWatch() override;

    /// Forgets the counts and spans of every window.
    void restart();

    /// Per window {"frames", "firstAtNs", "seconds", "syncMs", "renderMs", "frameMs", "waitedMs"}: frames
    /// swapped since the restart and its age; the longest synchronisation (the GUI thread stands still),
    /// rendering, and whole frame from synchronising to swapping, each less its waiting for a processor; the
    /// waiting in that frame.
    QJsonArray report() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Window;
    void watch(QQuickWindow *window);

    std::vector<std::shared_ptr<Window>> m_windows;
};
