#include "app/CrashBackend.h"

namespace {

class InertCrashBackend final : public CrashBackend
{
public:
    bool start(const CrashOptions &) override { return false; }
    void setTag(const QString &, const QString &) override { }
    void setUser(const QString &) override { }
    void removeUser() override { }
    void addBreadcrumb(const QString &, const QString &, const QString &) override { }
    void log(CrashLevel, const QString &) override { }
    void captureMessage(CrashLevel, const QString &, const QString &) override { }
    void close() override { }
};

} // namespace

std::unique_ptr<CrashBackend> makeCrashBackend()
{
    return std::make_unique<InertCrashBackend>();
}
