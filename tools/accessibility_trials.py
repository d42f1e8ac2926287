# SPDX-License-Identifier: GPL-3.0-or-later

"""The part of tools/accessibility-trials that talks to the accessibility bus."""

import subprocess
import sys
import time

import pyatspi

PATIENCE = 20
# What the keyboard reaches by the arrow keys within a control, or by a menu's key.
WITHIN_OTHERS = {"radio button", "table cell", "table column header", "menu item", "check menu item", "list item"}
# What has to have a name. Labels show theirs; containers and scroll bars need none.
NAMED = {"push button", "toggle button", "check box", "radio button", "slider", "text", "combo box", "tree", "tree table",
         "table cell", "menu item", "window", "frame", "dialog", "spin button"}
WINDOWS = {"window", "frame", "dialog"}

faults = []


def fault(sentence):
    faults.append(sentence)
    print("  FEHLT:", sentence)


def until(condition, what):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        try:
            found = condition()
        except Exception:  # what goes away while it is asked
            found = None
        if found:
            return found
        time.sleep(0.1)
    sys.exit("not so: " + what)


def application():
    for each in pyatspi.Registry.getDesktop(0):
        if each is not None and each.name == "LumiVastor":
            return each
    return None


def window(title):
    def find():
        for each in application():
            if each is not None and each.name == title and each.getState().contains(pyatspi.STATE_SHOWING):
                return each
        return None

    return until(find, "there is a window " + title)


def press(*keys):
    subprocess.run(["xdotool", "key", *keys], check=True)
    time.sleep(0.4)


def children(node):
    return [each for each in (node.getChildAtIndex(i) for i in range(node.childCount)) if each is not None]


def is_seen(node):
    state = node.getState()
    return state.contains(pyatspi.STATE_SHOWING) and state.contains(pyatspi.STATE_VISIBLE)


def name_of(node):
    """What is read first: the label of a list, whose name is what is chosen, or the name."""
    if node.getRoleName() == "combo box":
        for relation in node.getRelationSet():
            if relation.getRelationType() == pyatspi.RELATION_LABELLED_BY:
                return relation.getTarget(0).name
        return ""
    return node.name


def value_of(node):
    try:
        value = node.queryValue()
    except NotImplementedError:
        return None
    return value.minimumValue, value.currentValue, value.maximumValue


def show(node, found, depth=1):
    if not is_seen(node):
        return
    role = node.getRoleName()
    name = name_of(node)
    text = role + (f" „{name}“" if name else "")
    if role == "combo box":
        text += f": {node.name}"
    value = value_of(node)
    if role == "slider":
        text += "" if value is None else f" = {value[1]:g} ({value[0]:g} bis {value[2]:g})"
        if value is None or not value[0] <= value[1] <= value[2]:
            fault(f"der Wert von {name}")
    if node.description and node.description != name:
        text += f" – {node.description}"
    print("  " * depth + text)
    if role in NAMED and not name and not (role == "table cell" and node.getIndexInParent() > 0):
        fault(f"der Name: {role} {node.name}")
    state = node.getState()
    isFocusable = state.contains(pyatspi.STATE_FOCUSABLE) and state.contains(pyatspi.STATE_SENSITIVE)
    if depth > 1 and isFocusable and role not in WITHIN_OTHERS:
        found.append((role, name))
    for each in children(node):
        show(each, found, depth + 1)


def all_focused(node):
    if not is_seen(node):
        return []
    own = [node] if node.getState().contains(pyatspi.STATE_FOCUSED) else []
    return own + [inner for each in children(node) for inner in all_focused(each)]


def focused(node):
    """What has the keyboard. The current cell of a list says so even when the keyboard is elsewhere."""
    stops = [each for each in all_focused(node) if each.getRoleName() not in WINDOWS]
    others = [each for each in stops if each.getRoleName() != "table cell"]
    return (others or stops or [None])[0]


def tab_order(node, most):
    order = []
    for _ in range(most):
        press("Tab")
        now = focused(node)
        if now is None:
            order.append(("", "nichts"))
            continue
        while now.getRoleName() == "table cell":
            now = now.parent
        stop = (now.getRoleName(), name_of(now))
        if order and stop == order[0]:
            break
        order.append(stop)
    return order


def examine(title, most=0):
    """Prints the window with this title, and with `most` the way of the tabulator key through it."""
    node = window(title)
    print(f"\n== {title}")
    if node.getRoleName() not in WINDOWS:
        fault(f"{title} ist kein Fenster, sondern {node.getRoleName()}")
    found = []
    show(node, found)
    if not most:
        return
    order = tab_order(node, most)
    print("  Tabulator: " + " → ".join(name for _, name in order))
    names = {name for _, name in order}
    for role, name in found:
        # Of a group of segments the chosen one has the keyboard.
        if name not in names:
            fault(f"mit der Tastatur erreichbar: {role} {name}")


def main():
    program = subprocess.Popen([sys.argv[1]])
    try:
        until(application, "the program is on the bus")
        examine("LumiVastor", 60)
        press("ctrl+l")
        window("LumiVastor – Aufnahmen")
        time.sleep(2)  # sizes and pictures
        examine("LumiVastor – Aufnahmen", 40)
        press("ctrl+f", "Down", "Return")
        editor = "LumiVastor – webcam"
        window(editor)
        time.sleep(3)
        examine(editor, 120)
        press("Escape", "F1")
        examine("Tasten des Editors")
        press("Escape", "ctrl+shift+e")
        examine("Exportieren als", 30)
        press("Escape", "ctrl+e")
        examine("LumiVastor – Exporte", 10)
    finally:
        program.terminate()
        program.wait()
    print(f"\n{len(faults)} Mängel")
    sys.exit(1 if faults else 0)


main()
