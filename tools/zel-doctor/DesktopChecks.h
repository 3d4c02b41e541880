#pragma once

#include <QSizeF>

#include "zel-doctor/Result.h"

/// What the launcher's window needs, and what a report needs to be understood.
namespace DesktopChecks
{

/// The display is reachable and large enough; the launcher's own fonts are installed. Needs a
/// QGuiApplication.
Results display();
/// Launcher, Qt, distribution, kernel, graphics driver.
Results versions();

/// The names of the kernel's graphics drivers below the folder @p sys, with their versions where
/// they have one.
QStringList graphicsDrivers(const QString &sys);

} // namespace DesktopChecks
