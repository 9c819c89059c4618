#include "Feeds.h"

#include "app/QmlTypes.h"
#include "archive/ExportModel.h"
#include "archive/FormatUtils.h"
#include "archive/TimelineModel.h"
#include "net/WSClient.h"

#include <QCoreApplication>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickStyle>
#include <QSettings>
#include <QTemporaryDir>
#include <QtQuickTest/quicktest.h>

// Looks where QML cannot: at the stored settings.
class Inspector : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    Q_INVOKABLE QVariant stored(const QString &key) { return QSettings().value(key); }
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
        registerQmlTypes();
        qmlRegisterType(document("StandInArchivePlayer"), "ZorvelClient", 1, 0, "ArchivePlayer");
    }

    void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->addImportPath(QStringLiteral(":/"));
        const auto give = [engine](const char *name, QObject *object) {
            object->setParent(engine);
            engine->rootContext()->setContextProperty(QString::fromLatin1(name), object);
        };
        give("apiClient", QQmlComponent(engine, document("StandInApiClient")).create());
        give("wsClient", new WSClient);
        // A real client without a server: whatever is asked of it fails.
        give("unreachableApiClient", new ApiClient);
        auto *cameras = new CameraListModel;
        give("cameraModel", cameras);
        give("cameraFeed", new CameraFeed(cameras, engine));
        auto *archive = new ArchiveFeed(engine);
        give("archiveFeed", archive);
        give("timelineModel", new TimelineModel(archive->client()));
        give("exportModel", new ExportModel(archive->client()));
        give("formatUtils", new FormatUtils);
        give("inspector", new Inspector);
    }

private:
    static QUrl document(const char *name)
    {
        return QUrl::fromLocalFile(QStringLiteral(ZORVEL_QML_TESTS "/%1.qml").arg(name));
    }

    QTemporaryDir m_settings;
};

QUICK_TEST_MAIN_WITH_SETUP(zorvel_qml_runner, Setup)

#include "main.moc"
