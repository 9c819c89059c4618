#include "archive/ExportBody.h"

#include "archive/Mp4.h"

namespace demo {

ExportBody::ExportBody(SegmentFiles &files, Window window, std::shared_ptr<int> running)
    : m_files(files)
    , m_window(std::move(window))
    , m_running(std::move(running))
    , m_headerIsDue(m_window.withHeader)
    , m_next(m_window.recorded.first().from)
{
    ++*m_running;
}

ExportBody::~ExportBody()
{
    --*m_running;
}

QByteArray ExportBody::read()
{
    if (m_headerIsDue) {
        m_headerIsDue = false;
        return m_files.exportHeader();
    }
    if (m_next == m_window.recorded[m_stretch].to) {
        if (m_stretch + 1 == m_window.recorded.size())
            return {};
        m_next = m_window.recorded[++m_stretch].from;
    }
    const qint64 offset = m_next - m_window.originSecond;
    return Mp4::fragment(
        quint32(offset + 1), offset, m_files.second(m_window.cameraNumber, m_window.cameraName, m_next++));
}

} // namespace demo
