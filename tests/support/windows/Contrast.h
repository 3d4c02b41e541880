#pragma once

#include <QColor>
#include <QImage>
#include <QPalette>
#include <QWidget>

#include <memory>

#include "ui/StandardLook.h"
#include "ui/ZelTheme.h"

/// The least contrast of a text to its background.
constexpr double readable = 4.5;
/// The least contrast of the text of a disabled control.
constexpr double readableWhenDisabled = 3.0;

/// The contrast of two colours, 1 to 21.
double contrast(const QColor &first, const QColor &second);

/// An image of @p area of @p widget with its background; without an @p area, of the widget without
/// its frame.
QImage picture(const QWidget *widget, QRect area = {});

/// The most frequent colour.
QColor background(const QImage &image);

/// The contrast of text to background: the highest of any pixel in picture(); 1 if it has no text.
double textContrast(const QWidget *widget, QRect area = {});

/// Styles the application as the launcher does at its start, on a desktop with @p desktopPalette.
[[nodiscard]] std::unique_ptr<StandardLook> startUp(ZelTheme::Mode mode,
                                                    const QPalette &desktopPalette = {});

/// Columns "mode" and "desktopPalette": both modes, each on a light and on a dark desktop.
void addModesAndDesktops();
/// startUp() with the two columns of the row.
[[nodiscard]] std::unique_ptr<StandardLook> startUpAsInRow();
