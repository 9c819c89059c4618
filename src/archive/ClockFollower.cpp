#include "archive/ClockFollower.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr qint64 toleratedMs = 60;
constexpr double catchUpMs = 1000;
constexpr double slowest = 0.5;
constexpr double fastest = 2.0;
constexpr double step = 0.05;
constexpr qint64 silenceMs = 1000;

} // namespace

void ClockFollower::setClock(qint64 clockMs)
{
    m_clockMs = clockMs;
    m_heard.start();
}

void ClockFollower::reset()
{
    m_heard.invalidate();
}

double ClockFollower::rateFor(qint64 shownMs, double rate) const
{
    if (!m_heard.isValid() || m_heard.hasExpired(silenceMs))
        return rate;
    const qint64 nowMs = m_clockMs + static_cast<qint64>(static_cast<double>(m_heard.elapsed()) * rate);
    return rateWhenBehind(nowMs - shownMs, rate);
}

double ClockFollower::rateWhenBehind(qint64 behindMs, double rate)
{
    if (std::abs(behindMs) <= toleratedMs)
        return rate;
    const double factor = std::clamp(1 + static_cast<double>(behindMs) / catchUpMs, slowest, fastest);
    return rate * std::round(factor / step) * step;
}
