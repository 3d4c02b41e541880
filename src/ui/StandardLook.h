#pragma once

#include <QFont>
#include <QObject>
#include <QPalette>
#include <QTimer>

#include "ui/StandardTexts.h"
#include "ui/ZelTheme.h"

/// Keeps the desktop's fonts, colours and words out of the launcher's windows while it lives: the
/// font of ZelTheme::apply() for every class of widgets, the palette that belongs to the style
/// sheet, and the launcher's words on the buttons of dialogs and in Qt's own widgets. Sets them
/// again when the desktop changes its theme. Buttons keep the desktop's order.
class StandardLook : public QObject
{
public:
    /// Construct after ZelTheme::apply() with the same @p mode, and before any widget.
    explicit StandardLook(ZelTheme::Mode mode);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void restore();

    const QFont font;
    const QPalette palette;
    StandardTexts texts;
    QTimer restoreTimer;
};
