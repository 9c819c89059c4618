#pragma once

#include "archive/SegmentFiles.h"
#include "http/HttpMessage.h"

namespace demo {

/// One window of an export, made second by second as it is sent.
class ExportBody : public HttpBody
{
public:
    struct Window
    {
        int cameraNumber = 0;
        QString cameraName;
        QList<Seconds> recorded; ///< not empty
        qint64 originSecond = 0;
        bool withHeader = false;
    };

    /// @param running counts the exports under way for as long as the body lives
    ExportBody(SegmentFiles &files, Window window, std::shared_ptr<int> running);
    ~ExportBody() override;
    Q_DISABLE_COPY_MOVE(ExportBody)

    qint64 size() const override { return -1; }
    QByteArray read() override;

private:
    SegmentFiles &m_files;
    const Window m_window;
    std::shared_ptr<int> m_running;
    bool m_headerIsDue;
    qsizetype m_stretch = 0;
    qint64 m_next;
};

} // namespace demo
