#!/usr/bin/python3
"""Drives Fennic's window as a screen reader does, through the accessibility bus.

Run by run-on-desktop under a private session bus and a real X server (Xvfb): starts
`fennic --demo`, finds the window on the bus, checks that every control has a name, types
a request with real key presses and reads the result names back. Meanwhile it listens to what
the window announces, as a screen reader does: a name said again unchanged would be read out
again, so a line that refreshes during the scan must not repeat itself.
"""
import collections
import subprocess
import sys
import time

import pyatspi

from desktop import fail, find_application, named, private_environment, pump, showing, wait_for, walk

FENNIC = sys.argv[1]


def main():
    _, env = private_environment("fennic-a11y-")
    announced = collections.Counter()

    def heard(event):
        try:
            if event.host_application.name == "Fennic":
                # The same object telling its name again; a new object with the same name is news.
                announced[(event.source.path, event.source.getRoleName(), event.source.name)] += 1
        except Exception:
            pass

    pyatspi.Registry.registerEventListener(heard, "object:property-change:accessible-name")
    app_process = subprocess.Popen([FENNIC, "--demo"], env=env)
    try:
        app = find_application("Fennic", 90)
        if app is None:
            fail("Fennic never appeared on the accessibility bus")
        frame = None
        deadline = time.time() + 30
        while frame is None and time.time() < deadline:
            frame = next((n for n in walk(app) if n.getRole() == pyatspi.ROLE_FRAME and n.name.endswith("Fennic")),
                         None)
            time.sleep(0.3)
        if frame is None:
            fail("no window named Fennic")

        ask = named(frame, "Ask Fennic", [pyatspi.ROLE_TEXT, pyatspi.ROLE_ENTRY, pyatspi.ROLE_EDITBAR])
        if ask is None:
            fail('no text control named "Ask Fennic"')

        # Every control a person can operate says what it is.
        operable = {pyatspi.ROLE_PUSH_BUTTON, pyatspi.ROLE_TOGGLE_BUTTON, pyatspi.ROLE_SLIDER,
                    pyatspi.ROLE_CHECK_BOX, pyatspi.ROLE_TEXT, pyatspi.ROLE_ENTRY, pyatspi.ROLE_COMBO_BOX,
                    pyatspi.ROLE_LIST, pyatspi.ROLE_TREE, pyatspi.ROLE_TABLE, pyatspi.ROLE_TREE_TABLE}
        unnamed = []
        for node in walk(frame):
            try:
                shown = node.getState().contains(pyatspi.STATE_SHOWING)
            except Exception:
                continue
            if shown and node.getRole() in operable and not node.name.strip():
                unnamed.append(node.getRoleName())
        if unnamed:
            fail("controls without a name: " + ", ".join(unnamed))

        # Ask for one of the demonstration's files with real key presses; the results on show
        # (Home's, in place of its overview) are read back.
        lists = {pyatspi.ROLE_LIST, pyatspi.ROLE_TABLE, pyatspi.ROLE_TREE, pyatspi.ROLE_TREE_TABLE}

        def shown_results():
            for node in walk(frame):
                if (node.name == "Results" and node.getRole() in lists and showing(node)
                        and node.childCount > 0):
                    return [node.getChildAtIndex(i).name for i in range(node.childCount)]
            return []

        ask.queryComponent().grabFocus()
        time.sleep(0.3)
        subprocess.run(["xdotool", "type", "--delay", "40", "receipt"], check=True)
        names = wait_for(lambda: [n for n in shown_results() if n == "Receipt cafe.png"] and shown_results(), 60,
                         step=0.5) or shown_results()
        if not any("Receipt cafe.png" == n for n in names):
            fail("typing 'receipt' did not show Receipt cafe.png; results read: %r" % names[:10])
        text = ask.queryText()
        typed = text.getText(0, text.characterCount)
        if typed != "receipt":
            fail("the Ask field reads %r" % typed)
        pump(1)
        repeated = ["%s %r (%d times)" % (role, name, count) for (_, role, name), count in announced.items() if count > 2]
        if repeated:
            fail("names announced again unchanged: " + "; ".join(repeated))
        print("ok: %d names announced, none repeated" % sum(announced.values()))
        print("ok: %d controls checked, results read: %s" % (sum(1 for _ in walk(frame)), ", ".join(n for n in names if n)))
    finally:
        app_process.terminate()
        try:
            app_process.wait(15)
        except subprocess.TimeoutExpired:
            app_process.kill()


if __name__ == "__main__":
    main()
