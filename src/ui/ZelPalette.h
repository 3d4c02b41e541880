#pragma once

#include <QPalette>

#include "ui/ZelTheme.h"

/// The colours of widgets that the theme's style sheet has no rules for (buttons, the file chooser,
/// in the light mode menus and tool tips). Without it they would show the sheet's text colour on a
/// background of the desktop's.
namespace ZelPalette
{

/// The palette that belongs to the style sheet of @p mode. A text has a contrast of at least 4.5:1
/// to its background, a disabled one of at least 3:1.
QPalette forMode(ZelTheme::Mode mode);

} // namespace ZelPalette
