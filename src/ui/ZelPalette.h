#pragma once

#include <QPalette>

#include "ui/ZelTheme.h"

/// The colours of widgets that the theme's style sheet has no rules for (buttons, the file chooser,
/// in the light mode menus and tool tips). Without it they would combine the style sheet's text
/// colour with the desktop's background.
namespace ZelPalette
{

/// The palette that matches the style sheet of @p mode. Text contrasts with its background by at
/// least 4.5:1, disabled text by at least 3:1.
QPalette forMode(ZelTheme::Mode mode);

} // namespace ZelPalette
