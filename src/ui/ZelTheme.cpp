#include "ui/ZelTheme.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSettings>
#include <QSpinBox>
#include <QTextEdit>

namespace
{

constexpr int inputMinimumHeight = 38;
constexpr QStringView themeKey = u"theme";

QString darkName()
{
    return QStringLiteral("dark");
}

QString lightName()
{
    return QStringLiteral("light");
}

/// The theme's own store, apart from the launcher's settings file on purpose.
class PreferenceStore : public QSettings
{
public:
    PreferenceStore()
        : QSettings(QStringLiteral("Orvandale"), QStringLiteral("ZEL"))
    {
    }
};

QString inputName()
{
    return QStringLiteral("ZelInput");
}

QString inputName(ZelTheme::InputStyle style)
{
    switch (style) {
    case ZelTheme::InputStyle::Search:
        return QStringLiteral("ZelInputSearch");
    case ZelTheme::InputStyle::Path:
        return QStringLiteral("ZelInputPath");
    case ZelTheme::InputStyle::Header:
        return QStringLiteral("ZelInputHeader");
    case ZelTheme::InputStyle::Default:
        break;
    }
    return inputName();
}

} // namespace

ZelTheme::Mode ZelTheme::loadPreferredMode()
{
    const QString name = PreferenceStore().value(themeKey, darkName()).toString();
    return name == lightName() ? Mode::Light : Mode::Dark;
}

void ZelTheme::savePreferredMode(Mode mode)
{
    PreferenceStore().setValue(themeKey, mode == Mode::Light ? lightName() : darkName());
}

void ZelTheme::styleLineEdit(QLineEdit *edit, InputStyle style)
{
    if (edit == nullptr) {
        return;
    }
    edit->setObjectName(inputName(style));
    if (style == InputStyle::Path) {
        edit->setClearButtonEnabled(true);
    }
    edit->setMinimumHeight(inputMinimumHeight);
    edit->setFrame(false);
}

void ZelTheme::styleSpinBox(QSpinBox *box)
{
    if (box == nullptr) {
        return;
    }
    box->setObjectName(inputName());
    box->setMinimumHeight(inputMinimumHeight);
    box->setFrame(false);
}

void ZelTheme::styleComboBox(QComboBox *box)
{
    if (box == nullptr) {
        return;
    }
    box->setObjectName(inputName());
    box->setMinimumHeight(inputMinimumHeight);
}

void ZelTheme::styleTextArea(QTextEdit *edit)
{
    if (edit == nullptr) {
        return;
    }
    edit->setObjectName(QStringLiteral("ZelTextArea"));
    edit->setFrameShape(QFrame::NoFrame);
}
