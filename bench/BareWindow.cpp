#include <QApplication>
#include <QQmlApplicationEngine>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QQmlApplicationEngine engine;
    engine.loadData("import QtQuick\nWindow { visible: true; width: 138; height: 110 }");
    return QApplication::exec();
}
