#pragma once

#include "http/HttpMessage.h"

#include <QJsonArray>
#include <QMap>

#include <functional>

namespace demo {

/// What is to go wrong with requests under a path prefix.
struct Fault
{
    QByteArray method; ///< empty: any
    QString pathPrefix;
    int times = -1; ///< how many requests it still strikes; -1: until cleared
    int skip = 0; ///< how many matching requests it lets pass first
    int delayMs = 0;
    int status = 0; ///< 0: the ordinary answer
    QByteArray body;
    bool replacesBody = false;
    qint64 cutAfterBytes = -1;

    QJsonObject toJson() const;
};

/// The faults switched on, and how often each path was asked. Paths are kept without their query; headers and
/// bodies are never kept.
class Faults
{
public:
    void add(const Fault &fault) { m_faults.append(fault); }
    void clear() { m_faults.clear(); }
    QJsonArray toJson() const;

    /// Counts the request and answers it through the first fault that strikes it.
    HttpResponse apply(const HttpRequest &request, const std::function<HttpResponse()> &ordinary);

    /// "METHOD path" with the number of requests.
    QJsonObject counts() const;
    void resetCounts() { m_counts.clear(); }

private:
    Fault *strike(const HttpRequest &request);

    QList<Fault> m_faults;
    QMap<QString, int> m_counts;
};

} // namespace demo
