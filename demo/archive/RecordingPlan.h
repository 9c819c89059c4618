#pragma once

#include <QList>

namespace demo {

/// A stretch of whole seconds since the epoch, [from, to).
struct Seconds
{
    qint64 from = 0;
    qint64 to = 0;

    bool operator==(const Seconds &other) const = default;
};

/**
 * Which seconds a camera has on record, by a pattern that its number picks.
 *
 * The pattern is the same for every run and reaches as far back as one likes: camera 1, 5, 9, ... miss
 * nothing; 2, 6, 10, ... a second and two seconds of every hour; 3, 7, 11, ... three seconds of every hour
 * and ten minutes of every other; 4, 8, 12, ... all of that and two hours a day. Camera 13, 26, ... never
 * record.
 */
class RecordingPlan
{
public:
    explicit RecordingPlan(int cameraNumber)
        : m_number(cameraNumber)
    {
    }

    /// The recorded stretches within a range, in order, none touching the next.
    QList<Seconds> recorded(const Seconds &range) const;

    static QList<Seconds> subtract(const QList<Seconds> &from, const QList<Seconds> &gaps);
    /// All stretches together, in order, none touching the next.
    static QList<Seconds> merge(QList<Seconds> stretches);

private:
    QList<Seconds> gapsOfHour(qint64 hour) const;

    int m_number;
};

} // namespace demo
