# SPDX-License-Identifier: MIT
"""The program on a Wayland desktop that nobody sees, sway, under a pointer of its own.
Usage: wayland_test.py PROGRAM"""

import json
import os
import pwd
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PATIENCE = 15  # seconds, for what takes a fraction of one
SCREEN = (1600, 1000)
LEFT, RIGHT = 272, 273
FAR = 20  # enough for a drag
CONFIGURATION = """
xwayland disable
default_floating_border none
focus_on_window_activation focus
for_window [app_id=".*"] floating enable
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
    """A client of its own, by which the desktop has a pointer as long as it lives."""
    REGISTRY, SYNC, MANAGER, POINTER, ACTIVATION, TOKEN = range(2, 8)

    def __init__(self, display):
        self.link = socket.socket(socket.AF_UNIX)
        self.link.connect(display)
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
        self.bind(b"zwlr_virtual_pointer_manager_v1", self.MANAGER)
        self.send(self.MANAGER, 0, struct.pack("II", 0, self.POINTER))

    def send(self, target, request, arguments=b""):
        self.link.sendall(struct.pack("IHH", target, request, 8 + len(arguments)) + arguments)

    def events(self):
        while True:
            while (len(self.received) < 8 or
                   len(self.received) < struct.unpack_from("IHH", self.received)[2]):
                self.received += self.link.recv(65536)
            target, event, size = struct.unpack_from("IHH", self.received)
            body, self.received = self.received[8:size], self.received[size:]
            yield target, event, body

    def bind(self, interface, target):
        text = interface + b"\0" * (4 - len(interface) % 4)
        self.send(self.REGISTRY, 0, struct.pack("II", self.names[interface], len(interface) + 1) +
                  text + struct.pack("II", 1, target))

    def move_to(self, x, y):
        self.send(self.POINTER, 1, struct.pack("IIIII", 0, x, y, *SCREEN))
        self.send(self.POINTER, 4)

    def button(self, button, is_down):
        self.send(self.POINTER, 2, struct.pack("III", 0, button, is_down))
        self.send(self.POINTER, 4)

    def activation_token(self):
        """As a launcher gets one for the program that it starts."""
        self.bind(b"xdg_activation_v1", self.ACTIVATION)
        self.send(self.ACTIVATION, 1, struct.pack("I", self.TOKEN))
        self.send(self.TOKEN, 3)
        for target, _, body in self.events():
            if target == self.TOKEN:
                return body[4:].rstrip(b"\0").decode()


class Desktop:
    def __init__(self, ratio=1):
        self.directory = directory = Path(tempfile.mkdtemp(prefix="wayland-"))
        names = ("HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR")
        os.environ.update(dict.fromkeys(names, str(directory)), WLR_BACKENDS="headless",
                          WLR_LIBINPUT_NO_DEVICES="1", WLR_RENDERER="pixman",
                          QT_QPA_PLATFORM="wayland", LC_ALL="C.UTF-8")
        os.environ.pop("SWAYSOCK", None)
        configuration = directory / "sway.conf"
        pixels = "x".join(str(round(size * ratio)) for size in SCREEN)
        configuration.write_text(
            CONFIGURATION + f"output HEADLESS-1 resolution {pixels} scale {ratio}\n")
        self.processes = []
        self.start("sway", "-c", configuration)
        socket_file = wait("sway runs", lambda: next(directory.glob("sway-ipc.*"), None))
        os.environ["SWAYSOCK"] = str(socket_file)
        display = wait("there is a display", lambda: next(
            (path for path in directory.glob("wayland-*") if path.suffix != ".lock"), None))
        os.environ["WAYLAND_DISPLAY"] = display.name
        self.pointer = Link(str(display))
        wait("there is a pointer", lambda: self.ask("-t", "get_seats")[0]["capabilities"])

    def start(self, *command, **options):
        self.processes.append(subprocess.Popen(list(map(str, command)), **options))
        return self.processes[-1]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.terminate()
            process.wait()
        shutil.rmtree(self.directory)

    def ask(self, *arguments):
        answer = subprocess.run(["swaymsg", "-r", *arguments], capture_output=True, check=True)
        return json.loads(answer.stdout)

    def windows(self):
        def inside(node):
            if node.get("pid"):
                yield node
            for child in node["nodes"] + node["floating_nodes"]:
                yield from inside(child)
        return list(inside(self.ask("-t", "get_tree")))

    def window(self, title):
        """Once it is open and stands still."""
        def look():
            found = [window for window in self.windows() if window["name"] == title]
            return found[0] if found and found[0]["visible"] else None
        return wait(f'"{title}" is open', look)


class Program:
    """The program; what it and the desktop say to each other stands in a file."""
    TITLE = "ZEROLT TAVIK Pro"

    def __init__(self, desktop, path):
        self.desktop = desktop
        self.log = desktop.directory / "wire.log"
        with self.log.open("w") as log:
            desktop.start(path, stderr=log, env=os.environ | {"WAYLAND_DEBUG": "client"})
        self.window()

    def window(self):
        return self.desktop.window(self.TITLE)

    def rect(self):
        found = self.window()["rect"]
        return found["x"], found["y"], found["width"], found["height"]

    def said(self, pattern, act, again=False, patience=PATIENCE):
        """Acts; the numbers in the first line behind it that matches. A hand may go on acting."""
        end = self.log.stat().st_size
        act()
        def look():
            found = re.search(pattern, self.log.read_text(errors="replace")[end:])
            if again and not found:
                act()
            return found
        return [int(number) for number in wait(pattern, look, patience).groups()]

    def point_at(self, x, y):
        """In its own window. It has noticed."""
        left, top, _, _ = self.rect()
        def point():
            for near in (1, 0):
                self.desktop.pointer.move_to(left + x + near, top + y)
        self.said(rf"wl_pointer@\d+\.(?:motion|enter)\(.* {x}\.0+, {y}\.0+\)", point, again=True)
        return left + x, top + y

    def drag(self, request, x, y, right, down, until):
        """It asks the desktop to take over, and the desktop goes on until the window lies so."""
        pointer = self.desktop.pointer
        def begin():
            pointer.button(LEFT, True)
            if request == "move":  # which a press is not yet
                pointer.move_to(x + FAR, y)
        inner = x, y
        for attempt in range(4):  # the window may not have its latest size yet
            x, y = self.point_at(*inner)
            try:
                self.said(rf"xdg_toplevel@\d+\.{request}\(", begin, patience=4)
                break
            except AssertionError:
                pointer.button(LEFT, False)
        else:
            raise AssertionError(f"never: {request}")
        def follow():
            for near in (1, 0):  # the desktop may just have begun
                pointer.move_to(x + right + near, y + down)
            return until(*self.rect())
        wait(f"{request}, but {self.rect()}", follow)
        pointer.button(LEFT, False)

    def click(self, x, y, button=LEFT):
        self.point_at(x, y)
        self.desktop.pointer.button(button, True)
        self.desktop.pointer.button(button, False)


def test_window(path):
    with Desktop() as desktop:
        program = Program(desktop, path)
        # Open.
        assert program.window()["app_id"] == "example.tavik_center.TavikCenter", program.window()
        assert program.rect()[2:] == (1200, 720), program.rect()
        assert program.window()["focused"]
        left, top, width, height = program.rect()

        # Moved by the title bar. How far depends on when the desktop has taken over.
        program.drag("move", 500, 24, FAR + 64, 40, lambda x, y, *size:
                     left < x <= left + FAR + 64 and top < y <= top + 40 and
                     size == (width, height))
        left, top, _, _ = program.rect()

        # Resized by an edge.
        program.drag("resize", width - 2, 300, 40, 0, lambda x, y, wide, high:
                     (x, y, high) == (left, top, height) and width < wide <= width + 40)
        width = program.rect()[2]

        # A menu at the pointer, where there is room.
        desktop.ask('[app_id="example.tavik_center.TavikCenter"] move position 200 20')
        wait("there is room", lambda: program.rect() == (200, 20, width, height))
        program.click(30, 136)  # Keys
        x, y = program.said(r"xdg_popup@\d+\.configure\((\d+), (\d+),",
                            lambda: program.click(500, 400, RIGHT))
        assert abs(x - 500) <= 2 and abs(y - 400) <= 2, (x, y)
        program.said(r"xdg_popup@\d+\.destroy\(\)", lambda: program.click(1190, 700))

        # A dialog in front of the window, to which it belongs; sway puts it in mid-screen.
        program.said(r"xdg_toplevel@\d+\.set_parent\(xdg_toplevel@(\d+)\)",
                     lambda: program.click(500, 400))
        dialog = desktop.window("Assign key")
        box = dialog["rect"]
        wait("it is in front", lambda: desktop.window("Assign key")["focused"])
        assert (2 * box["x"] + box["width"], 2 * box["y"] + box["height"]) == SCREEN, box
        desktop.ask(f'[con_id={dialog["id"]}] kill')
        wait("it is closed", lambda: len(desktop.windows()) == 1)

        # The list of a selector below it.
        program.click(30, 686)  # Settings
        x, y, list_width = program.said(r"xdg_popup@\d+\.configure\((\d+), (\d+), (\d+),",
                                        lambda: program.click(170, 145))
        assert 70 <= x <= 90 and 150 <= y <= 170 and list_width > 180, (x, y, list_width)
        program.said(r"xdg_popup@\d+\.destroy\(\)", lambda: program.click(1190, 700))

        # sway has neither of the two; the program asks for them.
        program.said(r"xdg_toplevel@\d+\.set_minimized\(\)", lambda: program.click(width - 51, 25))
        def double_click():
            program.click(500, 24)
            program.click(500, 24)
        program.said(r"xdg_toplevel@\d+\.set_maximized\(\)", double_click)

        # Resized by a corner, not below the least size.
        program.drag("resize", width - 2, height - 2, -1000, -600,
                     lambda *rect: rect == (200, 20, 900, 620))

        # A second start brings the first to the front, as the launcher lets it.
        other = desktop.directory / "other"
        other.mkdir()
        desktop.start(path, env=os.environ | {"XDG_CONFIG_HOME": str(other)})
        first = wait("there are two", lambda: [window for window in desktop.windows()
                                               if not window["focused"]])[0]["pid"]
        token = {"XDG_ACTIVATION_TOKEN": desktop.pointer.activation_token()}
        assert subprocess.run([path], timeout=60, env=os.environ | token).returncode == 0
        wait("the first is in front", lambda: [window["pid"] for window in desktop.windows()
                                               if window["focused"]] == [first])


def test_dense_screen(path):
    """As large as elsewhere, and sharp: with more pixels than it has, scaled down by it."""
    with Desktop(ratio=1.5) as desktop:
        program = Program(desktop, path)
        assert program.rect()[2:] == (1200, 720), program.rect()
        log = program.log.read_text()
        surface = re.search(r"get_xdg_surface\(.*, wl_surface@(\d+)\)", log)[1]
        assert f"wl_surface@{surface}.set_buffer_scale(2)" in log
        program.click(30, 136)
        program.said(rf"wl_surface@({surface})\.commit\(\)", lambda: program.click(500, 400, RIGHT))


give_up_root()
test_window(sys.argv[1])
test_dense_screen(sys.argv[1])
