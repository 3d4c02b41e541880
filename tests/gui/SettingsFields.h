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

using namespace Qt::StringLiterals;

/// The fields of a settings dialog, found by their labels, and user actions on them.
class SettingsFields
{
    SettingsDialog &dialog;

public:
    struct Row {
        QLabel *label;            ///< Null in a row without one.
        QList<QWidget *> widgets; ///< From left to right, without the label.

        /// The label's text, or that of the check box in a row without one.
        QString name() const
        {
            return label != nullptr ? label->text() : widgets.first()->property("text").toString();
        }
        /// What the field shows; a check box "yes" or "no".
        QString value() const
        {
            if (const auto *box = qobject_cast<const QCheckBox *>(widgets.first())) {
                return box->isChecked() ? u"yes"_s : u"no"_s;
            }
            const QWidget *shown = widgets.at(widgets.first()->inherits("QSlider") ? 1 : 0);
            return shown->property(shown->inherits("QComboBox") ? "currentText" : "text")
                .toString();
        }
    };

    explicit SettingsFields(SettingsDialog &shown)
        : dialog(shown)
    {
    }

    /// The rows of a group, or of all groups.
    QList<Row> rows(const QString &group = {}) const
    {
        QList<Row> rows;
        const QList<QGroupBox *> boxes = dialog.findChildren<QGroupBox *>();
        for (const QGroupBox *box : boxes) {
            if (!group.isEmpty() && box->title() != group) {
                continue;
            }
            const auto *form = qobject_cast<QFormLayout *>(box->layout());
            for (int i = 0; i < form->rowCount(); ++i) {
                QLayoutItem *label = form->itemAt(i, QFormLayout::LabelRole);
                QLayoutItem *field = form->itemAt(i, QFormLayout::FieldRole);
                Row row{label ? qobject_cast<QLabel *>(label->widget()) : nullptr, {}};
                if (field->widget() != nullptr) {
                    row.widgets << field->widget();
                } else {
                    for (int place = 0; place < field->layout()->count(); ++place) {
                        row.widgets << field->layout()->itemAt(place)->widget();
                    }
                }
                rows << row;
            }
        }
        return rows;
    }

    /// The row of that name.
    Row row(const QString &name) const
    {
        const QList<Row> all = rows();
        for (const Row &candidate : all) {
            if (candidate.name() == name) {
                return candidate;
            }
        }
        qFatal("the settings dialog has no row \"%s\"", qPrintable(name));
    }

    // User actions:

    static void click(QAbstractButton *button)
    {
        // A check box reacts to clicks on its indicator and text only.
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
    /// Selects the item with the arrow keys.
    static void choose(QComboBox *combo, const QString &text)
    {
        combo->setFocus(Qt::TabFocusReason);
        QTest::keyClick(combo, Qt::Key_Home);
        while (combo->currentText() != text && combo->currentIndex() + 1 < combo->count()) {
            QTest::keyClick(combo, Qt::Key_Down);
        }
        if (combo->currentText() != text) {
            QTest::qFail(qPrintable(u"no item \"%1\""_s.arg(text)), __FILE__, __LINE__);
        }
    }
    /// Sets the value with the arrow keys.
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
    /// Enters @p value, in the form that the row shows, such as "51%" for a slider.
    void enter(const QString &name, const QString &value) const
    {
        QWidget *field = row(name).widgets.first();
        if (auto *edit = qobject_cast<QLineEdit *>(field)) {
            type(edit, value);
        } else if (auto *spin = qobject_cast<QSpinBox *>(field)) {
            type(spin, value.toInt());
        } else if (auto *combo = qobject_cast<QComboBox *>(field)) {
            choose(combo, value);
        } else if (auto *slider = qobject_cast<QSlider *>(field)) {
            slide(slider, value.chopped(1).toInt());
        } else {
            set(qobject_cast<QCheckBox *>(field), value == u"yes"_s);
        }
    }

private:
    template<typename Widget> Widget *field(const char *name, int place = 0) const
    {
        auto *widget = qobject_cast<Widget *>(row(QLatin1String(name)).widgets.value(place));
        if (widget == nullptr) {
            qFatal("the row \"%s\" is not as expected", name);
        }
        return widget;
    }

public:
    QScrollArea *scrollArea = dialog.findChild<QScrollArea *>();
    QDialogButtonBox *buttons = dialog.findChild<QDialogButtonBox *>();
    QPushButton *ok = buttons->button(QDialogButtonBox::Ok);
    QPushButton *cancel = buttons->button(QDialogButtonBox::Cancel);
    QLineEdit *clientDir = field<QLineEdit>("Pasta do cliente");
    QPushButton *browseClientDir = field<QPushButton>("Pasta do cliente", 1);
    QLineEdit *clientExe = field<QLineEdit>("Executavel");
    QPushButton *browseClientExe = field<QPushButton>("Executavel", 1);
    QComboBox *wine = field<QComboBox>("Wine");
    QPushButton *refreshWine = field<QPushButton>("Wine", 1);
    QPushButton *browseWine = field<QPushButton>("Wine", 2);
    QCheckBox *useWine = field<QCheckBox>("Usar Wine no Linux");
    QLineEdit *serverName = field<QLineEdit>("Nome exibido");
    QLineEdit *serverIp = field<QLineEdit>("IP do servidor");
    QSpinBox *channels = field<QSpinBox>("Canais");
    QComboBox *resolution = field<QComboBox>("Resolucao");
    QCheckBox *windowMode = field<QCheckBox>("Modo janela");
    QSlider *brightness = field<QSlider>("Brilho");
    QSlider *effects = field<QSlider>("Efeitos");
    QSlider *music = field<QSlider>("Musica");
    QComboBox *modelQuality = field<QComboBox>("Qualidade de modelos");
    QComboBox *cursor = field<QComboBox>("Cursor");
    QComboBox *keyboard = field<QComboBox>("Teclado");
    QSpinBox *cameraView = field<QSpinBox>("Visao da camera");
    QCheckBox *cameraRotation = field<QCheckBox>("Rotacao de camera");
    QCheckBox *dxt = field<QCheckBox>("Texturas DXT (melhor desempenho)");
    QCheckBox *introVideo = field<QCheckBox>("Reproduzir video de abertura");
    QLineEdit *patchUrl = field<QLineEdit>("URL base do patch");
    QLineEdit *website = field<QLineEdit>("Site");
    QLineEdit *news = field<QLineEdit>("Noticias (URL)");
};
