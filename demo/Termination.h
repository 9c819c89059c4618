#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace demo {

/// Turns the signals SIGINT and SIGTERM into an ordinary end of the application's event loop.
class Termination : public QObject
{
    Q_OBJECT

public:
    explicit Termination(QObject *parent = nullptr);

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace demo
