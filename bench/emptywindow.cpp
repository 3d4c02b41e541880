// The floor of the start: an empty window of the launcher's size.

#include <QApplication>
#include <QWidget>

int main(int argc, char *argv[])
{
    const QApplication app(argc, argv);
    QWidget window;
    window.setFixedSize(960, 724);
    window.show();
    return QApplication::exec();
}
