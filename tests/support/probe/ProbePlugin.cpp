#include "ProbePlugin.h"

#include "ProbeServer.h"

QObject *ProbePlugin::create(const QString &name, const QString &)
{
    const QString socketName = qEnvironmentVariable("ZORVEL_PROBE");
    return name == "zorvelprobe" && !socketName.isEmpty() ? new ProbeServer(socketName) : nullptr;
}
