#pragma once

#include <QFormLayout>
#include <QString>

#include <initializer_list>

#include "ui/ZelTheme.h"

class QComboBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;
class QSpinBox;
class QVBoxLayout;
class QWidget;

/// The fields of the settings dialog and their rows. Combo boxes, spin boxes and sliders without
/// focus ignore the mouse wheel, so that scrolling the dialog does not change them.
namespace FieldWidgets
{

QLineEdit *createLineEdit(QWidget *parent,
                          ZelTheme::InputStyle style = ZelTheme::InputStyle::Default);

/// An empty combo box whose width does not depend on its items: a longer text is elided in the
/// middle, and the popup is as wide as its items. A screen reader reads @p description.
QComboBox *createComboBox(QWidget *parent, const QString &description);

/// A spin box from @p minimum to @p maximum.
QSpinBox *createSpinBox(QWidget *parent, int minimum, int maximum);

/// A horizontal slider from 0 to 100.
QSlider *createSlider(QWidget *parent);

/// An empty label with a minimum width for @p widestText.
QLabel *createValueLabel(QWidget *parent, const QString &widestText);

/// A button "..." that a screen reader reads as @p name and @p description.
QPushButton *createBrowseButton(QWidget *parent, const QString &name, const QString &description);

/// Adds a group box to @p groups and returns the layout of its rows.
QFormLayout *addGroup(QVBoxLayout *groups, const QString &title);

/// A horizontal layout of @p widgets, of which the first one stretches.
QHBoxLayout *createFieldRow(std::initializer_list<QWidget *> widgets);

/// Adds a label and its field.
void addRow(QFormLayout *form, const QString &text, QWidget *field);

/// Adds a label and a layout of fields; @p buddy is the label's buddy.
void addRow(QFormLayout *form, const QString &text, QLayout *fields, QWidget *buddy);

/// Adds @p field in the column of the fields, without a label.
void addRow(QFormLayout *form, QWidget *field);

} // namespace FieldWidgets
