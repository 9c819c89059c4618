#pragma once

#include "archive/SegmentFiles.h"

#include <QJsonArray>

#include <memory>

namespace demo {

class Cameras;
class Router;
struct Call;
struct HttpResponse;

/// Recordings: where there is footage, its files, and the export stream.
class ArchiveApi
{
public:
    /// Exports that may run at the same time; further ones are answered 429.
    static constexpr int maxExports = 2;

    ArchiveApi(const Cameras &cameras, const Recordings &recordings, Footage &footage, Router &router);

private:
    HttpResponse recordingRange(const Camera &camera) const;
    HttpResponse timeline(const Call &call, const Camera &camera) const;
    HttpResponse batchTimeline(const Call &call) const;
    HttpResponse segments(const Call &call, const Camera &camera);
    HttpResponse segmentFile(const Call &call);
    HttpResponse exportStream(const Call &call);

    const Cameras &m_cameras;
    const Recordings &m_recordings;
    SegmentFiles m_files;
    std::shared_ptr<int> m_runningExports = std::make_shared<int>(0);
};

} // namespace demo
