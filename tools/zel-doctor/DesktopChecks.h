#pragma once

#include <QSizeF>

#include "zel-doctor/Result.h"

/// What the launcher's window needs, and the versions that explain a report.
namespace DesktopChecks
{

/// The display is reachable and large enough; the launcher's own fonts are installed. Needs a
/// QGuiApplication.
Results display();
/// The versions of launcher, Qt, distribution, kernel and graphics driver.
Results versions();

/// The names of the kernel's graphics drivers in the sysfs folder @p sys, with their versions if
/// they have one.
QStringList graphicsDrivers(const QString &sys);

} // namespace DesktopChecks
