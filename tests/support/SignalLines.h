#pragma once

#include <QObject>
#include <QSignalSpy>
#include <QStringList>

#include <memory>
#include <vector>

/**
 * The signals of an object in their order, each as one line "name|argument|argument". Lists and maps show as
 * JSON; a list of records as "[record,record]", each record by its converter to QString.
 */
class SignalLines : public QObject
{
    Q_OBJECT

public:
    /// Listens to the signals of that object's own class, except those of these names.
    explicit SignalLines(QObject *object, const QStringList &except = {});

    QStringList lines;
    QStringList take() { return std::exchange(lines, {}); }

private slots:
    void note();

private:
    std::vector<std::unique_ptr<QSignalSpy>> m_spies;
};
