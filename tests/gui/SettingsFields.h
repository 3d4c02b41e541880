#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

#include "ui/SettingsDialog.h"

/// The fields of a settings dialog, found by their labels, and what a user does with them.
class SettingsFields
{
public:
    /// The titles of the groups in their order.
    static constexpr const char *groups[] = {"Cliente", "Servidor", "Video",
                                             "Audio",   "Jogo",     "Patch / Links"};

    explicit SettingsFields(SettingsDialog &shown)
        : dialog(shown)
        , scrollArea(shown.findChild<QScrollArea *>())
        , buttons(shown.findChild<QDialogButtonBox *>())
        , clientDir(field<QLineEdit>("Cliente", "Pasta do cliente"))
        , browseClientDir(field<QPushButton>("Cliente", "Pasta do cliente", 1))
        , clientExe(field<QLineEdit>("Cliente", "Executavel"))
        , browseClientExe(field<QPushButton>("Cliente", "Executavel", 1))
        , wine(field<QComboBox>("Cliente", "Wine"))
        , refreshWine(field<QPushButton>("Cliente", "Wine", 1))
        , browseWine(field<QPushButton>("Cliente", "Wine", 2))
        , useWine(check("Usar Wine no Linux"))
        , serverName(field<QLineEdit>("Servidor", "Nome exibido"))
        , serverIp(field<QLineEdit>("Servidor", "IP do servidor"))
        , channels(field<QSpinBox>("Servidor", "Canais"))
        , channelHint(field<QLabel>("Servidor", 3))
        , resolution(field<QComboBox>("Video", "Resolucao"))
        , windowMode(check("Modo janela"))
        , brightness(field<QSlider>("Video", "Brilho"))
        , brightnessValue(field<QLabel>("Video", "Brilho", 1))
        , effects(field<QSlider>("Audio", "Efeitos"))
        , effectsValue(field<QLabel>("Audio", "Efeitos", 1))
        , music(field<QSlider>("Audio", "Musica"))
        , musicValue(field<QLabel>("Audio", "Musica", 1))
        , modelQuality(field<QComboBox>("Jogo", "Qualidade de modelos"))
        , cursor(field<QComboBox>("Jogo", "Cursor"))
        , keyboard(field<QComboBox>("Jogo", "Teclado"))
        , cameraView(field<QSpinBox>("Jogo", "Visao da camera"))
        , cameraRotation(check("Rotacao de camera"))
        , dxt(check("Texturas DXT (melhor desempenho)"))
        , introVideo(check("Reproduzir video de abertura"))
        , patchUrl(field<QLineEdit>("Patch / Links", "URL base do patch"))
        , website(field<QLineEdit>("Patch / Links", "Site"))
        , news(field<QLineEdit>("Patch / Links", "Noticias (URL)"))
        , ok(buttons->button(QDialogButtonBox::Ok))
        , cancel(buttons->button(QDialogButtonBox::Cancel))
    {
    }

    QGroupBox *group(const char *title) const
    {
        const QList<QGroupBox *> boxes = dialog.findChildren<QGroupBox *>();
        for (QGroupBox *candidate : boxes) {
            if (candidate->title() == QLatin1String(title)) {
                return candidate;
            }
        }
        qFatal("the settings dialog has no group \"%s\"", title);
    }

    QFormLayout *form(const char *title) const
    {
        auto *form = qobject_cast<QFormLayout *>(group(title)->layout());
        if (form == nullptr) {
            qFatal("the group \"%s\" has no form layout", title);
        }
        return form;
    }

    /// The label of a row; null for a row without one.
    QLabel *rowLabel(const char *title, int row) const
    {
        QLayoutItem *item = form(title)->itemAt(row, QFormLayout::LabelRole);
        return item != nullptr ? qobject_cast<QLabel *>(item->widget()) : nullptr;
    }

    /// The widgets of a row from left to right, without its label.
    QList<QWidget *> rowWidgets(const char *title, int row) const
    {
        QLayoutItem *item = form(title)->itemAt(row, QFormLayout::FieldRole);
        if (item->widget() != nullptr) {
            return {item->widget()};
        }
        QList<QWidget *> widgets;
        for (int i = 0; i < item->layout()->count(); ++i) {
            widgets << item->layout()->itemAt(i)->widget();
        }
        return widgets;
    }

    // What a user does:

