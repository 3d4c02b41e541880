#include "ui/ZelPalette.h"

#include <QColor>

namespace
{

/// The colours of one mode.
struct Colors {
    QColor window;
    QColor base;
    QColor alternateBase;
    QColor button;
    QColor text;
    QColor brightText;
    QColor placeholderText;
    QColor disabledText;
    QColor disabledBase;
    QColor highlight;
    QColor highlightedText;
    QColor link;
    QColor toolTipBase;
};

Colors darkColors()
{
    return {
        .window = QColor(0x1a, 0x1a, 0x2e),
        .base = QColor(0x2a, 0x2a, 0x42),
        .alternateBase = QColor(0x25, 0x25, 0x38),
        .button = QColor(0x35, 0x35, 0x50),
        .text = QColor(0xe8, 0xe8, 0xf0),
        .brightText = QColor(0xff, 0xff, 0xff),
        .placeholderText = QColor(0x98, 0x98, 0xb0),
        .disabledText = QColor(0x70, 0x70, 0x88),
        .disabledBase = QColor(0x1e, 0x1e, 0x30),
        .highlight = QColor(0x4a, 0x60, 0x90),
        .highlightedText = QColor(0xff, 0xff, 0xff),
        .link = QColor(0x6b, 0x9d, 0xff),
        .toolTipBase = QColor(0x2a, 0x2a, 0x42),
    };
}

Colors lightColors()
{
    return {
        .window = QColor(0xf5, 0xf5, 0xf7),
        .base = QColor(0xff, 0xff, 0xff),
        .alternateBase = QColor(0xf9, 0xf9, 0xfb),
        .button = QColor(0xff, 0xff, 0xff),
        .text = QColor(0x1d, 0x1d, 0x1f),
        .brightText = QColor(0xff, 0xff, 0xff),
        .placeholderText = QColor(0x6e, 0x6e, 0x73),
        .disabledText = QColor(0x86, 0x86, 0x8b),
        .disabledBase = QColor(0xf2, 0xf2, 0xf7),
        // Light, because the style sheet gives a selected menu item dark text.
        .highlight = QColor(0xb0, 0xd4, 0xff),
        .highlightedText = QColor(0x1d, 0x1d, 0x1f),
        .link = QColor(0x00, 0x66, 0xd6),
        .toolTipBase = QColor(0xff, 0xff, 0xff),
    };
}

} // namespace

QPalette ZelPalette::forMode(ZelTheme::Mode mode)
{
    const Colors colors = mode == ZelTheme::Mode::Light ? lightColors() : darkColors();

    // This constructor derives the bevel colours from the button's.
    QPalette palette(colors.button, colors.window);
    palette.setColor(QPalette::Window, colors.window);
    palette.setColor(QPalette::WindowText, colors.text);
    palette.setColor(QPalette::Base, colors.base);
    palette.setColor(QPalette::AlternateBase, colors.alternateBase);
    palette.setColor(QPalette::Text, colors.text);
    palette.setColor(QPalette::Button, colors.button);
    palette.setColor(QPalette::ButtonText, colors.text);
    palette.setColor(QPalette::BrightText, colors.brightText);
    palette.setColor(QPalette::PlaceholderText, colors.placeholderText);
    palette.setColor(QPalette::Highlight, colors.highlight);
    palette.setColor(QPalette::HighlightedText, colors.highlightedText);
    palette.setColor(QPalette::Link, colors.link);
    palette.setColor(QPalette::LinkVisited, colors.link);
    palette.setColor(QPalette::ToolTipBase, colors.toolTipBase);
    palette.setColor(QPalette::ToolTipText, colors.text);

    palette.setColor(QPalette::Disabled, QPalette::Base, colors.disabledBase);
    palette.setColor(QPalette::Disabled, QPalette::Button, colors.window);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, colors.alternateBase);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::PlaceholderText,
          QPalette::HighlightedText}) {
        palette.setColor(QPalette::Disabled, role, colors.disabledText);
    }
    return palette;
}
