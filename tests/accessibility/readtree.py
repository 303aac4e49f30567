#!/usr/bin/python3
"""Reads the demo's accessible tree through AT-SPI, as a screen reader would:
a named appointment and the view tabs must be there, and no focusable element
of the control may be nameless."""
import re
import sys
import time

import pyatspi

APP = sys.argv[1]
TIMES = re.compile(r"\d\d:\d\d to \d\d:\d\d")


def walk(node, depth=0):
    yield node
    if depth > 40:
        return
    for i in range(node.childCount):
        child = node.getChildAtIndex(i)
        if child is not None:
            yield from walk(child, depth + 1)


def application():
    desktop = pyatspi.Registry.getDesktop(0)
    for i in range(desktop.childCount):
        app = desktop.getChildAtIndex(i)
        if app is not None and app.name in (APP, "DayvexDemo"):
            return app
    return None


# A sanitized demo on a loaded machine may take a while to show.
deadline = time.time() + 90
app = None
while app is None and time.time() < deadline:
    app = application()
    if app is None:
        time.sleep(0.5)
if app is None:
    sys.exit(f"{APP} never appeared on the accessibility bus")

nodes = list(walk(app))
# An appointment is read in the grid's cells it stands on, with its subject and times.
boxes = [n.name for n in nodes if n.getRole() == pyatspi.ROLE_TABLE_CELL and TIMES.search(n.name or "")]
tabs = [n.name for n in nodes if n.getRole() == pyatspi.ROLE_PAGE_TAB]
print(f"{len(nodes)} nodes, {len(boxes)} cells with appointments, tabs {tabs}, e.g. {boxes[:1]}")
failures = []
if not boxes:
    failures.append("no appointment is named with its times")
if not {"day", "week", "month"} <= {t.lower() for t in tabs}:
    failures.append(f"the view tabs are missing: {tabs}")
unnamed = []
for node in nodes:
    if node.getState().contains(pyatspi.STATE_FOCUSABLE) and not (node.name or "").strip():
        parent = node.parent
        unnamed.append(f"{node.getRoleName()} in {parent.getRoleName() if parent else '?'} "
                       f"'{(parent.name or '') if parent else ''}'")
if unnamed:
    failures.append(f"{len(unnamed)} focusable elements have no name: {unnamed[:5]}")
sys.exit("; ".join(failures) if failures else 0)
