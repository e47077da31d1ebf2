# SPDX-License-Identifier: MIT
"""The program on a desktop that nobody sees, used and looked at from outside: a pointer, keys, and
what is on the screen.
Usage: desktop_test.py openbox|weston|sway PROGRAM DRAG_SOURCE"""

import functools
import json
import operator
import os
import pwd
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from Xlib import X, XK, Xatom
from Xlib.display import Display
from Xlib.ext import xtest

PATIENCE = 20  # seconds, for what takes a fraction of one
POINTER = 30  # pixels from its place; not as small as any window
SCREEN = (1600, 1000)
CYAN = bytes((0xf8, 0xf8, 0, 0))
ORANGE = bytes((0, 0x50, 0xd8, 0))
CLASS = "ZEROLT TAVIK Pro"
ID = "example.tavik_center.TavikCenter"
WESTON = """
[core]
use-pixman=true
idle-time=0
[shell]
panel-position=none
background-color=0xffffffff
animation=none
startup-animation=none
close-animation=none
focus-animation=none
locking=false
"""
SWAY = """
xwayland disable
default_floating_border none
focus_on_window_activation focus
for_window [app_id=".*"] floating enable
output X11-1 scale {ratio}
"""


def give_up_root():
    """sway does not run as root."""
    if os.getuid() == 0:
        nobody = pwd.getpwnam("nobody")
        os.setgroups([])
        os.setgid(nobody.pw_gid)
        os.setuid(nobody.pw_uid)


def wait(what, condition, patience=PATIENCE):
    until = time.monotonic() + patience
    while not (value := condition()):
        assert time.monotonic() < until, f"never: {what}"
        subprocess.run(["true"])  # lets others run
    return value


class Link:
    """A client as simple as can be."""
    REGISTRY, SYNC, ACTIVATION, TOKEN = range(2, 6)

    def __init__(self, display):
        self.link = socket.socket(socket.AF_UNIX)
        self.link.connect(str(display))
        self.send(1, 1, struct.pack("I", self.REGISTRY))
        self.send(1, 0, struct.pack("I", self.SYNC))
        self.received = b""
        self.names = {}
        for target, _, body in self.events():
            if target == self.SYNC:
                break
            if target == self.REGISTRY:
                name, length = struct.unpack_from("II", body)
                self.names[body[8:7 + length]] = name

    def send(self, target, request, arguments=b""):
        self.link.sendall(struct.pack("IHH", target, request, 8 + len(arguments)) + arguments)

    def events(self):
        while True:
            while (len(self.received) < 8 or
                   len(self.received) < struct.unpack_from("IHH", self.received)[2]):
                received = self.link.recv(65536)
                assert received, "the desktop has ended"
                self.received += received
            target, event, size = struct.unpack_from("IHH", self.received)
            body, self.received = self.received[8:size], self.received[size:]
            yield target, event, body

    def bind(self, interface, target):
        text = interface + b"\0" * (4 - len(interface) % 4)
        self.send(self.REGISTRY, 0, struct.pack("II", self.names[interface], len(interface) + 1) +
                  text + struct.pack("II", 1, target))

    def activation_token(self):
        """As a launcher gets one for the program that it starts."""
        self.bind(b"xdg_activation_v1", self.ACTIVATION)
        self.send(self.ACTIVATION, 1, struct.pack("I", self.TOKEN))
        self.send(self.TOKEN, 3)
        for target, _, body in self.events():
            if target == self.TOKEN:
                return body[4:].rstrip(b"\0").decode()


