#include "http/ByteRange.h"

#include <algorithm>
#include <optional>

namespace demo {

namespace {

struct Range
{
    qint64 first;
    qint64 last;
};

/// "a-b", "a-" or "-n" within a file; nothing when it is no range at all. An unsatisfiable one has first >
/// last.
std::optional<Range> parseRange(const QByteArray &text, qint64 size)
{
    const qsizetype dash = text.indexOf('-');
    if (dash < 0)
        return std::nullopt;
    bool firstIsNumber = false;
    bool lastIsNumber = false;
    const qint64 first = text.left(dash).toLongLong(&firstIsNumber);
    const qint64 last = text.mid(dash + 1).toLongLong(&lastIsNumber);
    const bool isSuffix = dash == 0;
    const bool isOpen = dash == text.size() - 1;
    if ((!firstIsNumber && !isSuffix) || (!lastIsNumber && !isOpen) || (isSuffix && isOpen))
        return std::nullopt;
    if (isSuffix)
        return Range{std::max(size - last, qint64(0)), size - 1 - (last == 0 ? size : 0)};
    if (!isOpen && last < first)
        return std::nullopt;
    return Range{first, isOpen ? size - 1 : std::min(last, size - 1)};
}

} // namespace

HttpResponse answerWithFile(const HttpRequest &request, const QByteArray &file, const QByteArray &contentType)
{
    HttpResponse response;
    response.setHeader("Content-Type", contentType);
    response.setHeader("Accept-Ranges", "bytes");
    const QByteArray wanted = request.headers.value("range");
    const std::optional<Range> range = wanted.startsWith("bytes=") && !wanted.contains(',')
        ? parseRange(wanted.mid(6), file.size())
        : std::nullopt;
    if (!range) {
        response.body = file;
    } else if (range->first > range->last) {
        response.status = 416;
        response.setHeader("Content-Range", "bytes */" + QByteArray::number(file.size()));
    } else {
        response.status = 206;
        response.setHeader("Content-Range",
            "bytes " + QByteArray::number(range->first) + '-' + QByteArray::number(range->last) + '/'
                + QByteArray::number(file.size()));
        response.body = file.mid(range->first, range->last - range->first + 1);
    }
    return response;
}

} // namespace demo
