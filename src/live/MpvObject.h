#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QQuickFramebufferObject>
#include <QTimer>

#include <memory>

struct mpv_event;
class MpvHandle;
class RedrawGatherer;
struct PictureBuffer;

// The video surface: plays one URL with libmpv and draws its frames into the scene. Live cells own two of
// them per camera, an archive cell one.
//
// A URL that begins with "http://" or "https://" is played buffered, any other URL in a low-latency profile
// without buffers. The player behind the item is made on a worker thread when something is first played, and
// torn down on a worker thread: an item that never plays costs nothing, and neither the GUI thread nor the
// render thread ever waits for libmpv. What is set before the player exists is applied to it when it does; if
// it cannot be made, the item stays idle and play() has no effect.
//
// While its window is not shown (minimised, for one) a live item rests, with its state unchanged, and starts
// over when the window is back.
//
// All calls are for the GUI thread. LC_NUMERIC must be "C" in the process.
class MpvObject : public QQuickFramebufferObject
{
    Q_OBJECT
    Q_PROPERTY(QString source READ source NOTIFY sourceChanged)
    Q_PROPERTY(QString state READ state NOTIFY stateChanged)
    Q_PROPERTY(double position READ position NOTIFY positionChanged)
    Q_PROPERTY(double duration READ duration NOTIFY durationChanged)
    Q_PROPERTY(bool paused READ paused NOTIFY pausedChanged)
    Q_PROPERTY(bool hasVideo READ hasVideo NOTIFY hasVideoChanged)
    Q_PROPERTY(bool stretch READ stretch WRITE setStretch NOTIFY stretchChanged)

public:
    explicit MpvObject(QQuickItem *parent = nullptr);
    ~MpvObject() override;

    // The URL being played, empty when none. Setting an unchanged live URL does nothing; an http(s) URL is
    // loaded again even when unchanged; an empty one stops.
    QString source() const { return m_source; }
    void setSource(const QString &source);

    // "idle", "loading" (after play()), "playing" (the file is open) or "error" (it could not be opened or
    // broke off).
    QString state() const { return m_state; }

    // Seconds. The position is only reported for http(s) sources, and is that of the frame on the screen.
    double position() const { return m_position; }
    double duration() const { return m_duration; }

    bool paused() const { return m_paused; }
    void setPaused(bool paused);

    // True from the first rendered frame of a load until the next play() or stop().
    bool hasVideo() const { return m_hasVideo; }

    // Whether the picture fills the item; otherwise it keeps its proportions between black bars.
    bool stretch() const { return m_stretch; }
    void setStretch(bool stretch);

    // An extra HTTP header line, "Name: value", sent with every http(s) request from the next play() on. An
    // empty one is ignored.
    void setHttpHeaderFields(const QString &header);

    // Milliseconds since the player last delivered a new video frame, -1 if none came since play() or stop(),
    // or since the window was hidden. It counts frames whether the item is visible or not, so it is what
    // tells a silent camera from a live one.
    qint64 lastFrameAgeMs() const;

    // New video frames that the player delivered since play() or stop().
    quint64 framesDelivered() const;

    // Something will be played soon: the player and its render context are made meanwhile, and after a
    // recording the window is not redrawn for a moment, so that the next picture finds the processor free.
    void prepare();
    // Loads the source from its start.
    Q_INVOKABLE void play();
    // Ends playback, forgets the source and paints black.
    Q_INVOKABLE void stop();
    // Suspends by pausing; resumes from fresh data instead of what was buffered meanwhile.
    Q_INVOKABLE void setSuspended(bool suspended);
    Q_INVOKABLE void seekTo(double seconds);
    Q_INVOKABLE void setSpeed(double rate);
    // Loads a URL and starts at an offset; 0.1 s or less is its start.
    Q_INVOKABLE void setSourceAndSeek(const QString &source, double seekSec);
    Q_INVOKABLE void dropBuffers();

    Renderer *createRenderer() const override;

public slots:
    void doUpdate();

signals:
    void sourceChanged();
    void stateChanged();
    void positionChanged();
    void durationChanged();
    void pausedChanged();
    // The source was played to its end.
    void fileEnded();
    void hasVideoChanged();
    void stretchChanged();
    // The first frame of a load is in the picture; comes right after hasVideoChanged().
    void firstFrameRendered();
    // A new frame waits to be drawn.
    void onUpdate();

protected:
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

private:
    static constexpr double shortestSeekSec = 0.1;

    friend class MpvHandle;
    friend class MpvRenderer;
    friend class RedrawGatherer;

