#pragma once

#include <QtGui/QGenericPlugin>

/// Entry point: the program started with QT_PLUGIN_PATH holding this plugin and
/// QT_QPA_GENERIC_PLUGINS=zorvelprobe gets a ProbeServer on the local socket that ZORVEL_PROBE names.
class ProbePlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "probe.json")

public:
    QObject *create(const QString &name, const QString &specification) override;
};
