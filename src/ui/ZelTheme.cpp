#include "ui/ZelTheme.h"

#include <QApplication>
#include <QComboBox>
#include <QFont>
#include <QLineEdit>
#include <QSpinBox>
#include <QTextEdit>

#include <algorithm>
#include <array>

#include "settings/SettingsStore.h"

namespace
{

constexpr int fontPointSize = 10;
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

/// The theme's own settings file, deliberately not the launcher's.
class PreferenceStore : public SettingsStore
{
public:
    PreferenceStore()
        : SettingsStore(QStringLiteral("Orvandale"), QStringLiteral("ZEL"))
    {
    }
};

QString inputName(ZelTheme::InputStyle style = ZelTheme::InputStyle::Default)
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
    return QStringLiteral("ZelInput");
}

/// Sets the object name @p name, which the style sheet's rules select, and the minimum height.
void setInputName(QWidget *input, const QString &name)
{
    input->setObjectName(name);
    input->setMinimumHeight(inputMinimumHeight);
}

// The global style sheets. The rule of a pseudo-state sets only what the state changes.

QString darkBaseSheet()
{
    return QStringLiteral(R"(
QMainWindow, QDialog { background: #1a1a2e; }
QWidget { color: #e8e8f0; }
QLabel { background: transparent; color: #e8e8f0; }
QLabel#AppTitle { font-size: 22px; font-weight: 700; color: #ffffff; }
QLabel#AppSubtitle { font-size: 12px; color: #9898b0; }
QLabel#SectionTitle { font-size: 18px; font-weight: 700; color: #ffffff; }
QLabel#HeaderTitle { font-size: 20px; font-weight: 700; color: #ffffff; border: none; }
QLabel#HeaderSubtitle { font-size: 11px; color: rgba(255, 255, 255, 0.82); border: none; }
QLabel#HeaderLabel { color: rgba(255, 255, 255, 0.92); font-weight: 600; border: none; }
QLabel#TypeBadge {
    border-radius: 6px;
    padding: 3px 10px;
    font-weight: 700;
    font-size: 11px;
}
QGroupBox {
    background: #222236;
    border: 1px solid #3a3a55;
    border-radius: 12px;
    margin-top: 14px;
    padding: 18px 16px 16px 16px;
    font-weight: 600;
    color: #c8c8e0;
}
QGroupBox::title {
    subcontrol-origin: margin;
    left: 14px;
    padding: 0 8px;
    color: #ffffff;
    background: #222236;
}
QCheckBox { spacing: 8px; color: #c8c8e0; background: transparent; }
QScrollArea { border: none; background: #1a1a2e; }
QSplitter::handle { background: #3a3a55; }
QTabWidget::pane {
    border: 1px solid #3a3a55;
    border-radius: 0 0 8px 8px;
    background: #1e1e32;
}
QTabBar::tab {
    background: #252538;
    color: #9898b0;
    padding: 8px 18px;
    margin-right: 3px;
    border: 1px solid #3a3a55;
    border-bottom: none;
    border-top-left-radius: 8px;
    border-top-right-radius: 8px;
}
QTabBar::tab:selected { background: #2e3a6a; color: #ffffff; font-weight: 700; }
QTabBar::tab:hover:!selected { background: #2f2f48; }
QTableView, QTreeWidget, QListWidget {
    background: #1e1e32;
    color: #e0e0f0;
    border: 1px solid #3a3a55;
    alternate-background-color: #252538;
    gridline-color: #3a3a55;
}
QTableView::item:selected, QTreeWidget::item:selected, QListWidget::item:selected {
    background: #4a6090;
}
QHeaderView::section {
    background: #2a2a42;
    color: #b0b0c8;
    border: 1px solid #3a3a55;
    padding: 6px 8px;
    font-weight: 700;
}
QMenuBar { background: #1e1e32; color: #e0e0f0; border-bottom: 1px solid #3a3a55; }
QMenuBar::item:selected { background: #3a3a55; }
QMenu { background: #252538; color: #e0e0f0; border: 1px solid #3a3a55; }
QMenu::item:selected { background: #4a6090; }
QStatusBar { background: #141424; color: #9898b0; border-top: 1px solid #3a3a55; }
QDialogButtonBox { background: transparent; }
QDialogButtonBox QPushButton { min-width: 88px; min-height: 34px; }
QToolTip { background: #2a2a42; color: #e8e8f0; border: 1px solid #5b8def; padding: 4px 8px; }
)");
}

QString lightBaseSheet()
{
    return QStringLiteral(R"(
QMainWindow, QDialog { background: #F5F5F7; }
QWidget { color: #1D1D1F; }
QLabel { background: transparent; color: #1D1D1F; }
QLabel#AppTitle { font-size: 22px; font-weight: 600; color: #1D1D1F; }
QLabel#AppSubtitle { font-size: 12px; color: #86868B; }
QLabel#SectionTitle { font-size: 17px; font-weight: 600; }
QLabel#HeaderTitle { font-size: 20px; font-weight: 700; color: #ffffff; }
QLabel#HeaderSubtitle { font-size: 11px; color: rgba(255, 255, 255, 0.85); }
QLabel#HeaderLabel { color: rgba(255, 255, 255, 0.95); font-weight: 600; }
QGroupBox {
    background: #FFFFFF;
    border: 1px solid #E5E5EA;
    border-radius: 16px;
    margin-top: 14px;
    padding: 18px 16px 16px 16px;
    font-weight: 600;
}
QGroupBox::title {
    subcontrol-origin: margin;
    left: 14px;
    padding: 0 6px;
    color: #1D1D1F;
    background: #FFFFFF;
}
QCheckBox { spacing: 8px; background: transparent; }
QScrollArea { border: none; background: #F5F5F7; }
QTabWidget::pane { border: 1px solid #D2D2D7; background: #FFFFFF; }
QTabBar::tab {
    background: #EBEBEF;
    padding: 8px 16px;
    border: 1px solid #D2D2D7;
    border-bottom: none;
    border-top-left-radius: 8px;
    border-top-right-radius: 8px;
}
QTabBar::tab:selected { background: #FFFFFF; font-weight: 600; }
QTableView, QTreeWidget, QListWidget {
    background: #FFFFFF;
    border: 1px solid #E5E5EA;
    alternate-background-color: #F9F9FB;
}
QHeaderView::section {
    background: #F2F2F7;
    border: 1px solid #E5E5EA;
    padding: 6px;
    font-weight: 600;
}
)");
}

// A focused input has a border that is one pixel wider and a padding that is one pixel smaller, so
// that its text does not move.

QString darkInputSheet()
{
    return QStringLiteral(R"(
QLineEdit#ZelInput, QSpinBox#ZelInput, QComboBox#ZelInput {
    background: #2a2a42;
    color: #f0f0f8;
    border: 1px solid #454560;
    border-radius: 10px;
    padding: 9px 14px;
    min-height: 22px;
    selection-background-color: #5b8def;
    selection-color: #ffffff;
}
QLineEdit#ZelInput:hover, QSpinBox#ZelInput:hover, QComboBox#ZelInput:hover {
    border-color: #5a5a78;
    background: #2e2e48;
}
QLineEdit#ZelInput:focus, QSpinBox#ZelInput:focus, QComboBox#ZelInput:focus {
    border: 2px solid #5b8def;
    padding: 8px 13px;
    background: #32324e;
}
QLineEdit#ZelInput:disabled, QSpinBox#ZelInput:disabled {
    background: #1e1e30;
    color: #707088;
    border-color: #333348;
}
QLineEdit#ZelInputSearch {
    background: #2a2a42;
    color: #f0f0f8;
    border: 1px solid #454560;
    border-radius: 10px;
    padding: 9px 14px 9px 36px;
    min-height: 22px;
    selection-background-color: #5b8def;
}
QLineEdit#ZelInputSearch:hover { border-color: #5a5a78; background: #2e2e48; }
QLineEdit#ZelInputSearch:focus {
    border: 2px solid #50b86c;
    padding: 8px 13px 8px 35px;
    background: #32324e;
}
QLineEdit#ZelInputPath {
    background: #1e1e32;
    color: #d8e4ff;
    border: 1px solid #3d4a68;
    border-radius: 8px;
    padding: 8px 12px;
    min-height: 20px;
    font-family: "JetBrains Mono", "SF Mono", "Consolas", monospace;
    font-size: 11px;
    selection-background-color: #4a6090;
}
QLineEdit#ZelInputPath:hover { border-color: #5b8def; }
QLineEdit#ZelInputPath:focus {
    border: 2px solid #5b8def;
    padding: 7px 11px;
    background: #252538;
}
QLineEdit#ZelInputHeader {
    background: rgba(255, 255, 255, 0.12);
    color: #ffffff;
    border: 1px solid rgba(255, 255, 255, 0.28);
    border-radius: 10px;
    padding: 9px 14px;
    min-height: 22px;
    selection-background-color: rgba(255, 255, 255, 0.35);
    selection-color: #ffffff;
}
QLineEdit#ZelInputHeader:hover {
    background: rgba(255, 255, 255, 0.18);
    border-color: rgba(255, 255, 255, 0.40);
}
QLineEdit#ZelInputHeader:focus {
    background: rgba(255, 255, 255, 0.22);
    border: 2px solid rgba(255, 255, 255, 0.55);
    padding: 8px 13px;
}
QTextEdit#ZelTextArea {
    background: #2a2a42;
    color: #f0f0f8;
    border: 1px solid #454560;
    border-radius: 10px;
    padding: 10px 14px;
}
QTextEdit#ZelTextArea:focus { border: 2px solid #5b8def; padding: 9px 13px; }
QSpinBox#ZelInput::up-button, QSpinBox#ZelInput::down-button {
    background: #353550;
    border: none;
    width: 18px;
    border-radius: 4px;
}
QSpinBox#ZelInput::up-button:hover, QSpinBox#ZelInput::down-button:hover { background: #454568; }
QComboBox#ZelInput::drop-down { border: none; width: 28px; background: transparent; }
QComboBox#ZelInput QAbstractItemView {
    background: #252538;
    color: #e8e8f0;
    selection-background-color: #4a6090;
    border: 1px solid #3d3d58;
    border-radius: 6px;
    padding: 4px;
}
)");
}

QString lightInputSheet()
{
    return QStringLiteral(R"(
QLineEdit#ZelInput, QSpinBox#ZelInput, QComboBox#ZelInput {
    background: #FFFFFF;
    color: #1D1D1F;
    border: 1px solid #D2D2D7;
    border-radius: 10px;
    padding: 9px 14px;
    min-height: 22px;
    selection-background-color: #007AFF;
}
QLineEdit#ZelInput:hover, QSpinBox#ZelInput:hover { border-color: #AEAEB2; }
QLineEdit#ZelInput:focus, QSpinBox#ZelInput:focus, QComboBox#ZelInput:focus {
    border: 2px solid #007AFF;
    padding: 8px 13px;
}
QLineEdit#ZelInputSearch {
    background: #FFFFFF;
    border: 1px solid #D2D2D7;
    border-radius: 10px;
    padding: 9px 14px 9px 36px;
}
QLineEdit#ZelInputSearch:focus { border: 2px solid #34C759; padding: 8px 13px 8px 35px; }
QLineEdit#ZelInputPath {
    background: #F9F9FB;
    border: 1px solid #D2D2D7;
    border-radius: 8px;
    padding: 8px 12px;
    font-family: "JetBrains Mono", "SF Mono", "Consolas", monospace;
    font-size: 11px;
}
QLineEdit#ZelInputPath:focus { border: 2px solid #007AFF; padding: 7px 11px; }
QLineEdit#ZelInputHeader {
    background: rgba(255, 255, 255, 0.85);
    color: #1D1D1F;
    border: 1px solid rgba(255, 255, 255, 0.9);
    border-radius: 10px;
    padding: 9px 14px;
}
QLineEdit#ZelInputHeader:focus { border: 2px solid #007AFF; padding: 8px 13px; }
QTextEdit#ZelTextArea {
    background: #FFFFFF;
    border: 1px solid #D2D2D7;
    border-radius: 10px;
    padding: 10px 14px;
}
QTextEdit#ZelTextArea:focus { border: 2px solid #007AFF; padding: 9px 13px; }
)");
}

} // namespace

