// The least that Qt Quick does: a window with one field. What the client takes longer to show itself than
// this is its own.
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlApplicationEngine>
#include <QtQuick/QQuickWindow>

int main(int argc, char **argv)
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
    const QGuiApplication application(argc, argv);
    QQmlApplicationEngine engine;
    engine.loadData(R"(
        import QtQuick
        import QtQuick.Controls.Basic
        ApplicationWindow { visible: true; width: 1280; height: 800; TextField { anchors.centerIn: parent } }
    )");
    return QGuiApplication::exec();
}