    // For the renderer.
    bool isNetwork() const { return m_isNetwork; }
    bool isPreparing() const { return m_preparing; }
    // For the gatherer.
    const std::shared_ptr<MpvHandle> &player() const { return m_mpv; }
    qint64 lastFrameTakenMs() const;
    // Whether the item must be drawn even while it is not visible: until it has its render context, and the
    // first frame of a load.
    bool needsDrawing() const;
    bool awaitsFirstFrame() const;
    // Whether a frame that waits now is one of the file that is being replaced.
    bool hasOldFrame() const;

    // The window is not shown any more, or again. Without redraws a player would fall behind its camera: a
    // live one ends playback, keeps its state, and starts over when the window is back.
    void fallAsleep();
    void wakeUp();

    // Posted by the player's callbacks, by its making and by the renderer.
    void playerReady();
    void playerFailed();
    void renderContextReady();
    void requestRedraw();
    void drainEvents();

    void handleEvent(const mpv_event &event);
    void handleProperty(const mpv_event &event);
    void handleReading(const mpv_event &event);
    void handleLoadReply(const mpv_event &event);
    void handleFileLoaded();
    void handlePlaybackRestart();
    void handleEndFile(const mpv_event &event);
    static void logMessage(const mpv_event &event);
    // Whether any frame came since the file was asked for: one with sound alone plays without.
    bool hasFrameOfLoad() const;
    // Whether a playlist entry is the one that was loaded last.
    bool isCurrent(qint64 entry) const { return entry >= 0 && entry == m_entry; }
    // Whether the render context that the file was loaded for is gone, and with it the file's picture.
    bool hasLostContext() const;

    void setSourceAt(const QString &source, double seekSec);
    void applyProfile(bool isNetwork);
    void requestPlayer();
    bool drawsInSoftware() const;
    void load();
    // What is set for the file to be loaded alone: that it has a picture, where the file before lost its own;
    // and for a recorded one its start, and, when the last file before stop() was found to have no hardware
    // decoder, not to look for one for a minute. Looking takes a connection to the display or two.
    QByteArray fileOptions();
    void seekPlayer(double seconds);
    // The player has come to a position: it counts once its frame is on the screen.
    void notePosition(double seconds);
    void showPosition(double seconds);
    void forgetPosition();
    void beginLoad(const QString &state);
    void forgetLoad();
    // Loads what should be playing and is not.
    void loadAgain();
    // Begins what is played anew, a recording where it is; without a window, when there is one.
    void continuePlaying();
    // Whether the state is "loading" or "playing".
    bool isActive() const;
    void changeWindow();
    void showFirstFrame();
    void countUpdate();

    std::shared_ptr<MpvHandle> m_mpv;
    QPointer<RedrawGatherer> m_gatherer;
    // Where the renderer draws to; set while both threads are synchronised.
    std::shared_ptr<const PictureBuffer> m_buffer;
    // Whether the player was made, and has been told what was set before; or could not be made.
    bool m_hasPlayer = false;
    bool m_failed = false;
    bool m_preparing = false;
    QString m_source;
    QString m_state;
    double m_position = 0;
    double m_playerPosition = 0;
    // After a load or a seek positions count at once: until playback has begun, and one of them after that.
    bool m_hasBegun = false;
    bool m_isSettled = false;
    // Runs while the latest position waits for its frame.
    QTimer m_positionTimer;
    double m_duration = 0;
    // Where the next file to be opened begins, and where the latest one was told to.
    double m_pendingSeek = -1.0;
    double m_startSec = -1.0;
    bool m_paused = false;
    double m_speed = 1.0;
    bool m_isNetwork = false;
    QString m_httpHeaderFields;
    bool m_hasVideo = false;
    bool m_stretch = false;
    QString m_hwdec;
    bool m_seeksHardware = true;
    QElapsedTimer m_hardwareMissing;
    // Counts play() and stop(). The playlist entry that the "loadfile" of the latest play() made, -1 until
    // libmpv has told it; and the entry that libmpv opened last. Events of any other entry belong to a file
    // that was replaced.
    quint64 m_loadSerial = 0;
    qint64 m_entry = -1;
    qint64 m_openedEntry = -1;
    // The render context for which the file was loaded, 0 before that; and how many frames there had been.
    int m_contextOfLoad = 0;
    quint64 m_framesBeforeLoad = 0;
    QSize m_frameSize;
    int m_updateCount = 0;
    QElapsedTimer m_updateTimer;
};
