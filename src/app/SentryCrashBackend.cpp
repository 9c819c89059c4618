#include "app/CrashBackend.h"

#include <sentry.h>

namespace {

class SentryCrashBackend final : public CrashBackend
{
public:
    bool start(const CrashOptions &settings) override
    {
        sentry_options_t *options = sentry_options_new();
        sentry_options_set_dsn(options, settings.dsn.toUtf8().constData());
        sentry_options_set_environment(options, settings.environment.toUtf8().constData());
        sentry_options_set_release(options, settings.release.toUtf8().constData());
        sentry_options_set_database_path(options, settings.databasePath.toUtf8().constData());
        sentry_options_set_handler_path(options, settings.handlerPath.toUtf8().constData());
        sentry_options_set_enable_logs(options, 1);
        // Options belong to the SDK from here on; it frees them itself when it fails.
        return sentry_init(options) == 0;
    }

    void setTag(const QString &key, const QString &value) override
    {
        sentry_set_tag(key.toUtf8().constData(), value.toUtf8().constData());
    }

    void setUser(const QString &username) override
    {
        sentry_value_t user = sentry_value_new_object();
        sentry_value_set_by_key(user, "username", text(username));
        sentry_set_user(user);
    }

    void removeUser() override { sentry_remove_user(); }

    void addBreadcrumb(const QString &category, const QString &message, const QString &level) override
    {
        sentry_value_t breadcrumb = sentry_value_new_breadcrumb(nullptr, message.toUtf8().constData());
        sentry_value_set_by_key(breadcrumb, "category", text(category));
        sentry_value_set_by_key(breadcrumb, "level", text(level));
        sentry_add_breadcrumb(breadcrumb);
    }

    void log(CrashLevel level, const QString &message) override
    {
        const QByteArray utf8 = message.toUtf8();
        switch (level) {
        case CrashLevel::Debug:
            sentry_log_debug("%s", utf8.constData());
            break;
        case CrashLevel::Info:
            sentry_log_info("%s", utf8.constData());
            break;
        case CrashLevel::Warning:
            sentry_log_warn("%s", utf8.constData());
            break;
        case CrashLevel::Error:
            sentry_log_error("%s", utf8.constData());
            break;
        case CrashLevel::Fatal:
            sentry_log_fatal("%s", utf8.constData());
            break;
        }
    }

    void captureMessage(CrashLevel level, const QString &logger, const QString &message) override
    {
        sentry_capture_event(sentry_value_new_message_event(
            static_cast<sentry_level_t>(level), logger.toUtf8().constData(), message.toUtf8().constData()));
    }

    void close() override { sentry_close(); }

private:
    static sentry_value_t text(const QString &value)
    {
        return sentry_value_new_string(value.toUtf8().constData());
    }
};

} // namespace

std::unique_ptr<CrashBackend> makeCrashBackend()
{
    return std::make_unique<SentryCrashBackend>();
}
