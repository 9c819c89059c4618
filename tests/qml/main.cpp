#include "ArchiveStandIns.h"
#include "CameraFeed.h"
#include "StandIns.h"

#include "app/QmlTypes.h"
#include "archive/FormatUtils.h"
#include "archive/TimelineModel.h"
#include "net/ApiClient.h"
#include "net/WSClient.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QSettings>
#include <QTemporaryDir>
#include <QtQuickTest/quicktest.h>

// Looks where QML cannot: at meta-objects and at the stored settings.
class Inspector : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // The names of the read-only texts of an item, in the order of their declaration.
    Q_INVOKABLE QStringList textsOf(QQuickItem *item)
    {
        QStringList names;
        const QMetaObject *meta = item->metaObject();
        for (int i = QQuickItem::staticMetaObject.propertyCount(); i < meta->propertyCount(); ++i) {
            const QMetaProperty property = meta->property(i);
            if (property.metaType() == QMetaType::fromType<QString>() && !property.isWritable())
                names.append(QString::fromLatin1(property.name()));
        }
        return names;
    }

    // What the stand-in offers and the real client does not.
    Q_INVOKABLE QStringList missingInApiClient()
    {
        const QMetaObject &real = ApiClient::staticMetaObject;
        const QMetaObject &standIn = StandInApiClient::staticMetaObject;
        QStringList missing;
        for (int i = standIn.propertyOffset(); i < standIn.propertyCount(); ++i) {
            const char *name = standIn.property(i).name();
            if (real.indexOfProperty(name) < 0)
                missing.append(QString::fromLatin1(name));
        }
        for (int i = standIn.methodOffset(); i < standIn.methodCount(); ++i) {
            const QByteArray signature = standIn.method(i).methodSignature();
            if (real.indexOfMethod(signature.constData()) < 0)
                missing.append(QString::fromLatin1(signature));
        }
        return missing;
    }

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
        const auto player = QUrl::fromLocalFile(QStringLiteral(ZORVEL_QML_TESTS "/StandInArchivePlayer.qml"));
        qmlRegisterType(player, "ZorvelClient", 1, 0, "ArchivePlayer");
    }

    void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->addImportPath(QStringLiteral(":/"));
        QQmlContext *context = engine->rootContext();
        context->setContextProperty(QStringLiteral("apiClient"), new ScriptedApiClient(engine));
        context->setContextProperty(QStringLiteral("wsClient"), new WSClient(engine));
        // A real client without a server: whatever is asked of it fails.
        context->setContextProperty(QStringLiteral("unreachableApiClient"), new ApiClient(engine));
        auto *cameras = new CameraListModel(engine);
        context->setContextProperty(QStringLiteral("cameraModel"), cameras);
        context->setContextProperty(QStringLiteral("cameraFeed"), new CameraFeed(cameras, engine));
        auto *archive = new ArchiveFeed(engine);
        context->setContextProperty(QStringLiteral("archiveFeed"), archive);
        context->setContextProperty(
            QStringLiteral("timelineModel"), new TimelineModel(archive->client(), engine));
        context->setContextProperty(QStringLiteral("exportModel"), new StandInExportModel(engine));
        context->setContextProperty(QStringLiteral("formatUtils"), new FormatUtils(engine));
        context->setContextProperty(QStringLiteral("inspector"), new Inspector(engine));
    }

private:
    QTemporaryDir m_settings;
};

QUICK_TEST_MAIN_WITH_SETUP(zorvel_qml_runner, Setup)

#include "main.moc"
