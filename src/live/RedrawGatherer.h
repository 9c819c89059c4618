#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QSize>
#include <QTimer>

#include <atomic>
#include <deque>
#include <memory>

class ContextKeeper;
class MpvObject;
class QQuickWindow;

// Gathers the redraw requests of all video items of one window, so that many streams do not redraw the scene
// once each: with up to two streams a frame is drawn as it comes, with more of them the window is redrawn on
// a tick as long as one frame of the fastest stream. The next redraw is not asked for before the last one is
// done, so that the GUI thread does not wait for the render thread.
//
// While a recorded file is looked up or opened, or the window's only stream, the window is not redrawn for a
// moment, so that the new picture and what changes around it are drawn in one go; drawing twice would also
// keep the first frame waiting.
//
// Items that are not visible get their frames taken off their hands without a redraw, so that they keep up;
// and so do frames that come faster than the tick, which is how a stream catches up after a stall.
//
// One object per window, a child of the window, on the GUI thread.
class RedrawGatherer : public QObject
{
    Q_OBJECT

public:
    static RedrawGatherer *of(QQuickWindow *window);
    ~RedrawGatherer() override;

    // What the window's renderers share.
    const std::shared_ptr<ContextKeeper> &keeper() const { return m_keeper; }
    // The window's size in pixels in the frame that is being drawn, for its render thread.
    std::shared_ptr<const QSize> windowPixels() const { return m_windowPixels; }

    // An item joins, or goes.
    void add(MpvObject *item);
    void remove(MpvObject *item);

    // The item has a new frame.
    void request(MpvObject *item);

    // The item plays so many times faster than before.
    void scaleRate(MpvObject *item, double factor);

    // The redraw that is being synchronised draws the item's frame of that position; the item is told once it
    // is on the screen, unless that does not count any more. A redraw without a new frame does not count: the
    // player may be far ahead of a frame that was not drawn in time.
    void noteDrawn(MpvObject *item, double position);
    void forgetDrawn(const MpvObject *item);

    // An item opens a file, or soon will, and will then have its first frame.
    void expectFrame(MpvObject *item);

    // A stream is being opened. If it is the only one, the window is not redrawn for a moment either.
    void expectStream();

    // Whether the window has not been shown for a while. The items are told when that changes.
    bool isAsleep() const { return m_asleep; }

    // Whether a stream may be opened now. Otherwise the item is woken when it may: those of a window that is
    // back, or resumed, would all start in the same moment.
    bool mayStart(MpvObject *item);

    // The time between two redraws while more than two streams play.
    int tickMs() const { return m_tickMs; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void tendContexts();

private:
    // What the last measurement found: the frames until then, and frames per second.
    struct Stream
    {
        quint64 delivered;
        double rate;
    };

    struct Drawn
    {
        MpvObject *item;
        double position;
        quint64 sync;
        // How many pictures the item had shown before.
        quint64 pictures;
    };

    explicit RedrawGatherer(QQuickWindow *window);

    // Whether so few first frames are expected that each may have a redraw of its own.
    bool fewAreOpening() const;
    void schedule();
    void flush();
    void tellShown();
    void measureRates();
    // Sets the tick. Returns whether any stream is known to play.
    bool followRates();
    void setAsleep(bool asleep);
    void wakeSome();
    void hold();
    void releaseRedraw();
    void takeFrames(const QList<MpvObject *> &items);

    QQuickWindow *m_window;
    std::shared_ptr<ContextKeeper> m_keeper;
    std::shared_ptr<QSize> m_windowPixels;
    std::shared_ptr<std::atomic_bool> m_freeScheduled;
    QHash<MpvObject *, Stream> m_items;
    QSet<MpvObject *> m_pending;
    // Whether one of them is drawn without waiting for the tick, because it has shown nothing yet.
    bool m_firstFrameWaits = false;
    std::deque<Drawn> m_drawn;
    QTimer m_flushTimer;
    QTimer m_rateTimer;
    QTimer m_tendTimer;
    QTimer m_sleepTimer;
    // The items that wait for their turn in a window that is awake, and the streams opened in this one.
    QList<QPointer<MpvObject>> m_waking;
    int m_starts = 0;
    QTimer m_wakeTimer;
    // Runs while the window's redraws are held back.
    QTimer m_holdTimer;
    QElapsedTimer m_sinceHeld;
    bool m_redrawHeld = false;
    // One that was held is on its way.
    bool m_redrawDue = false;
    bool m_asleep = false;
    QElapsedTimer m_sinceRates;
    qint64 m_lastFlushMs = 0;
    // Counts the synchronisations with the render thread: all of them, the one whose frame was shown last,
    // and the one that the last redraw comes with.
    std::atomic<quint64> m_syncs = 0;
    std::atomic<quint64> m_doneSync = 0;
    quint64 m_awaitedSync = 0;
    // The items that had something to play at the last redraw.
    int m_busy = 0;
    int m_tickMs;
};
