#pragma once

#include <QLoggingCategory>

// Live streams, from their URL to their picture. Lines begin with "[camera id]", "[mpv]" or "[pool]".
Q_DECLARE_LOGGING_CATEGORY(zorvelStream)
