#include "live/StreamLog.h"

Q_LOGGING_CATEGORY(zorvelStream, "zorvel.stream", QtInfoMsg)
