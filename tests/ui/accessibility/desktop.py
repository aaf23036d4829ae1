"""What the desktop tests share: reading Fennic through the accessibility bus, a private home
for the application, and failing with a message."""
import os
import sys
import tempfile
import time

import pyatspi
from gi.repository import GLib


def fail(message):
    print("FAIL: " + message)
    sys.exit(1)


def walk(node, depth=0):
    if node is None or depth > 40:
        return
    yield node
    for i in range(node.childCount):
        try:
            child = node.getChildAtIndex(i)
        except Exception:
            continue
        yield from walk(child, depth + 1)


def find_application(name, timeout):
    deadline = time.time() + timeout
    while time.time() < deadline:
        desktop = pyatspi.Registry.getDesktop(0)
        for i in range(desktop.childCount):
            app = desktop.getChildAtIndex(i)
            if app is not None and app.name == name:
                return app
        time.sleep(0.5)
    return None


def named(app, name, roles=None):
    for node in walk(app):
        if node.name == name and (roles is None or node.getRole() in roles):
            return node
    return None


def showing(node):
    try:
        return node.getState().contains(pyatspi.STATE_SHOWING)
    except Exception:
        return False


def pump(seconds):
    """Waits, delivering the accessibility bus's events to the listeners meanwhile."""
    deadline = time.time() + seconds
    context = GLib.MainContext.default()
    while True:
        while context.iteration(False):
            pass
        if time.time() >= deadline:
            return
        time.sleep(min(0.02, max(0.0, deadline - time.time())))


def wait_for(condition, timeout, step=0.3):
    deadline = time.time() + timeout
    while time.time() < deadline:
        value = condition()
        if value:
            return value
        pump(step)
    return None


def private_environment(prefix):
    """An environment whose home, settings, data and caches are in a new temporary folder."""
    scratch = tempfile.mkdtemp(prefix=prefix)
    env = dict(os.environ)
    env.update({
        "HOME": scratch,
        "XDG_CONFIG_HOME": scratch + "/config",
        "XDG_DATA_HOME": scratch + "/data",
        "XDG_CACHE_HOME": scratch + "/cache",
        "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
        "QT_ACCESSIBILITY": "1",
    })
    env.pop("QT_QPA_PLATFORM", None)
    return scratch, env
