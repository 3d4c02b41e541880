#!/usr/bin/python3
"""Reads the launcher's windows from outside, the way a screen reader does.

  screen_reader.py dump                      every widget: role, name, description
  screen_reader.py label REGEX SECONDS       waits for a label whose text matches; prints it
  screen_reader.py center ROLE NAME SECONDS  waits for a showing widget; prints the x and y of
                                             its middle on the screen

Ends with status 1 when the time is over. Needs a session bus, and the launcher started with
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
    """The widgets below a node, parents first. Widgets that vanish meanwhile are left out."""
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


def center(role, name):
    """Of several the last counts, which is that of the window opened last."""
    found = None
    for widget in launcher_widgets():
        if widget.get_role_name() != role or widget.get_name() != name:
            continue
        if not widget.get_state_set().contains(Atspi.StateType.SHOWING):
            continue
        box = widget.get_extents(Atspi.CoordType.SCREEN)
        found = f"{box.x + box.width // 2} {box.y + box.height // 2}"
    return found


def dump():
    lines = []
    for widget in launcher_widgets():
        lines.append(
            f"{widget.get_role_name()}\t{widget.get_name()}\t{widget.get_description()}"
        )
    return "\n".join(lines) or None


def main(arguments):
    Atspi.init()
    if arguments[:1] == ["dump"]:
        found = dump()
    elif arguments[:1] == ["label"]:
        found = wait_for(lambda: matching_label(arguments[1]), float(arguments[2]))
    elif arguments[:1] == ["center"]:
        found = wait_for(lambda: center(arguments[1], arguments[2]), float(arguments[3]))
    else:
        print(__doc__, file=sys.stderr)
        return 2
    if found is None:
        return 1
    print(found)
    return 0


sys.exit(main(sys.argv[1:]))
