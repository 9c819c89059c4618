#include "ProbePlugin.h"

#include "ProbeServer.h"

QObject *ProbePlugin::create(const QString &name, const QString &specification)
{
    Q_UNUSED(specification)
    const QString socketName = qEnvironmentVariable("ZORVEL_PROBE");
    if (name != QLatin1String("zorvelprobe") || socketName.isEmpty()) {
        return nullptr;
    }
    return new ProbeServer(socketName);
}
