// The minimum of the launcher's window: a picture, a line of text in each of its five fonts, and a
// network access manager. No style sheet, no layout, no settings.

#include <QApplication>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QPixmap>
#include <QWidget>

int main(int argc, char *argv[])
{
    const QApplication app(argc, argv);
    QWidget window;
    window.setFixedSize(960, 724);
    const QNetworkAccessManager network;

    auto *picture = new QLabel(&window);
    picture->setFixedSize(960, 592);
    picture->setPixmap(
        QPixmap(QCoreApplication::arguments().value(1))
            .scaled(picture->size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));

    auto addText = [&window, y = 600](int pixels, QFont::Weight weight) mutable {
        auto *label = new QLabel(QStringLiteral("Iniciar"), &window);
        QFont font = label->font();
        font.setPixelSize(pixels);
        font.setWeight(weight);
        label->setFont(font);
        label->move(0, y);
        y += 22;
    };
    addText(17, QFont::Bold);
    addText(12, QFont::Bold);
    addText(11, QFont::Normal);
    addText(9, QFont::Normal);
    addText(13, QFont::Normal);

    window.show();
    return QApplication::exec();
}
