#!/usr/bin/python3
"""Reads the launcher's windows through AT-SPI, like a screen reader.

  screen_reader.py widgets WINDOW SECONDS      waits for a window by its title; prints role,
                                               name and description of its visible widgets
  screen_reader.py focused ROLE NAME SECONDS   waits until a widget has the focus
  screen_reader.py label REGEX SECONDS         waits for a label whose text matches; prints it
  screen_reader.py center ROLE NAME SECONDS    waits for a visible widget; prints x and y of its
                                               middle on the screen
  screen_reader.py press ROLE NAME SECONDS     waits for a visible widget and presses it

Exits with 1 on a timeout. Needs a session bus, and the launcher started with
QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1.
"""

import re
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

APPLICATION = "zel_launcher"


def widgets(node):
    """The widgets below a node, parents first. Skips widgets that vanish meanwhile."""
    try:
        children = [node.get_child_at_index(i) for i in range(node.get_child_count())]
    except GLib.Error:
        return
    for child in children:
        if child is not None:
            yield child
            yield from widgets(child)


def launcher_widgets():
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        application = desktop.get_child_at_index(i)
        if application is not None and application.get_name().endswith(APPLICATION):
            yield from widgets(application)


def wait_for(find, seconds):
    deadline = time.monotonic() + seconds
    while True:
        try:
            found = find()
        except GLib.Error:
            found = None
        if found is not None:
            return found
        if time.monotonic() > deadline:
            return None
        time.sleep(0.1)


def matching_label(pattern):
    for widget in launcher_widgets():
        if widget.get_role() == Atspi.Role.LABEL and re.search(pattern, widget.get_name()):
            return widget.get_name()
    return None


def is_within(widget, ancestor):
    while widget is not None and widget != ancestor:
        widget = widget.get_parent()
    return widget is not None


def name_of(widget):
    """The text of a widget's label, or its own name. Like screen readers, ignores the group box
    around a widget."""
    for relation in widget.get_relation_set():
        if relation.get_relation_type() != Atspi.RelationType.LABELLED_BY:
            continue
        for i in range(relation.get_n_targets()):
            if not is_within(widget, relation.get_target(i)):
                return relation.get_target(i).get_name()
    return widget.get_name()


def role_of(widget):
    """The role's name; newer at-spi calls a push button "button"."""
    name = widget.get_role_name()
    return "push button" if name == "button" else name


def is_in_state(widget, state):
    return widget.get_state_set().contains(state)


def showing(role, name):
    """The last match: that of the newest window."""
    found = None
    for widget in launcher_widgets():
        if role_of(widget) != role or widget.get_name() != name:
            continue
        if is_in_state(widget, Atspi.StateType.SHOWING):
            found = widget
    return found


def center(role, name):
    widget = showing(role, name)
    if widget is None:
        return None
    box = widget.get_extents(Atspi.CoordType.SCREEN)
    return f"{box.x + box.width // 2} {box.y + box.height // 2}"


def press(role, name):
    widget = showing(role, name)
    if widget is None:
        return None
    try:
        widget.do_action(0)
    except GLib.Error:
        pass  # the press ended the launcher before it answered
    return name


def focused(role, name):
    for widget in launcher_widgets():
        if is_in_state(widget, Atspi.StateType.FOCUSED):
            if role_of(widget) == role and name_of(widget) == name:
                return name
    return None


def window_widgets(title):
    lines = []
    for window in launcher_widgets():
        if window.get_name() == title and role_of(window) in ("frame", "dialog"):
            for widget in widgets(window):
                if is_in_state(widget, Atspi.StateType.SHOWING):
                    words = (role_of(widget), name_of(widget), widget.get_description())
                    lines.append("\t".join(words))
    return "\n".join(lines) or None


COMMANDS = {
    "widgets": window_widgets,
    "focused": focused,
    "label": matching_label,
    "center": center,
    "press": press,
}


def main(arguments):
    find = COMMANDS.get(arguments[0]) if arguments else None
    if find is None or len(arguments) < 3:
        print(__doc__, file=sys.stderr)
        return 2
    Atspi.init()
    found = wait_for(lambda: find(*arguments[1:-1]), float(arguments[-1]))
    if found is None:
        return 1
    print(found)
    return 0


sys.exit(main(sys.argv[1:]))
