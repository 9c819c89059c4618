#include "Termination.h"

#include <QCoreApplication>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace demo {

namespace {

int wakeUpEnds[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = write(wakeUpEnds[0], &byte, sizeof byte);
}

} // namespace

Termination::Termination(QObject *parent)
    : QObject(parent)
{
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, wakeUpEnds) != 0)
        qFatal("No socket pair for signals");
    m_notifier = std::make_unique<QSocketNotifier>(wakeUpEnds[1], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, qApp, &QCoreApplication::quit);
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

} // namespace demo
