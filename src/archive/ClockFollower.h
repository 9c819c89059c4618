#pragma once

#include <QElapsedTimer>
#include <QtGlobal>

/**
 * Keeps one of several players in step with the clock they share.
 *
 * The clock tells its time now and then; in between it runs on at the playback rate. A player that is behind
 * or ahead of it plays a little faster or slower until it has caught up, so that nothing jumps. Opening a
 * file takes a moment and starts at a key frame, so every player begins a little behind.
 */
class ClockFollower
{
public:
    /// The clock shows `clockMs` right now.
    void setClock(qint64 clockMs);
    /// Forgets the clock: rateFor() returns the plain rate until setClock() is called again.
    void reset();
    /// The rate at which a player should play whose position is `shownMs` right now in a file that ends at
    /// `endMs`, given the clock's own rate. It is held a little ahead of the clock, because its frame stays
    /// on the screen for a moment, and more so towards the end of the file, because opening the next one
    /// takes one. Comes in steps, so that it changes seldom. The plain rate while the clock has not been
    /// heard of for a second.
    double rateFor(qint64 shownMs, qint64 endMs, double rate) const;

    /// The rate for a player that is behind by so much, negative when ahead.
    static double rateWhenBehind(qint64 behindMs, double rate);

private:
    qint64 m_clockMs = 0;
    QElapsedTimer m_heard;
};
