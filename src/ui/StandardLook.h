#pragma once

#include <QFont>
#include <QObject>
#include <QPalette>
#include <QTimer>

#include "ui/StandardTexts.h"
#include "ui/ZelTheme.h"

/// Overrides the desktop's fonts, colours and texts in the launcher's windows during its lifetime:
/// sets the font of ZelTheme::apply() for every widget class, the palette that matches the style
/// sheet, and Portuguese texts on standard buttons and in Qt's own widgets; selects the dark or the
/// light variant of the desktop's icon theme, if it has one. Restores them when the desktop changes
/// its theme. In dark mode, black icons of Qt's own file dialog are repainted. The order of buttons
/// is the desktop's.
class StandardLook : public QObject
{
public:
    /// Construct after ZelTheme::apply() with the same @p themeMode, and before any widget.
    explicit StandardLook(ZelTheme::Mode themeMode);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void restore();

    const ZelTheme::Mode mode;
    const QFont font;
    const QPalette palette;
    StandardTexts texts;
    QTimer restoreTimer;
};
