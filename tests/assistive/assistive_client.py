# SPDX-License-Identifier: MIT
"""Uses the running program on the virtual keyboard over the accessibility bus, on a display and a
bus of its own. Usage: assistive_client.py PROGRAM PROTOCOL

First as people do it: a key is assigned, one is painted, a macro is made, a picture is sent; what
was done and heard is written into the file PROTOCOL. Then every action of every node once: each has to
do what it is called, for the eye, for the ear and on the keyboard.
"""

import os
import struct
import subprocess
import sys
import tempfile
import time
import zlib
from pathlib import Path

PAGES = ["Home", "Keys", "Macros", "Light Effect Mode", "TFT Screen", "Favorites",
         "Custom Lighting", "Music", "Keyboard Settings"]
# Of Qt, which names what is in them; tried is what is ours.
FOREIGN = {"Images or GIF", "Brush color", "Export settings", "Import settings"}
# What closes a menu of the page and leaves things as they are.
LEAVING = {"Keys": "Copy", "Custom Lighting": "Clear key", "Macros": "Record…",
           "TFT Screen": "Paste pictures", "Keyboard Settings": "Import settings…"}
# Of the menu of a key: what is no choice that stays.
ENTRIES = ("Assign…", "Press the keys…", "Copy", "Paste", "Undo", "Redo")
# What is so already: the focus of a dialog that opens, what is the only one, what shows the same
# picture once more.
IDLE = ("SetFocus on Name:", "SetFocus on Delay before (ms):", "Toggle on Greet",
        "Press on Convert & preview")
# Of buttons and of entries of menus.
EFFECTS = {
    "Assign…": ("opens", "Assign key"),
    "Write layer to keyboard": ("says", "Layer "),
    "Reset all to default": ("says", "Reset "),
    "New macro": ("opens", "New macro"),
    "Delete": ("says", "Delete macro"),
    "Add action": ("says", "Add action"),
    "Remove action": ("says", "Remove action"),
    "Write macros to keyboard": ("says", "Macros written"),
    "Import GIF / images (resized to 128×128)…": ("opens", "Images or GIF"),
    "Send to screen": ("says", "Animation sent"),
    "Brush color…": ("opens", "Brush color"),
    "Fill all keys": ("says", "Fill all keys"),
    "Enable custom mode": ("says", "Custom mode enabled."),
    "Send painting to keyboard": ("says", "Painting sent."),
    "Read from keyboard": ("says", "Color bank read"),
    "Reset Keyboard Data": ("opens", "Reset Keyboard Data"),
    "Restore Factory Settings": ("opens", "Restore Factory Settings"),
    "Record…": ("opens", "Record"),
    "Rename macro…": ("opens", "Rename macro"),
    "Duplicate macro": ("says", "Duplicate macro"),
    "Move macro up": ("says", "Move macro"),
    "Move macro down": ("says", "Move macro"),
    "Delete macro": ("says", "Delete macro"),
    "Insert action above": ("says", "Insert action"),
    "Duplicate actions": ("says", "Duplicate actions"),
    "Change delay…": ("opens", "Change delay"),
    "Move actions up": ("says", "Move actions"),
    "Move actions down": ("says", "Move actions"),
    "Remove actions": ("says", "Remove action"),
    "Undo": ("says", "Undone: "),
    "Redo": ("says", ""),
    "Play": ("opens", "Animation"),
    "Paste pictures": ("says", "There is no picture to paste."),
    "Export settings…": ("opens", "Export settings"),
    "Import settings…": ("opens", "Import settings"),
    "Earlier states": ("opens", "Earlier state"),
}


def start_inside():
    """The client once more, where nobody sees, hears or remembers it."""
    tools = Path(__file__).resolve().parents[2] / "tools"
    with tempfile.TemporaryDirectory() as home:
        names = ("HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR")
        environment = os.environ | dict.fromkeys(names, home) | {
            "INSIDE": "1", "LC_ALL": "C.UTF-8", "PYTHONDONTWRITEBYTECODE": "1",
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1", "QT_QPA_PLATFORM": "xcb"}
        return subprocess.run([tools / "with-display", "dbus-run-session", "--", sys.executable,
                               *sys.argv], env=environment).returncode


if "INSIDE" not in os.environ:
    sys.exit(start_inside())

import pyatspi  # noqa: E402

from screen_reader import ScreenReader, actions, inside, is_, label, role, shown, words  # noqa: E402


def write_picture(path):
    """A violet one."""
    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data +
                struct.pack(">I", zlib.crc32(kind + data)))
    header = struct.pack(">IIBBBBB", 16, 16, 8, 2, 0, 0, 0)
    rows = (b"\0" + b"\x8d\0\xff" * 16) * 16
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                     chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


