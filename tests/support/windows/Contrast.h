#pragma once

#include <QColor>
#include <QImage>
#include <QPalette>
#include <QWidget>

#include <memory>

#include "ui/StandardLook.h"
#include "ui/ZelTheme.h"

/// What text needs to be read.
constexpr double readable = 4.5;
/// What the text of a disabled control needs.
constexpr double readableWhenDisabled = 3.0;

/// The contrast of two colours, 1 to 21.
double contrast(const QColor &first, const QColor &second);

/// The colour of most pixels.
QColor background(const QImage &image);

/// How far the pixel that stands out most stands out: that of the text, in a picture of a text.
double measuredContrast(const QImage &image);

/// A picture of @p area of @p widget, what lies behind it included.
QImage picture(const QWidget *widget, const QRect &area);

/// A picture of @p widget without its frame.
QImage inside(const QWidget *widget);

/// What a desktop of that colour gives its applications.
QPalette desktop(const char *name);

/// Styles the application as the launcher does at its start, on a desktop with @p desktopPalette.
[[nodiscard]] std::unique_ptr<StandardLook> startUp(ZelTheme::Mode mode,
                                                    const QPalette &desktopPalette = {});

/// Columns "mode" and "desktopPalette": both modes, each on a light and on a dark desktop.
void addModesAndDesktops();
