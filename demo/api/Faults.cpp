#include "api/Faults.h"

namespace demo {

QJsonObject Fault::toJson() const
{
    QJsonObject object{{"path", pathPrefix}, {"times", times}};
    if (!method.isEmpty())
        object.insert("method", QString::fromLatin1(method));
    if (skip > 0)
        object.insert("skip", skip);
    if (delayMs > 0)
        object.insert("delay_ms", delayMs);
    if (status > 0)
        object.insert("status", status);
    if (replacesBody)
        object.insert("body", QString::fromUtf8(body));
    if (cutAfterBytes >= 0)
        object.insert("cut_after_bytes", cutAfterBytes);
    return object;
}

QJsonArray Faults::toJson() const
{
    QJsonArray list;
    for (const Fault &fault : m_faults)
        list.append(fault.toJson());
    return list;
}

HttpResponse Faults::apply(const HttpRequest &request, const std::function<HttpResponse()> &ordinary)
{
    ++m_counts[QString::fromLatin1(request.method) + u' ' + request.path];
    const Fault *fault = strike(request);
    if (!fault)
        return ordinary();

    HttpResponse response;
    if (fault->status > 0 || fault->replacesBody) {
        response.status = fault->status > 0 ? fault->status : 200;
        response.setHeader("Content-Type", "application/json");
        response.body = fault->body;
    } else {
        response = ordinary();
    }
    response.delayMs = fault->delayMs;
    response.cutAfterBytes = fault->cutAfterBytes;
    return response;
}

Fault *Faults::strike(const HttpRequest &request)
{
    for (Fault &fault : m_faults) {
        const bool matches = request.path.startsWith(fault.pathPrefix)
            && (fault.method.isEmpty() || fault.method == request.method);
        if (!matches || fault.times == 0)
            continue;
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        if (fault.times > 0)
            --fault.times;
        return &fault;
    }
    return nullptr;
}

QJsonObject Faults::counts() const
{
    QJsonObject object;
    for (auto it = m_counts.cbegin(); it != m_counts.cend(); ++it)
        object.insert(it.key(), it.value());
    return object;
}

} // namespace demo