class Client(ScreenReader):
    def __init__(self, program):
        super().__init__([program])
        self.main = self.window("ZEROLT TAVIK Pro")
        self.keyboard = self.window("Virtual keyboard")
        self.wait("the window is active", lambda: is_(self.main, pyatspi.STATE_ACTIVE))
        self.stack = self.find("layered pane", "", self.main)
        self.tabs = {tab.name: tab for tab in self.find("page tab list", "Pages", self.main)}
        self.nodes = self.tried = 0

    # The keyboard that hangs on the cable.

    def keyboard_holds(self, text):
        """As the line says that tells of it."""
        return any(text in node.name for node in self.keyboard if role(node) == "label")

    def wait_for_keyboard(self, text):
        self.wait(f'the keyboard holds "{text}"', lambda: self.keyboard_holds(text))

    # The program.

    def open_page(self, name):
        self.do(self.tabs[name], "Toggle")
        self.page_name, self.page = name, self.stack[PAGES.index(name)]
        self.wait(f'"{name}" is open',
                  lambda: shown(self.page) and is_(self.tabs[name], pyatspi.STATE_CHECKED))
        self.find("label", name, self.main)  # the title

    def here(self, kind, name):
        return self.find(kind, name, self.page)

    def press(self, name, root=None):
        return self.do(self.find("push button", name, root or self.page), "Press")

    def press_and_hear(self, name, text):
        self.wait_heard(text, self.press(name))

    def close(self, window, button="Cancel"):
        self.press(button, window)
        self.wait("it is closed", lambda: window not in list(self.application))
        try:
            self.wait("the window is active", lambda: is_(self.main, pyatspi.STATE_ACTIVE), 2)
        except AssertionError:  # the window manager has turned to the keyboard's
            subprocess.run(self.process.args, check=True)
            self.wait("the window is active", lambda: is_(self.main, pyatspi.STATE_ACTIVE))

    def choose(self, selector, entry):
        box = self.here("combo box", selector)
        self.do(self.find("list item", entry, box, hidden=True), "Toggle")
        self.wait(f'{selector} is "{entry}"', lambda: box.name == entry)

    def wait_described(self, node, text):
        self.wait(f'{node.name} is "{text}"', lambda: node.description == text)

    # What people do.

    def assign_a_key(self):
        self.open_page("Keys")
        key = self.here("push button", "Caps Lock")
        self.wait_described(key, "factory function")
        menu = self.open_menu(key)
        self.wait_heard("Assign Caps Lock",
                        self.do(self.find("menu item", "B", menu, hidden=True), "Press"))
        self.wait_described(key, "B")
        self.press_and_hear("Write layer to keyboard", "Layer base written.")

    def paint_a_key(self):
        self.open_page("Custom Lighting")
        key = self.here("push button", "Caps Lock")
        self.wait_described(key, "black, #000000")
        self.press("Brush color…")
        dialog = self.window("Brush color")
        for channel, value in (("Red:", 0x8D), ("Green:", 0x00), ("Blue:", 0xFF)):
            self.set_value(self.find("spin button", channel, dialog), value)
        self.close(dialog, "OK")
        self.wait_heard("Paint Caps Lock", self.do(key, "Press"))
        self.wait_described(key, "violet, #8d00ff")
        self.press_and_hear("Send painting to keyboard", "Painting sent.")
        self.press_and_hear("Enable custom mode", "Custom mode enabled.")
        self.wait_for_keyboard("custom colors, brightness 5")
        # The keyboard has it: it comes back from there.
        clear = self.find("menu item", "Clear key", self.open_menu(key))
        self.wait_heard("Clear Caps Lock", self.do(clear, "Press"))
        self.wait_described(key, "black, #000000")
        self.press_and_hear("Read from keyboard", "Color bank read from keyboard.")
        self.wait_described(key, "violet, #8d00ff")

    def new_macro(self, name):
        self.press("New macro")
        dialog = self.window("New macro")
        self.write(self.find("text", "Name:", dialog), name)
        since = len(self.protocol)
        self.close(dialog, "OK")
        self.wait_heard("New macro", since)

    def make_a_macro(self):
        self.open_page("Macros")
        self.new_macro("Greet")
        self.choose("Key / button", "H")
        for kind, delay in (("Key press", 0), ("Key release", 40)):
            self.choose("Type", kind)
            self.set_value(self.here("spin button", "Delay before"), delay)
            self.press_and_hear("Add action", "Add action")
        self.find("table cell", "40 ms, release H", self.here("table", "Actions"))
        self.press_and_hear("Write macros to keyboard", "Macros written (412 bytes).")
        self.wait_for_keyboard("1 macro")

    def send_a_picture(self):
        picture = Path(os.environ["HOME"], "violet.png")
        write_picture(picture)
        self.open_page("TFT Screen")
        self.press("Import GIF / images (resized to 128×128)…")
        dialog = self.window("Images or GIF")
        self.write(self.find("text", "File name:", dialog), str(picture))
        since = len(self.protocol)
        self.wait("the file can be opened",
                  lambda: actions(self.find("push button", "Open", dialog)))
        self.close(dialog, "Open")
        self.wait_heard("1 frame(s) imported.", since)
        self.press_and_hear("Send to screen",
                            "Animation sent (slot 1, 1 frames). Press Fn + Delete to display it.")
        self.wait_for_keyboard("slot 1: 1 picture")

    # Every action of every node.

    def try_all(self):
        self.seen_dialogs = set()
        self.copied = None
        self.nodes_in(self.main)
        for name in PAGES:
            self.try_action(self.tabs[name], "SetFocus")
            self.open_page(name)
            self.tried += 1
            if name == "Light Effect Mode":
                self.do(self.here("check box", "Random Color"), "Toggle")  # else no color counts
            # First what is chosen, then what is done with it; what deletes comes last.
            order = sorted(self.nodes_in(self.page),
                           key=lambda node: (role(node) == "push button", node.name == "Delete"))
            self.try_nodes(order)
        self.try_menu_of_key("Keys")
        self.try_menu_of_key("Custom Lighting")
        self.try_menus_of_macros()
        self.try_menu("TFT Screen", "image", "Preview")
        self.try_menu("Keyboard Settings", "push button", "Reset Keyboard Data")
        self.try_title_bar()

    def try_menus_of_macros(self):
        """On the second of three, each, so that there is something to do for every entry."""
        self.open_page("Macros")
        macros, table = self.here("list", "Macros"), self.here("table", "Actions")
        self.new_macro("First")
        for delay in (10, 20, 30):
            self.set_value(self.here("spin button", "Delay before"), delay)
            self.press_and_hear("Add action", "Add action")
        for _ in range(2):
            menu = self.open_menu(self.here("panel", "Macros"))
            self.wait_heard("Duplicate macro", self.do(self.find("menu item", "Duplicate macro",
                                                                 menu), "Press"))

        def select(node):
            if not is_(node, pyatspi.STATE_SELECTED):
                self.do(node, "Toggle")
                self.wait("it is selected", lambda: is_(node, pyatspi.STATE_SELECTED))
        self.try_menu("Macros", "panel", "Macros", lambda: select(macros[1]))
        select(macros[1])
        self.try_menu("Macros", "panel", "Actions",
                      lambda: select(table.queryTable().getAccessibleAt(1, 0)))

    def try_menu(self, page, kind, owner, prepare=lambda: None):
        """Every entry of it, one after the other."""
        self.open_page(page)
        prepare()
        ways = list(self.ways_in(self.open_menu(self.here(kind, owner))))
        self.leave_menu()
        for way in ways:
            if way[-1] == "None kept yet":
                continue
            prepare()
            entry = self.entry(self.open_menu(self.here(kind, owner)), way)
            assert is_(entry, pyatspi.STATE_ENABLED), f"{way} has nothing to do"
            windows = self.application.childCount
            promise = self.promise_of_button(way[0])
            self.do(entry, "Press")
            self.wait(f"{way} does what it is called", promise)
            self.tried += 1
            if self.application.childCount > windows:
                self.leave(self.application[windows])

    def try_menu_of_key(self, page):
        self.open_page(page)
        key = self.here("push button", "Caps Lock")
        ways = list(self.ways_in(self.open_menu(key)))
        self.leave_menu()
        checked = None
        # Modifiers need a key that they go with.
        modifiers = [way for way in ways if way[0] == "With modifiers"]
        for way in [way for way in ways if way not in modifiers] + (
                modifiers and [("Keys", "Letters A to M", "A"), *modifiers]):
            self.make_room_on_key(key, way[-1])
            menu = self.open_menu(key)
            if checked:
                assert is_(self.entry(menu, checked), pyatspi.STATE_CHECKED), checked
            checked = None
            entry = self.entry(menu, way)
            if not is_(entry, pyatspi.STATE_ENABLED):
                self.leave_menu()
                continue
            promise, stays = self.promise_of_entry(key, entry, way)
            assert way[-1] == "Copy" or not promise(), f"{way} changes nothing"
            self.do(entry, "Press")
            self.wait(f"{way} does what it is called", promise)
            self.tried += 1
            if way[-1] == "Press the keys…":
                self.press("Cancel", self.speaker)
            for window in list(self.application)[2:]:
                self.leave(window)
            if stays:
                self.leave_menu()
            elif page == "Keys" and way[-1] not in ENTRIES:
                checked = way

    def make_room_on_key(self, key, entry):
        """So that there is something to do for the entry."""
        def choose(beginning):
            menu = self.open_menu(key)
            self.do(next(node for node in inside(menu) if role(node) == "menu item" and
                         node.name.startswith(beginning)), "Press")
        if entry in ("Paste", "Default key"):
            choose("Disabled")
            self.wait("it is disabled", lambda: key.description not in (self.copied,
                                                                        "factory function"))
        elif entry in ("Take this color", "Fill keys of this color", "Clear key"):
            brush = self.here("image", "Brush")
            self.do(key, "Press")
            self.wait_described(key, brush.description)
            choose("Brush #")
            self.wait("the brush is another one", lambda: brush.description != key.description)
        elif entry == "Fill unpainted keys":
            choose("Clear key")

    def ways_in(self, menu):
        for entry in menu:
            if role(entry) == "menu item" and ": " not in entry.name:  # which heads the menu
                self.nodes += 1
                assert entry.name
                for submenu in entry:
                    assert submenu.name == entry.name, f"nameless: the menu of {entry.name}"
                    yield from ((entry.name, *way) for way in self.ways_in(submenu))
                if entry.childCount == 0:
                    yield (entry.name.split(" ")[0] if entry.name[:4] in ("Undo", "Redo")
                           else entry.name,)

    def entry(self, menu, way):
        found = next(entry for entry in menu if entry.name == way[0] or
                     way[0] in ("Undo", "Redo") and entry.name.startswith(way[0]))
        return found if len(way) == 1 else self.entry(found[0], way[1:])

    def leave_menu(self):
        windows = self.application.childCount
        entry = LEAVING[self.page_name]
        self.do(self.entry(self.menu, (entry,)), "Press")
        if EFFECTS.get(entry, ("", ""))[0] == "opens":
            self.wait("a dialog opens", lambda: self.application.childCount > windows)
            self.leave(self.application[windows])

    def promise_of_entry(self, key, entry, way):
        """Also, whether the menu stays open."""
        since = len(self.protocol)
        if "With modifiers" in way:
            was_checked = is_(entry, pyatspi.STATE_CHECKED)
            return lambda: is_(entry, pyatspi.STATE_CHECKED) != was_checked, True
        if way[-1] == "Press the keys…":
            return lambda: any(line.startswith('Press the keys that "Caps Lock" is to send.')
                               for line in self.heard(since)), False
        if way[-1] == "Assign…":
            return self.promise_of_button(way[-1]), False
        if way[-1] == "Copy":  # which is seen when it is pasted
            self.copied = key.description
            return lambda: True, False
        if way[-1] == "Paste":
            return lambda: key.description == self.copied, False
        if self.page_name == "Keys" or way[-1] in ("Undo", "Redo"):
            return lambda: self.heard(since), False
        brush = self.here("image", "Brush")
        promise = {
            "Take this color": lambda: brush.description == key.description,
            "Fill keys of this color": lambda: key.description == brush.description,
            "Fill unpainted keys": lambda: key.description == brush.description,
            "Clear key": lambda: key.description == "black, #000000",
        }
        return promise.get(way[-1], lambda: brush.description[-7:] == way[-1][-7:]), False

    def try_title_bar(self):
        self.do(self.find("push button", "Minimize", self.main), "Press")
        self.wait("the window is gone", lambda: not is_(self.main, pyatspi.STATE_ACTIVE))
        # A second start brings the first to the front.
        assert subprocess.run(self.process.args, timeout=60).returncode == 0
        self.wait("the window is back", lambda: is_(self.main, pyatspi.STATE_ACTIVE))
        self.do(self.find("push button", "Close", self.main), "Press")
        self.wait("the program ends", lambda: self.process.poll() is not None)
        assert self.process.returncode == 0
        self.tried += 2

    def nodes_in(self, root):
        """What can be seen in it, and what a combo box can be set to. None is without a name."""
        nodes = [node for node in inside(root, lambda node: shown(node) or role(node) == "list")
                 if shown(node) or role(node) == "list item"]
        for node in nodes:
            # An empty cell, as for the size of a folder, has nothing to be called.
            assert (node.name or role(node) == "table cell" or
                    not is_(node, pyatspi.STATE_FOCUSABLE)), f"nameless: {node} in {node.parent}"
        self.nodes += len(nodes)
        return nodes

    def try_nodes(self, nodes):
        for node in nodes:
            if is_(node, pyatspi.STATE_ENABLED):
                # What else is done to it brings the focus along.
                for action in sorted(actions(node), key=lambda name: name != "SetFocus"):
                    self.try_action(node, action)

    def try_action(self, node, action):
        self.menu = None
        windows = self.application.childCount
        promise = self.promise_of(node, action)
        self.make_room_for(node, action, promise)
        self.do(node, action)
        self.wait(f"{action} on {words(node)} does what it is called", promise)
        self.tried += 1
        if self.application.childCount > windows:
            self.leave(self.application[windows])
        if self.menu is not None:
            self.leave_menu()

    def make_room_for(self, node, action, promise):
        """What is true before cannot become true: of several, another one is chosen first."""
        if not promise():
            return
        other = next((other for other in node.parent
                      if role(node) in ("list item", "radio button", "page tab") and
                      other != node and action in actions(other)), None)
        if other is None:
            assert f"{action} on {label(node)}" in IDLE, f"{action} on {words(node)} changes nothing"
        else:
            self.do(other, action)
            self.wait("the other one is chosen", lambda: not promise())

    def leave(self, window):
        """Its buttons that do something are tried where people use them."""
        if window.name not in self.seen_dialogs:
            self.seen_dialogs.add(window.name)
            nodes = self.nodes_in(window)
            if window.name not in FOREIGN:
                self.try_nodes([node for node in nodes if role(node) != "push button"])
        buttons = [node.name for node in inside(window) if role(node) == "push button"]
        self.close(window, next(name for name in ("Cancel", "No", "Close", "OK")
                                if name in buttons))

    def promise_of(self, node, action):
        """What has to become true by it."""
        kind = role(node)
        checked, selected = is_(node, pyatspi.STATE_CHECKED), is_(node, pyatspi.STATE_SELECTED)
        if action == "SetFocus":
            return lambda: is_(node, pyatspi.STATE_FOCUSED)
        if action in ("Increase", "Decrease"):
            return self.promise_of_step(node, 1 if action == "Increase" else -1)
        if kind == "combo box":
            was_open = shown(node[0])
            return lambda: shown(node[0]) != was_open
        if kind == "list item" and role(node.parent.parent) == "combo box":
            return lambda: node.parent.parent.name == node.name
        if kind == "list item":
            effect = f"{node.name}, " if node.parent.name == "Lighting effect" else ""
            return lambda: is_(node, pyatspi.STATE_SELECTED) and self.keyboard_holds(effect)
        if kind == "table cell":
            return lambda: is_(node, pyatspi.STATE_SELECTED) != selected
        if kind == "radio button":
            text = {"Not Sleep": "no sleep time", "Base layer": "", "Fn layer": "", "1 ×": "",
                    "2 ×": "", "4 ×": ""}.get(node.name, node.name.lower())
            return lambda: (self.keyboard_holds(text) and
                            [other.name for other in node.parent
                             if is_(other, pyatspi.STATE_CHECKED)] == [node.name])
        if kind == "check box":
            effect = {"Random Color": lambda: self.keyboard_holds("random color") != checked,
                      "Run at startup": lambda: self.starts_at_login() != checked}
            return lambda: (is_(node, pyatspi.STATE_CHECKED) != checked and
                            effect.get(node.name, lambda: True)())
        if node.parent.name == "Keyboard":
            return self.promise_of_key(node, action)
        if action == "ShowMenu":
            return lambda: self.menu is not None and self.menu.name
        if "#" in node.name:
            return lambda: self.color_of_fields() == node.name[-7:]
        if node.name == "Remove action":
            self.do(self.here("table cell", "40 ms, release H"), "Toggle")
        if node.name == "Reset all to default":
            menu = self.open_menu(self.here("push button", "Caps Lock"))
            self.do(self.find("menu item", "Disabled", menu), "Press")
            self.menu = None
        return self.promise_of_button(node.name)

    def promise_of_step(self, node, direction):
        value = node.queryValue()
        step = max(value.minimumIncrement, 1)
        if not value.minimumValue <= value.currentValue + direction * step <= value.maximumValue:
            self.set_value(node, value.minimumValue if direction > 0 else value.maximumValue)
        expected = value.currentValue + direction * step
        text = ""
        if self.page_name == "Light Effect Mode" and role(node) == "slider":
            text = f"{node.name.lower()} {int(expected)}"
        return lambda: (node.queryValue().currentValue == expected and self.keyboard_holds(text) and
                        (role(node) != "dial" or self.color_of_fields() == node.description[-7:]))

    def promise_of_key(self, key, action):
        if action == "ShowMenu":
            return lambda: self.menu is not None and (
                self.menu.name.startswith(f"{key.name}: "))
        if self.page_name == "Keys":
            return self.promise_of_button("Assign…")
        if self.page_name == "Custom Lighting":
            brush = self.here("image", "Brush")
            return lambda: is_(key, pyatspi.STATE_SELECTED) and key.description == brush.description
        return lambda: is_(key, pyatspi.STATE_SELECTED)

    def promise_of_button(self, name):
        if name == "Convert & preview":  # what can be seen already
            return lambda: self.here("image", "Preview").description == "The first of 1 frame(s)"
        kind, text = EFFECTS[name]
        if name == "Redo":  # what was undone
            text = next(line[8:] for line in reversed(self.heard()) if line.startswith("Undone: "))
        since = len(self.protocol)
        if kind == "opens":
            return lambda: any(window.name == text and shown(window) for window in self.application)
        return lambda: any(line.startswith(text) for line in self.heard(since))

    def color_of_fields(self):
        channels = [self.here("spin button", name).queryValue().currentValue
                    for name in ("Red", "Green", "Blue")]
        return "#{:02x}{:02x}{:02x}".format(*map(int, channels))

    def starts_at_login(self):
        return any(Path(os.environ["HOME"], "autostart").glob("*.desktop"))


def check_document(protocol):
    """What docs/accessibility.md quotes was done and heard, in this order."""
    document = Path(__file__).resolve().parents[2] / "docs" / "accessibility.md"
    quoted = [line for block in document.read_text(encoding="utf-8").split("```protocol\n")[1:]
              for line in block.split("```")[0].splitlines()]
    rest = iter([line for entry in protocol for line in entry.splitlines()])
    missing = [line for line in quoted if line not in rest]  # which uses up what is before it
    assert quoted and not missing, f"not, or not in this order: {missing[0]}"


def main(program, protocol):
    manager = subprocess.Popen(["openbox", "--sm-disable"], stderr=subprocess.DEVNULL)
    client = Client(program)
    try:
        assert manager.poll() is None, "openbox has ended"
        client.assign_a_key()
        client.paint_a_key()
        client.make_a_macro()
        client.send_a_picture()
        Path(protocol).write_text("\n".join(client.protocol) + "\n", encoding="utf-8")
        check_document(client.protocol)
        start = time.monotonic()
        client.try_all()
        print(f"{client.nodes} nodes, {client.tried} actions, {time.monotonic() - start:.0f} s")
    finally:
        for process in (client.process, manager):
            process.terminate()
            process.wait()


main(*sys.argv[1:])
