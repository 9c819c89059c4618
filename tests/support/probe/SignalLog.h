#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QTimer>

/// Notes when items of a type emit a signal, with the values of some of their properties at that moment.
/// Items that appear later are found by looking through the windows every 10 ms.
class SignalLog : public QObject
{
    Q_OBJECT

public:
    explicit SignalLog(QObject *parent = nullptr);

    /// Starts noting: request has "type", "signal" (its name) and "get" (property names), and "later", false
    /// when items that appear later need not be looked for, which takes processor time.
    void watch(const QJsonObject &request);

    /// What was noted since the last call: {"atNs", "values"}.
    QJsonArray take();

    /// Ends all watching and forgets what was noted.
    void stop();

private:
    void attach();
    Q_SLOT void note();

    QTimer m_timer;
    QList<QJsonObject> m_watches;
    QSet<const QObject *> m_attached;
    QJsonArray m_notes;
};
