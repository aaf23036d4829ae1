#!/usr/bin/python3
"""`fennic --quick-search` on a real X server: the running Fennic opens its panel over
everything, typing with real key presses shows results at once, Down and Esc work, and a
second Esc closes the panel.

Run by run-on-desktop under a private session bus and Xvfb. Fennic runs over a small library
of its own (FENNIC_LIBRARY_ROOT), so the command reaches that instance and no other.
"""
import os
import subprocess
import sys
import time

import pyatspi

from desktop import fail, find_application, named, private_environment, showing, wait_for, walk

FENNIC = sys.argv[1]


def make_library(root):
    for folder in ("Desktop", "Documents", "Downloads", "Pictures", "Movies", "Music"):
        os.makedirs(os.path.join(root, folder), exist_ok=True)
    for i in range(1, 4):
        with open(os.path.join(root, "Documents", "invoice %d.txt" % i), "wb") as f:
            f.write(b"invoice\n" * i)
    with open(os.path.join(root, "Documents", "holiday notes.txt"), "w") as f:
        f.write("sand and sea\n")
    # Past the welcome screen, so the folders are read at once.
    os.makedirs(os.path.join(root, ".fennic-support"), exist_ok=True)
    with open(os.path.join(root, ".fennic-support", "settings.ini"), "w") as f:
        f.write("[General]\nwelcomeDone=true\n")


def panel_of(app):
    return next((n for n in walk(app) if n.name == "Quick Search" and n.getRole() != pyatspi.ROLE_PUSH_BUTTON
                 and showing(n)), None)


def result_names(app):
    results = named(app, "Quick Search results")
    if results is None or not showing(results):
        return []
    return [results.getChildAtIndex(i).name for i in range(results.childCount)]


def main():
    scratch, env = private_environment("fennic-quick-")
    library = os.path.join(scratch, "library")
    make_library(library)
    env["FENNIC_LIBRARY_ROOT"] = library
    first = subprocess.Popen([FENNIC], env=env)
    try:
        app = find_application("Fennic", 90)
        if app is None:
            fail("Fennic never appeared on the accessibility bus")
        if not wait_for(lambda: any(n.getRole() == pyatspi.ROLE_FRAME for n in walk(app)), 30):
            fail("Fennic's window never showed")

        # A second start hands the request to the running Fennic and leaves at once.
        started = time.time()
        second = subprocess.run([FENNIC, "--quick-search"], env=env, timeout=30)
        if second.returncode != 0:
            fail("fennic --quick-search exited with %d" % second.returncode)
        handed = (time.time() - started) * 1000
        if first.poll() is not None:
            fail("the running Fennic quit")
        panel = wait_for(lambda: panel_of(app), 10)
        if panel is None:
            fail("the Quick Search panel did not open")
        print("the command handed over and left in %.0f ms" % handed)

        subprocess.run(["xdotool", "type", "--delay", "60", "invoice"], check=True)
        names = wait_for(lambda: [n for n in result_names(app) if "invoice" in n], 10)
        if not names or len(names) != 3:
            fail("typing 'invoice' into the panel showed %r" % result_names(app))
        subprocess.run(["xdotool", "key", "Down", "space"], check=True)
        if not wait_for(lambda: any(n.name.startswith("Quick Look") and showing(n) for n in walk(app)), 10):
            fail("Space after Down did not open the preview")
        subprocess.run(["xdotool", "key", "Escape"], check=True)
        time.sleep(0.5)
        if panel_of(app) is None:
            fail("the first Esc closed the panel instead of only the preview")
        subprocess.run(["xdotool", "key", "Escape"], check=True)
        if not wait_for(lambda: panel_of(app) is None, 5):
            fail("the second Esc did not close the panel")
        print("ok: the panel opened from the command, showed %s, previewed and closed" % ", ".join(names))
    finally:
        first.terminate()
        try:
            first.wait(15)
        except subprocess.TimeoutExpired:
            first.kill()


if __name__ == "__main__":
    main()