    static void click(QAbstractButton *button)
    {
        // A check box does not react to clicks on all of its width.
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(9, button->height() / 2));
    }
    static void type(QLineEdit *edit, const QString &text)
    {
        QTest::mouseClick(edit, Qt::LeftButton);
        QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, text);
    }
    static void type(QSpinBox *spin, int value)
    {
        spin->setFocus(Qt::TabFocusReason);
        QTest::keyClick(spin, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(spin, QString::number(value));
        QTest::keyClick(spin, Qt::Key_Tab);
    }
    /// Goes to the item with the arrow keys.
    static void choose(QComboBox *combo, const QString &text)
    {
        combo->setFocus(Qt::TabFocusReason);
        QTest::keyClick(combo, Qt::Key_Home);
        while (combo->currentText() != text && combo->currentIndex() + 1 < combo->count()) {
            QTest::keyClick(combo, Qt::Key_Down);
        }
        if (combo->currentText() != text) {
            QTest::qFail(qPrintable(QStringLiteral("no item \"%1\"").arg(text)), __FILE__,
                         __LINE__);
        }
    }
    /// Goes to the value with the arrow keys.
    static void slide(QSlider *slider, int value)
    {
        slider->setFocus(Qt::TabFocusReason);
        QTest::keyClick(slider, Qt::Key_Home);
        for (int i = 0; i < value; ++i) {
            QTest::keyClick(slider, Qt::Key_Right);
        }
    }
    static void set(QCheckBox *box, bool on)
    {
        if (box->isChecked() != on) {
            click(box);
        }
    }

    static QStringList texts(const QComboBox *combo)
    {
        QStringList texts;
        for (int i = 0; i < combo->count(); ++i) {
            texts << combo->itemText(i);
        }
        return texts;
    }
    static QVariantList data(const QComboBox *combo)
    {
        QVariantList data;
        for (int i = 0; i < combo->count(); ++i) {
            data << combo->itemData(i);
        }
        return data;
    }

private:
    SettingsDialog &dialog;

    /// The widget at a place of a row.
    template<typename Widget> Widget *field(const char *title, int row, int place = 0) const
    {
        const QList<QWidget *> widgets = rowWidgets(title, row);
        auto *widget = qobject_cast<Widget *>(widgets.value(place));
        if (widget == nullptr) {
            qFatal("row %d of the group \"%s\" is not as expected", row, title);
        }
        return widget;
    }

    template<typename Widget>
    Widget *field(const char *title, const char *label, int place = 0) const
    {
        for (int row = 0; row < form(title)->rowCount(); ++row) {
            const QLabel *candidate = rowLabel(title, row);
            if (candidate != nullptr && candidate->text() == QLatin1String(label)) {
                return field<Widget>(title, row, place);
            }
        }
        qFatal("the group \"%s\" has no row \"%s\"", title, label);
    }

    QCheckBox *check(const char *text) const
    {
        const QList<QCheckBox *> boxes = dialog.findChildren<QCheckBox *>();
        for (QCheckBox *candidate : boxes) {
            if (candidate->text() == QLatin1String(text)) {
                return candidate;
            }
        }
        qFatal("the settings dialog has no check box \"%s\"", text);
    }

public:
    QScrollArea *scrollArea;
    QDialogButtonBox *buttons;
    QLineEdit *clientDir;
    QPushButton *browseClientDir;
    QLineEdit *clientExe;
    QPushButton *browseClientExe;
    QComboBox *wine;
    QPushButton *refreshWine;
    QPushButton *browseWine;
    QCheckBox *useWine;
    QLineEdit *serverName;
    QLineEdit *serverIp;
    QSpinBox *channels;
    QLabel *channelHint;
    QComboBox *resolution;
    QCheckBox *windowMode;
    QSlider *brightness;
    QLabel *brightnessValue;
    QSlider *effects;
    QLabel *effectsValue;
    QSlider *music;
    QLabel *musicValue;
    QComboBox *modelQuality;
    QComboBox *cursor;
    QComboBox *keyboard;
    QSpinBox *cameraView;
    QCheckBox *cameraRotation;
    QCheckBox *dxt;
    QCheckBox *introVideo;
    QLineEdit *patchUrl;
    QLineEdit *website;
    QLineEdit *news;
    QPushButton *ok;
    QPushButton *cancel;
};
