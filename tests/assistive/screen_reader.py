# SPDX-License-Identifier: MIT
"""A program as an assistive tool has it: nodes on the accessibility bus, and what it hears."""

import subprocess
import time

import pyatspi
from gi.repository import Atspi, GLib

PATIENCE = 15  # seconds, for what takes a fraction of one

Atspi.set_timeout(int(1000 * PATIENCE), int(1000 * PATIENCE))


def role(node):
    """In the words of every version of the bus."""
    name = node.getRoleName()
    return "push button" if name == "button" else name


def is_(node, *states):
    held = node.getState()
    return all(held.contains(state) for state in states)


def shown(node):
    return is_(node, pyatspi.STATE_SHOWING)


def actions(node):
    try:
        action = node.queryAction()
    except NotImplementedError:
        return []
    return [action.getName(index) for index in range(action.nActions)]


def words(node):
    """What a person is told of the node."""
    told = f'{role(node)} "{label(node)}"'
    return f"{told}, {node.description}" if node.description else told


def label(node):
    """Its name; a combo box has its choice for a name, and is called as its label is."""
    for relation in node.getRelationSet() if role(node) == "combo box" else []:
        if relation.getRelationType() == pyatspi.RELATION_LABELLED_BY:
            return relation.getTarget(0).name
    return node.name


def inside(root, deep=lambda node: True):
    """The node and what is in it, parents first; of those that are not deep, the node alone."""
    yield root
    if deep(root):
        for child in root:
            if child is not None:
                yield from inside(child, deep)


class ScreenReader:
    """Starts a program and follows it. What was done and heard is written down in `protocol`."""

    def __init__(self, command):
        self.protocol = []
        self.speaker = None  # of the latest announcement
        self.menu = None  # the latest that has opened; no window lists it
        self.loop = GLib.MainContext.default()
        self.listener = self.hear  # kept, or nothing comes
        for event in ("object:announcement", "object:state-changed:showing",
                      "object:state-changed:focused"):
            pyatspi.Registry.registerEventListener(self.listener, event)
        GLib.timeout_add(10, lambda: True)  # conditions that bring no event are looked at, too
        self.process = subprocess.Popen(command)
        self.application = self.wait("the program is on the bus", self.find_application)
        self.application.set_cache_mask(Atspi.Cache.ROLE | Atspi.Cache.INTERFACES)

    def find_application(self):
        for application in pyatspi.Registry.getDesktop(0):
            if application and application.get_process_id() == self.process.pid:
                return application if application.childCount > 0 else None
        return None

    def hear(self, event):
        try:
            if event.type == "object:announcement":
                self.speaker = event.source
                self.note("heard", str(event.any_data))
            elif event.type == "object:state-changed:focused":
                if event.detail1 == 1:
                    self.note("focus", words(event.source))
            elif event.detail1 == 1 and event.source.getRole() == pyatspi.ROLE_NOTIFICATION:
                self.speaker = event.source.parent
                self.note("heard", event.source.name)
            elif event.detail1 == 1 and event.source.getRole() == pyatspi.ROLE_POPUP_MENU:
                self.menu = event.source
        except GLib.Error:
            pass  # it was gone before anybody asked

    def note(self, kind, text):
        self.protocol.append(f"{kind:5}  {text}")

    def heard(self, since=0):
        return [line[7:] for line in self.protocol[since:] if line.startswith("heard")]

    def wait(self, what, condition, patience=PATIENCE):
        """The condition's value as soon as it is true; events are taken in meanwhile."""
        until = time.monotonic() + patience
        while True:
            while self.loop.pending():
                self.loop.iteration(False)
            try:
                value = condition()
            except GLib.Error:
                value = None  # a node that goes
            if value:
                return value
            if time.monotonic() > until:
                raise AssertionError("\n".join(self.protocol[-15:] + [f"never: {what}"]))
            self.loop.iteration(True)

    def wait_heard(self, text, since):
        self.wait(f'"{text}" is heard', lambda: text in self.heard(since))

    def find(self, kind, name, root, hidden=False):
        """Waits for it. The first one of this role and label."""
        def look():
            for node in inside(root, lambda n: hidden or n == root or shown(n)):
                if (role(node) == kind and (hidden or shown(node)) and
                        name in (label(node), node.name)):
                    return node
            return None
        return self.wait(f'there is a {kind} "{name}"', look)

    def window(self, name):
        def look():
            for window in self.application:
                if window and window.name == name and shown(window):
                    return window
            return None
        return self.wait(f'there is a window "{name}"', look)

    def open_menu(self, node):
        self.menu = None
        self.do(node, "ShowMenu")
        return self.wait("a menu opens", lambda: self.menu)

    def do(self, node, action):
        """Does the action of this name; returns the place in the protocol where this stands."""
        self.note("do", f"{action} on {words(node)}")
        place = len(self.protocol) - 1  # events may come in while it is done
        known = actions(node)
        assert action in known, f"{words(node)} has no {action}, but {known}"
        assert node.queryAction().doAction(known.index(action)), f"{action} on {words(node)} failed"
        return place

    def write(self, node, text):
        """Where the focus is said to be; that comes later than the window itself."""
        self.wait(f"the focus is on {words(node)}", lambda: f"focus  {words(node)}" ==
                  [line for line in self.protocol if line.startswith("focus")][-1])
        self.note("do", f'write "{text}" into {words(node)}')
        assert node.queryEditableText().setTextContents(text), words(node)

    def set_value(self, node, value):
        self.note("do", f"set {words(node)} to {value}")
        node.queryValue().currentValue = value