ZelTheme::Mode ZelTheme::loadPreferredMode()
{
    const QString name = PreferenceStore().value(themeKey, darkName()).toString();
    return name == lightName() ? Mode::Light : Mode::Dark;
}

void ZelTheme::savePreferredMode(Mode mode)
{
    PreferenceStore store;
    if (store.prepareWrite()) {
        store.setValue(themeKey, mode == Mode::Light ? lightName() : darkName());
    }
}

void ZelTheme::apply(QApplication &app, Mode mode)
{
    QApplication::setStyle(QStringLiteral("Fusion"));

    const QStringList families{
        QStringLiteral("Inter"),     QStringLiteral("Segoe UI"),       QStringLiteral("Ubuntu"),
        QStringLiteral("Cantarell"), QStringLiteral("Helvetica Neue"), QStringLiteral("sans-serif"),
    };
    QApplication::setFont(QFont(families, fontPointSize));

    app.setStyleSheet(globalStyleSheet(mode));
}

QString ZelTheme::globalStyleSheet(Mode mode)
{
    return mode == Mode::Light ? lightBaseSheet() + lightInputSheet()
                               : darkBaseSheet() + darkInputSheet();
}

void ZelTheme::styleLineEdit(QLineEdit *edit, InputStyle style)
{
    if (edit == nullptr) {
        return;
    }
    setInputName(edit, inputName(style));
    if (style == InputStyle::Path) {
        edit->setClearButtonEnabled(true);
    }
    edit->setFrame(false);
}

