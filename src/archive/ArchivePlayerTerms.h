#pragma once

#include "app/Logging.h"

#include <QString>

/// The states of an archive player, and how it writes its log. For its own sources only.
namespace ArchivePlayerTerms {

inline const QString idle = QStringLiteral("idle");
inline const QString loading = QStringLiteral("loading");
inline const QString playing = QStringLiteral("playing");
inline const QString paused = QStringLiteral("paused");
inline const QString ended = QStringLiteral("ended");
inline const QString noFootage = QStringLiteral("no_footage");
inline const QString failed = QStringLiteral("error");

/// A gap up to this long is played through.
inline constexpr qint64 gapMs = 2000;

inline void logDebug(const QString &text)
{
    qCDebug(lcPlayback).noquote() << text;
}

inline void logInfo(const QString &text)
{
    qCInfo(lcPlayback).noquote() << text;
}

inline void logWarning(const QString &text)
{
    qCWarning(lcPlayback).noquote() << text;
}

} // namespace ArchivePlayerTerms
