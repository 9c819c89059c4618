#pragma once

#include <QObject>

// Tells QML that a window is about to be redrawn for new video frames. What changes slowly and changes then,
// like the pulse of a dot, costs no redraw of its own. GUI thread only.
class RedrawClock : public QObject
{
    Q_OBJECT

public:
    explicit RedrawClock(QObject *parent = nullptr);
    ~RedrawClock() override;

    // Called by whoever asks for the redraw, right after asking.
    static void announce();

signals:
    void redrawing();
};
