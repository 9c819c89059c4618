#include "app/Logging.h"

#include <QRegularExpression>

Q_LOGGING_CATEGORY(lcStatus, "zorvel.status", QtInfoMsg)
Q_LOGGING_CATEGORY(lcStream, "zorvel.stream", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPlayback, "zorvel.playback", QtInfoMsg)
Q_LOGGING_CATEGORY(lcApi, "zorvel.api", QtInfoMsg)

namespace {

struct Rule
{
    QRegularExpression secret;
    QString replacement;
};

QRegularExpression pattern(const QString &text)
{
    return QRegularExpression(text, QRegularExpression::CaseInsensitiveOption);
}

// Never destroyed: other threads still log while the program ends.
const QList<Rule> &rules()
{
    static const auto name = QStringLiteral(
        "(?:[\\w-]*(?:token|passwo?r?d|pwd|secret|signature|api_?key)|key|sig|auth|pass|user(?:name)?)");
    static const auto *list = new QList<Rule>{
        // "scheme://user:password@", the password with or without the characters that had to be escaped.
        // JSON may write its slashes escaped. The lengths bound the time that a long text can take.
        {pattern(QStringLiteral("(:\\\\?/\\\\?/)(?:[^\\s/?#@:]{0,256}:(?!\\d{1,5}[/?#])[^\\s\"<>]{0,512}@"
                                "|[^\\s/?#\"<>]{0,512}@)")),
            QStringLiteral("\\1")},
        {pattern(QStringLiteral("([?&;/]%1=)[^&;#\\s\"<>]+").arg(name)), QStringLiteral("\\1***")},
        {pattern(QStringLiteral("(\"%1\"\\s*:\\s*\")(?:[^\"\\\\]|\\\\.)+").arg(name)),
            QStringLiteral("\\1***")},
        {pattern(QStringLiteral("(\\bauthorization\"?\\s*[:=]\\s*\"?\\w+\\s+|\\bbearer\\s+)[^\\s\"',]+")),
            QStringLiteral("\\1***")},
    };
    return *list;
}

} // namespace

QString redactUrl(const QString &text)
{
    QString result = text;
    for (const Rule &rule : rules()) {
        result.replace(rule.secret, rule.replacement);
    }
    return result;
}
