#include "app/Application.h"
#include "app/CrashReporting.h"
#include "app/HeapPolicy.h"
#include "app/QmlTypes.h"

#include <QGuiApplication>
#include <QQuickStyle>
#include <QQuickWindow>

#include <clocale>

int main(int argc, char *argv[])
{
    keepHeapCompact();
    std::setlocale(LC_NUMERIC, "C");
    // Where there is no display to keep time, Qt waits 5 ms with each redraw for more of them. The windows
    // gather theirs themselves.
    if (!qEnvironmentVariableIsSet("QT_QPA_UPDATE_IDLE_TIME"))
        qputenv("QT_QPA_UPDATE_IDLE_TIME", "0");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);

    const QGuiApplication guiApplication(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("Zorvel Client"));
    QGuiApplication::setOrganizationName(QStringLiteral("Zorvel"));
    initCrashReporting();
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    registerQmlTypes();

    Application application;
    const int exitCode = application.load() ? QGuiApplication::exec() : -1;
    closeCrashReporting();
    return exitCode;
}