class Desktop:
    """One of the three on an X server of its own."""
    def __init__(self, name, ratio=1):
        self.name, self.ratio = name, ratio
        self.screen = tuple(round(ratio * size) for size in SCREEN)
        self.directory = Path(tempfile.mkdtemp(prefix="desktop-"))
        self.processes = []
        self.is_black = False  # where there is no window
        strange = ("WAYLAND_DISPLAY", "SWAYSOCK", "DBUS_SESSION_BUS_ADDRESS")
        self.environment = {key: value for key, value in os.environ.items() if key not in strange}
        for key in ("HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME",
                    "XDG_RUNTIME_DIR"):
            self.environment[key] = str(self.directory)
        readable, writable = os.pipe()
        size = f"{self.screen[0] + 1}x{self.screen[1] + 1}x24"
        self.start("Xvfb", "-displayfd", writable, "-screen", 0, size,
                   "-nolisten", "tcp", "-noreset", pass_fds=[writable])
        self.environment |= {"DISPLAY": f":{os.read(readable, 16).decode().strip()}",
                             "LC_ALL": "C.UTF-8"}
        self.x = Display(self.environment["DISPLAY"])
        self.root = self.x.screen().root
        try:
            getattr(self, f"start_{name}")()
            self.ground = wait("an empty desktop", self.empty_picture)
        except BaseException:
            self.__exit__()
            raise

    def start_openbox(self):
        self.environment["QT_QPA_PLATFORM"] = "xcb"
        self.root.change_attributes(background_pixel=0xffffff)
        self.root.clear_area()
        self.root.change_property(Xatom.RESOURCE_MANAGER, Xatom.STRING, 8,
                                  f"Xft.dpi:\t{round(96 * self.ratio)}\n".encode())
        self.start("openbox", "--sm-disable")
        check = self.x.intern_atom("_NET_SUPPORTING_WM_CHECK")
        wait("openbox", lambda: self.root.get_full_property(check, X.AnyPropertyType))

    def start_weston(self):
        self.start_compositor("weston", "-c", self.written("weston.ini", WESTON),
                              f"--width={self.screen[0]}", f"--height={self.screen[1]}")

    def start_sway(self):
        version = subprocess.run(["sway", "--version"], capture_output=True, text=True, check=True)
        self.is_black = "1.7" not in version.stdout  # since then, nothing is drawn there
        self.environment |= {"WLR_BACKENDS": "x11", "WLR_RENDERER": "pixman"}
        self.start_compositor("sway", "-c", self.written("sway", SWAY.format(ratio=self.ratio)))

    def start_compositor(self, *command):
        self.start(*command)
        window = wait("a window on X", lambda: next(iter(self.root.query_tree().children), None))
        display = wait("a display", lambda: next(
            (path for path in self.directory.glob("wayland-*") if path.suffix != ".lock"), None))
        self.environment |= {"QT_QPA_PLATFORM": "wayland", "WAYLAND_DISPLAY": display.name}
        window.configure(x=0, y=0, width=self.screen[0], height=self.screen[1])
        wait("it is seen", lambda: window.get_attributes().map_state == X.IsViewable)
        window.set_input_focus(X.RevertToPointerRoot, X.CurrentTime)

    def written(self, name, text):
        path = self.directory / name
        path.write_text(text)
        return path

    def start(self, *command, environment=None, **options):
        self.processes.append(subprocess.Popen(
            list(map(str, command)), env=self.environment | (environment or {}), **options))
        return self.processes[-1]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.terminate()
            process.wait()
        shutil.rmtree(self.directory)

    def picture(self):
        """Its rows as numbers, red, green and blue of the leftmost pixel on top. weston mixes its
        colors with a rest of the black that it started from, so their last bits do not count."""
        data = self.root.get_image(0, 0, *self.screen, X.ZPixmap, 0xffffffff).data
        size = 4 * self.screen[0]
        mask = int.from_bytes(b"\xf8\xf8\xf8\0" * self.screen[0], "big")
        return [int.from_bytes(data[at:at + size], "big") & mask
                for at in range(0, len(data), size)]

    def empty_picture(self):
        self.move_to(*self.screen)  # weston may not have noticed a pointer that was there before it
        self.move_to(self.screen[0] // 2, self.screen[1] // 2)
        pixel = self.picture()[0].to_bytes(4 * self.screen[0], "big")[:4]
        ground = [int.from_bytes(pixel * self.screen[0], "big")] * self.screen[1]
        is_drawn = self.is_black or pixel != bytes(4)
        return ground if is_drawn and not any(self.box(ground)) else None

    def box(self, before=None, after=None):
        """Left, top, width and height of where two pictures differ, or of all windows. What is
        next to the pointer does not count; desktops paint it in different ways."""
        before, after = before or self.ground, after or self.picture()
        end = 32 * min(self.screen[0], self.screen[0] - self.at[0] + POINTER)
        begin = 32 * max(0, self.screen[0] - self.at[0] - POINTER)
        pointer = (1 << end) - (1 << begin)
        rows = []
        for y, (one, other) in enumerate(zip(before, after)):
            difference = one ^ other
            if difference and abs(y - self.at[1]) < POINTER:
                difference &= ~pointer
            if difference:
                rows.append((y, difference))
        if not rows:
            return 0, 0, 0, 0
        columns = functools.reduce(operator.or_, (row for _, row in rows))
        left = self.screen[0] - (columns.bit_length() + 31) // 32
        right = self.screen[0] - ((columns & -columns).bit_length() - 1) // 32
        return left, rows[0][0], right - left, rows[-1][0] + 1 - rows[0][0]

    def shows(self, what, is_so, before=None, patience=PATIENCE):
        """Waits until the box of what is on the desktop is right and stays."""
        def look():
            self.seen = self.box(before)
            return is_so(*self.seen) and self.box(before) == self.seen
        try:
            wait(what, look, patience)
        except AssertionError as error:
            raise AssertionError(f"{error}, but {self.seen}") from None
        return self.seen

    def fake(self, event, detail=0, x=0, y=0):
        xtest.fake_input(self.x, event, detail, x=x, y=y)
        self.x.sync()

    def move_to(self, x, y):
        self.at = [min(max(0, place), size) for place, size in zip((x, y), self.screen)]
        self.fake(X.MotionNotify, 0, x, y)

    def press(self, button=1):
        self.fake(X.ButtonPress, button)

    def release(self, button=1):
        self.fake(X.ButtonRelease, button)

    def click(self, x, y, button=1):
        """No faster than a hand: looking takes a time in which the programs notice."""
        for act in (lambda: self.move_to(x, y), lambda: self.press(button),
                    lambda: self.release(button)):
            act()
            self.picture()

    def double_click(self, x, y, what, expected):
        """Again when it was too slow for one, which changes nothing."""
        self.move_to(x, y)
        self.picture()
        for attempt in range(5):
            for act in (self.press, self.release) * 2:
                act()
            try:
                return self.shows(what, lambda *box: box == expected, patience=5)
            except AssertionError:
                if attempt == 4:
                    raise

    def keys(self, event, *names):
        for name in names:
            self.fake(event, self.x.keysym_to_keycode(XK.string_to_keysym(name)))

    def tap(self, *names):
        for name in names:
            self.keys(X.KeyPress, name)
            self.keys(X.KeyRelease, name)

    def state(self):
        """What the program has saved."""
        return next((json.loads(path.read_text()) for path in self.directory.rglob("state.json")), {})

    def drag(self, x, y, right, down, expected):
        """How far the window is behind depends on when the desktop took over; a hand follows up."""
        before = seen = self.box()
        to = x + right, y + down
        looks = 0
        def look():
            nonlocal seen, to, looks
            looks += 1  # back now and then, as it may have taken over from there
            self.move_to(*(to if looks % 8 or seen != before else (x, y)))
            last, seen = seen, self.box()
            if seen == last != before:
                to = tuple(to[i] + (expected[i] - seen[i] or sum(expected[i::2]) - sum(seen[i::2]))
                           for i in (0, 1))
            return seen == last == expected
        for _ in range(5):  # it may still be busy with what was before
            self.move_to(x, y)
            self.picture()
            self.press()
            self.picture()
            try:
                wait("", look, patience=3)
                break
            except AssertionError:
                self.release()
        else:
            raise AssertionError(f"never {expected}, but {seen}")
        self.release()
        self.shows("it stays", lambda *box: box == expected)

    def find(self, color, width, box=None):
        """The first place, in the box or anywhere, with so many pixels of that color in a row."""
        left, top, right, down = box or (0, 0, *self.screen)
        for y, row in enumerate(self.picture()[top:top + down], top):
            row = row.to_bytes(4 * self.screen[0], "big")
            at = row.find(color * width, 4 * left, 4 * (left + right))
            if at >= 0:
                return at // 4, y
        return None

    def popup(self, x, y, button=1):
        """Opens something, closes it and says where it was."""
        for _ in range(2):  # the first time, something may get the focus for good
            before = self.picture()
            self.click(x, y, button)
            box = self.shows("it is open", lambda left, top, width, height: height > 60, before)
            opened = self.picture()
            self.tap("Escape")
            self.shows("it is closed", lambda left, top, width, height: height > 60, opened)
        return box


class Program:
    SIZE = (1200, 720)

    def __init__(self, desktop, path):
        self.desktop = desktop
        self.log = desktop.directory / f"{len(desktop.processes)}.log"
        with self.log.open("w") as log:
            self.process = desktop.start(
                path, stderr=log, environment={"WAYLAND_DEBUG": "client"})
        size = tuple(round(size * desktop.ratio) for size in self.SIZE)
        self.box = desktop.shows("it is open", lambda *box: box[2:] == size)

    def click(self, x, y):
        self.desktop.click(self.box[0] + x, self.box[1] + y)

    def open_page(self, y):
        before = self.desktop.picture()
        self.click(30, y)
        self.desktop.shows("another page", lambda left, top, width, height: height > 200, before)

    def drag(self, x, y, right, down, growth):
        """By which left, top, width and height grow."""
        expected = tuple(map(operator.add, self.box, growth))
        self.desktop.drag(self.box[0] + x, self.box[1] + y, right, down, expected)
        self.box = expected


def test_window(desktop, program):
    left, top, width, height = program.box
    # Moved by the title bar.
    right, down = (40 if left < 200 else 160) - left, 60 - top
    program.drag(500, 24, right, down, (right, down, 0, 0))

    # Resized by each edge, and by a corner to the least size; window_manager_test has it on X11.
    if desktop.name == "weston":
        program.drag(width - 2, 300, 40, 0, (0, 0, 40, 0))
        program.drag(500, height - 2, 0, 40, (0, 0, 0, 40))
        program.drag(2, 300, -20, 0, (-20, 0, 20, 0))
        program.drag(500, 2, 0, -20, (0, -20, 0, 20))
        width, height = program.box[2:]
        program.drag(width - 2, height - 2, -1000, -600, (0, 0, 900 - width, 620 - height))

    # Maximized and restored.
    desktop.double_click(program.box[0] + 500, program.box[1] + 24, "maximized", (0, 0, *SCREEN))
    desktop.double_click(400, 24, "restored", program.box)

    # Minimized, and back by the keys of the desktop.
    program.click(program.box[2] - 51, 25)
    desktop.shows("minimized", lambda *box: not any(box))
    modifier = "Alt_L" if desktop.name == "openbox" else "Super_L"
    desktop.keys(X.KeyPress, modifier, "Tab")
    desktop.shows("offered again", lambda *box: any(box))
    desktop.keys(X.KeyRelease, "Tab", modifier)
    desktop.shows("back", lambda *box: box == program.box)


def test_parts(desktop, program):
    left, top, width, height = program.box
    # A menu at the pointer, where there is room.
    program.open_page(136)  # Keys
    x, y = left + 500, top + 400
    menu = desktop.popup(x, y, 3)
    assert abs(menu[0] - x) <= 2 and abs(menu[1] - y) <= 2 and menu[2] > 80, (menu, x, y)

    # A dialog in front of the window.
    box = desktop.popup(x, y)
    # weston lets dialogs lie anywhere.
    around = program.box if desktop.name == "openbox" else (0, 0, *desktop.screen)
    assert box[2] > 400 and all(around[i] < box[i] and box[i] + box[i + 2] < around[i] +
                                around[i + 2] for i in (0, 1)), (box, around)

    # The list of a selector below it.
    program.open_page(height - 34)  # Settings
    box = desktop.popup(left + 170, top + 145)
    assert abs(box[0] - left - 80) <= 10 and 120 < box[1] - top < 170 and box[2] > 180, box


def test_chord(desktop, program):
    """A key sends what is pressed, all without the pointer but for the menu."""
    program.open_page(136)  # Keys
    left, top, _, _ = program.box
    closed = desktop.picture()
    desktop.click(left + 500, top + 400, 3)
    desktop.shows("its menu", lambda left, top, width, height: height > 60, closed)
    desktop.tap("Down", "Down")
    chosen = desktop.picture()
    desktop.keys(X.KeyPress, "Return")  # no faster than a hand: weston lets only a held key open it
    desktop.shows("it asks", lambda left, top, width, height: height > 60, chosen)
    desktop.keys(X.KeyRelease, "Return")
    desktop.keys(X.KeyPress, "Shift_L", "x")
    desktop.keys(X.KeyRelease, "x", "Shift_L")
    def given():
        actions = desktop.state().get("layerBase", [])
        return [action for action in actions if action["page"] == 2]
    action, = wait("it is given", given)
    assert (action["p1"], action["p2"]) == (0x02, 0x1b), action


def test_recording(desktop, program):
    """Every key, also those that move the focus or press a button elsewhere."""
    program.open_page(190)  # Macros
    program.click(200, 300)
    before = desktop.picture()
    desktop.keys(X.KeyPress, "Control_L", "r")
    desktop.keys(X.KeyRelease, "r", "Control_L")
    box = desktop.shows("it records", lambda left, top, width, height: height > 200, before)
    is_recording = lambda: desktop.find(ORANGE, 200, box)  # the edge of the field
    wait("it is orange", is_recording)
    desktop.tap("a", "space", "Return", "Tab")
    desktop.keys(X.KeyPress, "Escape")
    wait("it is stopped", lambda: not is_recording())
    desktop.keys(X.KeyRelease, "Escape")
    desktop.tap("Return")
    def recorded():
        for macro in desktop.state().get("macros", []):
            return [(action["key"], action["flags"]) for action in macro["actions"]]
    expected = [(usage, flags) for usage in (0x04, 0x2c, 0x28, 0x2b) for flags in (0xb0, 0x30)]
    found = wait("it is added", recorded)
    assert found == expected, found


def test_drop(desktop, program, source):
    program.open_page(298)  # TFT Screen
    desktop.start(source, desktop.directory / "picture.png")
    x, y = wait("something to drag", lambda: desktop.find(CYAN, 60))
    start = x + 30, y + 30
    left, top, _, _ = program.box
    to = left + 700, top + (150 if y > top + 300 else 500)
    def drop():
        desktop.move_to(*start)
        desktop.press()
        for near in range(8):
            desktop.move_to(start[0] + near, start[1])
        for near in range(8):
            desktop.move_to(to[0] + near, to[1])
            desktop.picture()  # which takes its time, in which both programs notice
        desktop.release()
        try:
            return wait("the picture is there", lambda: desktop.find(CYAN, 100), patience=5)
        except AssertionError:
            return None  # they may have noticed too little of it
    wait("the picture is dropped", drop)


def test_second_start(desktop, program, path):
    """Brings the first to the front, as the launcher lets it."""
    program.open_page(136)  # what makes it differ from the other
    desktop.move_to(0, 0)
    left, top, width, height = program.box
    def look():
        return [row >> 32 * (desktop.screen[0] - left - width) & (1 << 32 * width) - 1
                for row in desktop.picture()[top:top + height]]
    # The button that the pointer has left takes a moment to show it.
    first = wait("it stands still", lambda: next(
        (seen for seen in [look()] if all(look() == seen for _ in range(5))), None))
    other = desktop.directory / "other"
    other.mkdir()
    desktop.start(path, environment={"XDG_CONFIG_HOME": str(other)})
    wait("the other is in front", lambda: look() != first)
    if desktop.name == "openbox":
        assert desktop.start(path).wait(60) == 0
        wait("the first is in front", lambda: look() == first)
        return
    # sway gives it the keys, but lays nothing that floats on top.
    desktop.environment["SWAYSOCK"] = str(next(desktop.directory.glob("sway-ipc.*")))
    def focused(node):
        return node["focused"] and node.get("pid") or next(filter(None, map(
            focused, node["nodes"] + node["floating_nodes"])), None)
    def has_focus(process):
        tree = subprocess.run(["swaymsg", "-r", "-t", "get_tree"], env=desktop.environment,
                              capture_output=True, check=True).stdout
        return focused(json.loads(tree)) == process.pid
    wait("the other has the keys", lambda: has_focus(desktop.processes[-1]))
    if desktop.is_black:  # a newer one, which trusts what it has started itself
        subprocess.run(["swaymsg", "-q", "exec", path], env=desktop.environment, check=True)
    else:
        token = Link(desktop.directory / desktop.environment["WAYLAND_DISPLAY"]).activation_token()
        assert desktop.start(path, environment={"XDG_ACTIVATION_TOKEN": token}).wait(60) == 0
    wait("the first has the keys", lambda: has_focus(program.process))


def test_dense_screen(desktop, program):
    """As large as elsewhere, and as sharp as the screen."""
    left, top, _, _ = program.box
    steps = 0  # from black to white between two pixels, in the title
    for row in desktop.picture()[top + 20:top + 60]:
        grays = row.to_bytes(4 * desktop.screen[0], "big")[4 * (left + 110):4 * (left + 340):4]
        steps += sum(abs(one - other) > 180 for one, other in zip(grays, grays[1:]))
    assert steps > 120, steps


def test_id(desktop, program):
    if desktop.name != "openbox":
        assert f'set_app_id("{ID}")' in program.log.read_text()
        return
    def below(window):
        yield window
        for child in window.query_tree().children:
            yield from below(child)
    assert CLASS in [(window.get_wm_class() or ("",))[-1] for window in below(desktop.root)]


def main(name, path, source):
    if name != "sway":  # which has neither maximizing nor minimizing
        with Desktop(name) as desktop:
            program = Program(desktop, path)
            test_id(desktop, program)
            test_parts(desktop, program)
            test_chord(desktop, program)
            test_recording(desktop, program)
            test_drop(desktop, program, source)
            test_window(desktop, program)
    if name != "weston":  # which knows no activation, and whole ratios only
        with Desktop(name) as desktop:
            test_second_start(desktop, Program(desktop, path), path)
        with Desktop(name, ratio=1.5) as desktop:
            test_dense_screen(desktop, Program(desktop, path))


if __name__ == "__main__":
    give_up_root()
    main(*sys.argv[1:])
