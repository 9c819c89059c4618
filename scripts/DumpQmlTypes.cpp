// Writes the native types that QML documents create as a qmltypes file, so that qmllint knows their
// properties.
//   zorvel_qmltypes NAME... >native.qmltypes
// What it writes comes from an object of each type, made by QML as a document makes it.

#include "app/QmlTypes.h"

#include <QAbstractItemModel>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QTextStream>

#include <cstdio>
#include <memory>

namespace {

// A C++ type name as qmltypes files write it: pointers carry a mark of their own.
QString typed(const QByteArray &key, QByteArray typeName)
{
    QString text;
    if (typeName.endsWith('*')) {
        typeName.chop(1);
        text = QStringLiteral("; isPointer: true");
    }
    return QStringLiteral("%1: \"%2\"").arg(QLatin1String(key), QLatin1String(typeName.trimmed())) + text;
}

// The nearest ancestor that Qt's own modules describe.
const QMetaObject &describedBase(const QObject &object)
{
    if (object.inherits("QQuickItem"))
        return QQuickItem::staticMetaObject;
    if (object.inherits("QAbstractItemModel"))
        return QAbstractItemModel::staticMetaObject;
    return QObject::staticMetaObject;
}

void dumpProperty(QTextStream &out, const QMetaProperty &property)
{
    out << "        Property { name: \"" << property.name() << "\"; " << typed("type", property.typeName())
        << (property.isWritable() ? "" : "; isReadonly: true") << "; notify: \""
        << (property.hasNotifySignal() ? property.notifySignal().name().constData() : "") << "\" }\n";
}

void dumpMethod(QTextStream &out, const QMetaMethod &method)
{
    out << "        " << (method.methodType() == QMetaMethod::Signal ? "Signal" : "Method") << " { name: \""
        << method.name() << '"';
    if (method.returnMetaType().id() != QMetaType::Void)
        out << "; " << typed("type", method.typeName());
    for (int i = 0; i < method.parameterCount(); ++i)
        out << "\n            Parameter { name: \"" << method.parameterNames().at(i) << "\"; "
            << typed("type", method.parameterTypes().at(i)) << " }";
    out << " }\n";
}

void dump(QTextStream &out, const QString &name, const QObject &object)
{
    const QMetaObject &meta = *object.metaObject();
    const QMetaObject &base = describedBase(object);
    out << "    Component {\n        name: \"" << meta.className() << "\"; accessSemantics: \"reference\"\n"
        << "        prototype: \"" << base.className() << "\"\n        exports: [\"ZorvelClient/" << name
        << " 1.0\"]; exportMetaObjectRevisions: [256]\n";
    for (int i = base.propertyCount(); i < meta.propertyCount(); ++i)
        dumpProperty(out, meta.property(i));
    for (int i = base.methodCount(); i < meta.methodCount(); ++i)
        dumpMethod(out, meta.method(i));
    out << "    }\n";
}

} // namespace

int main(int argc, char *argv[])
{
    const QGuiApplication application(argc, argv);
    registerQmlTypes();
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral(":/"));
    QTextStream out(stdout);
    out << "import QtQuick.tooling 1.2\nModule {\n";
    const QStringList names = QCoreApplication::arguments().mid(1);
    for (const QString &name : names) {
        QQmlComponent component(&engine);
        component.setData("import ZorvelClient\n" + name.toUtf8() + " { }", {});
        const std::unique_ptr<QObject> object(component.create());
        if (!object) {
            std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
            return 1;
        }
        dump(out, name, *object);
    }
    out << "}\n";
    return 0;
}
