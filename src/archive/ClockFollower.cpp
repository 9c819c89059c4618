#include "archive/ClockFollower.h"

#include <algorithm>
#include <cmath>

namespace {

// In real time, not that of the footage: how late a correction takes effect does not depend on the rate.
constexpr double toleratedMs = 20;
constexpr double catchUpMs = 400;
constexpr double slowest = 0.5;
constexpr double fastest = 3.0;
constexpr double highestRate = 8.0;
constexpr double step = 0.05;
constexpr qint64 silenceMs = 1000;
constexpr double lastStretchMs = 2000;
constexpr double openingMs = 30;
constexpr double halfFrameMs = 30;

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

double ClockFollower::rateFor(qint64 shownMs, qint64 endMs, double rate) const
{
    if (!m_heard.isValid() || m_heard.hasExpired(silenceMs))
        return rate;
    const bool endsSoon = static_cast<double>(endMs - shownMs) < lastStretchMs * rate;
    const double leadMs = halfFrameMs + (endsSoon ? openingMs : 0);
    const double aimedMs = (static_cast<double>(m_heard.elapsed()) + leadMs) * rate;
    return rateWhenBehind(m_clockMs + static_cast<qint64>(aimedMs) - shownMs, rate);
}

double ClockFollower::rateWhenBehind(qint64 behindMs, double rate)
{
    const double lateMs = static_cast<double>(behindMs) / rate;
    if (std::abs(lateMs) <= toleratedMs)
        return rate;
    const double limit = std::clamp(highestRate / rate, 1.0, fastest);
    const double factor = std::clamp(1 + lateMs / catchUpMs, slowest, limit);
    return rate * std::round(factor / step) * step;
}
