#pragma once

#include "http/HttpMessage.h"

namespace demo {

/// Answers with a whole file or, where the request asks for it, with one range of its bytes (206, or 416
/// where there are none). Several ranges at once are answered with the whole file.
HttpResponse answerWithFile(
    const HttpRequest &request, const QByteArray &file, const QByteArray &contentType);

} // namespace demo
