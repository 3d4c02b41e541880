#include "ui/FieldWidgets.h"

#include <QComboBox>
#include <QEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QStyleOptionComboBox>
#include <QStylePainter>
#include <QToolButton>
#include <QVBoxLayout>

#include <utility>

namespace
{

constexpr int browseButtonWidth = 36;
/// Minimum width of a combo box in characters.
constexpr int comboLength = 20;

/// A combo box whose items, paths among them, may be far longer than the box.
class ElidingComboBox : public QComboBox
{
public:
    using QComboBox::QComboBox;

    QSize sizeHint() const override { return minimumSizeHint(); }

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QStyleOptionComboBox option;
        initStyleOption(&option);
        QStylePainter painter(this);
        painter.drawComplexControl(QStyle::CC_ComboBox, option);
        const int space =
            style()
                ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this)
                .width();
        option.currentText = fontMetrics().elidedText(option.currentText, Qt::ElideMiddle, space);
        painter.drawControl(QStyle::CE_ComboBoxLabel, option);
    }
};

/// As wide as its widest text, so that the slider beside it keeps its width.
class ValueLabel : public QLabel
{
public:
    ValueLabel(QWidget *parent, QString widestText)
        : QLabel(parent)
        , widest(std::move(widestText))
    {
    }

    QSize sizeHint() const override
    {
        return QLabel::sizeHint().expandedTo({fontMetrics().horizontalAdvance(widest), 0});
    }

private:
    QString widest;
};

/// Makes fields without focus ignore wheel events, which then reach the scroll area.
class WheelFilter : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::Wheel || static_cast<QWidget *>(watched)->hasFocus()) {
            return false;
        }
        event->ignore();
        return true;
    }
};

void filterWheel(QWidget *field)
{
    static WheelFilter filter;
    field->installEventFilter(&filter);
    field->setFocusPolicy(Qt::StrongFocus); // not focused by the wheel
}

/// Creates the label of a row. It is as tall as the row, so that its text is level with @p buddy's.
QLabel *createRowLabel(const QFormLayout *form, const QString &text, QWidget *buddy)
{
    auto *label = new QLabel(text, form->parentWidget());
    label->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    label->setBuddy(buddy);
    label->stackUnder(buddy); // a screen reader reads the label first
    return label;
}

} // namespace

QLineEdit *FieldWidgets::createLineEdit(QWidget *parent, ZelTheme::InputStyle style)
{
    auto *edit = new QLineEdit(parent);
    ZelTheme::styleLineEdit(edit, style);
    if (auto *clearButton = edit->findChild<QToolButton *>()) {
        clearButton->setAccessibleName(QStringLiteral("Limpar"));
    }
    return edit;
}

QComboBox *FieldWidgets::createComboBox(QWidget *parent, const QString &description)
{
    auto *combo = new ElidingComboBox(parent);
    combo->setMinimumContentsLength(comboLength);
    combo->setAccessibleDescription(description);
    ZelTheme::styleComboBox(combo);
    filterWheel(combo);
    return combo;
}

QSpinBox *FieldWidgets::createSpinBox(QWidget *parent, int minimum, int maximum)
{
    auto *spin = new QSpinBox(parent);
    spin->setRange(minimum, maximum);
    ZelTheme::styleSpinBox(spin);
    filterWheel(spin);
    return spin;
}

QSlider *FieldWidgets::createSlider(QWidget *parent)
{
    auto *slider = new QSlider(Qt::Horizontal, parent);
    slider->setRange(0, 100);
    filterWheel(slider);
    return slider;
}

QLabel *FieldWidgets::createValueLabel(QWidget *parent, const QString &widestText)
{
    return new ValueLabel(parent, widestText);
}

QPushButton *FieldWidgets::createBrowseButton(QWidget *parent, const QString &name,
                                              const QString &description)
{
    auto *button = new QPushButton(QStringLiteral("..."), parent);
    button->setFixedWidth(browseButtonWidth);
    button->setAccessibleName(name);
    button->setAccessibleDescription(description);
    return button;
}

QFormLayout *FieldWidgets::addGroup(QVBoxLayout *groups, const QString &title)
{
    auto *group = new QGroupBox(title, groups->parentWidget());
    groups->addWidget(group);
    auto *form = new QFormLayout(group);
    form->setHorizontalSpacing(12);
    return form;
}

QHBoxLayout *FieldWidgets::createFieldRow(std::initializer_list<QWidget *> widgets)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(8);
    for (QWidget *widget : widgets) {
        row->addWidget(widget, row->count() == 0 ? 1 : 0);
    }
    return row;
}

void FieldWidgets::addRow(QFormLayout *form, const QString &text, QWidget *field)
{
    form->addRow(createRowLabel(form, text, field), field);
}

void FieldWidgets::addRow(QFormLayout *form, const QString &text, QLayout *fields, QWidget *buddy)
{
    form->addRow(createRowLabel(form, text, buddy), fields);
}

void FieldWidgets::addRow(QFormLayout *form, QWidget *field)
{
    form->addRow(QString(), field);
}
