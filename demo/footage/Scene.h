#pragma once

#include "footage/Frame420.h"
#include "footage/VideoFormat.h"

#include <QByteArray>
#include <QList>

namespace demo {

/// The scenes that the cameras look at: a yard in one of several colours with a ball that swings through it.
class Scene
{
public:
    static constexpr int themes = 8;
    static constexpr int loopSeconds = 10;

    Scene(int theme, const VideoFormat &format);

    /// The picture of one frame of the loop. The time band is left black.
    const Frame420 &frame(int index);
    /// The picture with a name in the name band, as it stands in every frame.
    Frame420 named(const QString &name) const;

private:
    QRect ballRect(int index) const;

    VideoFormat m_format;
    int m_theme;
    QImage m_backdrop;
    Frame420 m_frame;
    QRect m_ball;
};

} // namespace demo
