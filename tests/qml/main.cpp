#include "StandIns.h"

#include <QCoreApplication>
#include <QLocale>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QSettings>
#include <QTemporaryDir>
#include <QtQuickTest/quicktest.h>

// Starts engines of its own on a clean slate, so that a test sees what the next start of the program would.
class Restart : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // The language that a program started under an operating system's locale comes up with.
    Q_INVOKABLE QString languageUnder(const QString &localeName)
    {
        QLocale::setDefault(QLocale(localeName));
        QQmlEngine engine;
        engine.addImportPath(QStringLiteral(":/"));
        QQmlComponent component(&engine);
        component.setData("import QtQml; import ZorvelClient; QtObject { property string l: Translations.language }", {});
        std::unique_ptr<QObject> object(component.create());
        QLocale::setDefault(QLocale::c());
        return object ? object->property("l").toString() : component.errorString();
    }
    Q_INVOKABLE QVariant stored(const QString &key) { return QSettings().value(key); }
    Q_INVOKABLE void store(const QString &key, const QVariant &value) { QSettings().setValue(key, value); }
    Q_INVOKABLE void forget(const QString &group) { QSettings().remove(group); }
};

class Setup : public QObject
{
    Q_OBJECT

public slots:
    void applicationAvailable()
    {
        QCoreApplication::setOrganizationName(QStringLiteral("Zorvel"));
        QCoreApplication::setApplicationName(QStringLiteral("Zorvel Client Tests"));
        QSettings::setDefaultFormat(QSettings::IniFormat);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settings.path());
        QQuickStyle::setStyle(QStringLiteral("Basic"));
    }

    void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->addImportPath(QStringLiteral(":/"));
        QQmlContext *context = engine->rootContext();
        context->setContextProperty(QStringLiteral("apiClient"), new StandInApiClient(engine));
        context->setContextProperty(QStringLiteral("wsClient"), new StandInWsClient(engine));
        context->setContextProperty(QStringLiteral("restart"), new Restart(engine));
    }

private:
    QTemporaryDir m_settings;
};

QUICK_TEST_MAIN_WITH_SETUP(zorvel_qml_runner, Setup)

#include "main.moc"
