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
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
    // Video covers nearly everything below it and hardly anything covers video: a depth buffer would be
    // cleared, read and written for each pixel to no avail, a seventh of what a software rasteriser does per
    // picture.
    qputenv("QSG_NO_DEPTH_BUFFER", "1");

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