void ZelTheme::styleSpinBox(QSpinBox *box)
{
    if (box == nullptr) {
        return;
    }
    setInputName(box, inputName());
    box->setFrame(false);
}

void ZelTheme::styleComboBox(QComboBox *box)
{
    if (box == nullptr) {
        return;
    }
    setInputName(box, inputName());
}

void ZelTheme::styleTextArea(QTextEdit *edit)
{
    if (edit == nullptr) {
        return;
    }
    edit->setObjectName(QStringLiteral("ZelTextArea"));
    edit->setFrameShape(QFrame::NoFrame);
}

QString ZelTheme::sidebarButtonStyle(bool active, Mode mode)
{
    if (mode == Mode::Light) {
        if (active) {
            return QStringLiteral(R"(
QPushButton {
    text-align: left;
    padding: 10px 14px;
    border: none;
    border-radius: 10px;
    background: #FFFFFF;
    color: #1D1D1F;
    font-weight: 600;
}
)");
        }
        return QStringLiteral(R"(
QPushButton {
    text-align: left;
    padding: 10px 14px;
    border: none;
    border-radius: 10px;
    background: transparent;
    color: #3A3A3C;
    font-weight: 500;
}
QPushButton:hover { background: rgba(255,255,255,0.55); }
)");
    }
    if (active) {
        return QStringLiteral(R"(
QPushButton {
    text-align: left;
    padding: 11px 14px;
    border: none;
    border-radius: 10px;
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #3d5a9e, stop:1 #5b4a9e);
    color: #ffffff;
    font-weight: 700;
}
)");
    }
    return QStringLiteral(R"(
QPushButton {
    text-align: left;
    padding: 11px 14px;
    border: none;
    border-radius: 10px;
    background: transparent;
    color: #b8b8d0;
    font-weight: 500;
}
QPushButton:hover { background: rgba(255,255,255,0.06); color: #ffffff; }
)");
}

QString ZelTheme::primaryButtonStyle(Mode mode)
{
    if (mode == Mode::Light) {
        return QStringLiteral(R"(
QPushButton {
    background: #007AFF;
    color: white;
    border: none;
    border-radius: 10px;
    padding: 10px 18px;
    font-weight: 600;
}
QPushButton:hover { background: #0066D6; }
QPushButton:disabled { background: #B0D4FF; color: #F5F5F7; }
)");
    }
    return QStringLiteral(R"(
QPushButton {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #5b8def, stop:1 #3d6fd4);
    color: white;
    border: none;
    border-radius: 10px;
    padding: 10px 18px;
    font-weight: 700;
}
QPushButton:hover {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #6b9dff, stop:1 #4d7fe4);
}
QPushButton:disabled { background: #2a3550; color: #666; }
)");
}

QString ZelTheme::secondaryButtonStyle(Mode mode)
{
    if (mode == Mode::Light) {
        return QStringLiteral(R"(
QPushButton {
    background: #FFFFFF;
    color: #007AFF;
    border: 1px solid #D2D2D7;
    border-radius: 10px;
    padding: 10px 18px;
    font-weight: 600;
}
QPushButton:hover { background: #F2F2F7; }
)");
    }
    return QStringLiteral(R"(
QPushButton {
    background: #2f2f48;
    color: #c8d8ff;
    border: 1px solid #4a4a68;
    border-radius: 10px;
    padding: 10px 18px;
    font-weight: 600;
}
QPushButton:hover { background: #3a3a58; }
QPushButton:disabled { color: #555; }
)");
}

QString ZelTheme::dangerButtonStyle(Mode mode)
{
    if (mode == Mode::Light) {
        return QStringLiteral(R"(
QPushButton {
    background: #FF3B30;
    color: white;
    border: none;
    border-radius: 10px;
    padding: 10px 18px;
    font-weight: 600;
}
QPushButton:hover { background: #E0352B; }
)");
    }
    return QStringLiteral(R"(
QPushButton {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #e74c3c, stop:1 #c0392b);
    color: white;
    border: none;
    border-radius: 10px;
    padding: 10px 18px;
    font-weight: 700;
}
QPushButton:hover { background: #f05a4a; }
QPushButton:disabled { background: #4a2828; color: #666; }
)");
}

QString ZelTheme::cardStyle(Mode mode)
{
    if (mode == Mode::Light) {
        return QStringLiteral(R"(
QWidget#Card { background: #FFFFFF; border: 1px solid #E5E5EA; border-radius: 16px; }
)");
    }
    return QStringLiteral(R"(
QWidget#Card { background: #222236; border: 1px solid #3a3a55; border-radius: 14px; }
)");
}

QString ZelTheme::logViewStyle()
{
    return QStringLiteral(R"(
QTextEdit {
    background: #0d0d14;
    color: #e0e0f0;
    border: 1px solid #2a2a42;
    border-radius: 12px;
    padding: 8px;
    font-family: "JetBrains Mono", "SF Mono", "Consolas", monospace;
    selection-background-color: #4a6090;
}
)");
}

QString ZelTheme::accentForType(const QString &type)
{
    struct Accent {
        QLatin1String type;
        QLatin1String color;
    };
    static constexpr std::array accents{
        Accent{QLatin1String("DB"), QLatin1String("#4a90d9")},
        Accent{QLatin1String("GS"), QLatin1String("#50b86c")},
        Accent{QLatin1String("API"), QLatin1String("#e67e22")},
        Accent{QLatin1String("CLIENT"), QLatin1String("#e74c3c")},
        Accent{QLatin1String("TOOL"), QLatin1String("#9b59b6")},
    };
    const auto found = std::find_if(accents.begin(), accents.end(),
                                    [&type](const Accent &accent) { return accent.type == type; });
    return found == accents.end() ? QStringLiteral("#5b8def") : found->color;
}

QString ZelTheme::accentButtonStyle(const QString &color)
{
    // The hover rule repeats the colour on purpose: these buttons do not react to the mouse.
    return QStringLiteral(R"(
QPushButton {
    background: %1;
    color: white;
    border: none;
    border-radius: 8px;
    padding: 8px 14px;
    font-weight: 600;
    min-height: 20px;
}
QPushButton:hover { background: %1; }
QPushButton:disabled { background: #444; color: #888; }
)")
        .arg(color);
}

QString ZelTheme::typeBadgeStyle(const QString &type)
{
    return QStringLiteral("QLabel#TypeBadge { background: %1; color: white; }")
        .arg(accentForType(type));
}

QString ZelTheme::headerBarStyle(const QString &from, const QString &to)
{
    return QStringLiteral(R"(
QWidget#HeaderBar {
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 %1, stop:1 %2);
    border: none;
    border-radius: 0;
    min-height: 72px;
}
QWidget#HeaderBar QLabel { background: transparent; border: none; }
QWidget#HeaderBar QPushButton { min-height: 38px; }
)")
        .arg(from, to);
}
