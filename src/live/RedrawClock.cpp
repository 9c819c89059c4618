#include "live/RedrawClock.h"

#include <QList>

namespace {

QList<RedrawClock *> clocks;

} // namespace

RedrawClock::RedrawClock(QObject *parent)
    : QObject(parent)
{
    clocks.append(this);
}

RedrawClock::~RedrawClock()
{
    clocks.removeOne(this);
}

void RedrawClock::announce()
{
    const QList<RedrawClock *> listeners = clocks;
    for (RedrawClock *clock : listeners)
        emit clock->redrawing();
}
