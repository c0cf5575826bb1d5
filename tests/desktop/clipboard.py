"""The clipboard of a virtual desktop: owned with any types, read back, watched."""

import select
import socket
import subprocess
import threading
import time

from Xlib import X, Xatom, display as xdisplay
from Xlib.ext import xfixes
from Xlib.protocol import event as xevent

from waiting import wait_until

PIECE_BYTES = 64 * 1024


def read(desktop, target="UTF8_STRING", selection="clipboard"):
    """The bytes of one target, or None when there is no owner or no such target."""
    done = subprocess.run(["xclip", "-o", "-selection", selection, "-t", target],
                          env=desktop.environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=30)
    return done.stdout if done.returncode == 0 else None


def targets(desktop):
    """The names of the targets that the clipboard's owner offers."""
    return (read(desktop, "TARGETS") or b"").decode().split()


class ClipboardOwner:
    """Offers the clipboard, or another selection, with the given contents, {target name: bytes}, as
    a program in which something was copied does. What is larger than 64 KiB goes out in pieces
    (INCR).

    `lost` is set once another client has taken the clipboard. A `silent` one never answers.
    """

    def __init__(self, desktop, contents, selection="CLIPBOARD", silent=False):
        self.silent = silent
        self.lost = threading.Event()
        self.x = xdisplay.Display(desktop.display)
        self.contents = {self.x.intern_atom(name): data for name, data in contents.items()}
        self.clipboard = self.x.intern_atom(selection)
        self.targets = self.x.intern_atom("TARGETS")
        self.incr = self.x.intern_atom("INCR")
        self.transfers = {}
        self.window = self.x.screen().root.create_window(0, 0, 1, 1, 0, X.CopyFromParent)
        self.window.set_selection_owner(self.clipboard, X.CurrentTime)
        self.x.sync()
        if self.x.get_selection_owner(self.clipboard) != self.window:
            raise RuntimeError("could not take the clipboard")
        threading.Thread(target=self._serve, daemon=True).start()

    def close(self):
        """Ends as a program does. To close the connection is not enough: who waits at it keeps it,
        and the X server has room for 256."""
        self.x.display.socket.shutdown(socket.SHUT_RDWR)

    def _serve(self):
        try:
            while True:
                event = self.x.next_event()
                if event.type == X.SelectionRequest and not self.silent:
                    self._answer(event)
                elif event.type == X.SelectionClear:
                    self.lost.set()
                elif event.type == X.PropertyNotify and event.state == X.PropertyDelete:
                    self._send_piece(event.window, event.atom)
        except Exception:  # The display has gone, and with it everybody who could ask.
            return

    def _answer(self, request):
        # An obsolete client names no property and means the target's name.
        name = request.property or request.target
        if request.target == self.targets:
            request.requestor.change_property(name, Xatom.ATOM, 32,
                                              [self.targets, *self.contents])
        elif (data := self.contents.get(request.target)) is None:
            name = X.NONE
        elif len(data) <= PIECE_BYTES:
            request.requestor.change_property(name, request.target, 8, data)
        else:
            request.requestor.change_attributes(event_mask=X.PropertyChangeMask)
            self.transfers[request.requestor.id, name] = (request.target, data, 0)
            request.requestor.change_property(name, self.incr, 32, [len(data)])
        request.requestor.send_event(xevent.SelectionNotify(
            time=request.time, requestor=request.requestor, selection=request.selection,
            target=request.target, property=name))
        self.x.flush()

    def _send_piece(self, window, name):
        if (window.id, name) not in self.transfers:
            return
        target, data, sent = self.transfers[window.id, name]
        piece = data[sent:sent + PIECE_BYTES]
        window.change_property(name, target, 8, piece)
        self.x.flush()
        if piece:
            self.transfers[window.id, name] = (target, data, sent + len(piece))
        else:
            del self.transfers[window.id, name]


class SelectionWatcher:
    """Notes every change of a selection's owner, without touching its contents.

    `changes` holds one (owner's window id, time.monotonic()) for each.
    """

    def __init__(self, desktop, selection="CLIPBOARD"):
        self.changes = []
        self.x = xdisplay.Display(desktop.display)
        self.x.xfixes_query_version()
        self.x.xfixes_select_selection_input(self.x.screen().root, self.x.intern_atom(selection),
                                             xfixes.XFixesSetSelectionOwnerNotifyMask
                                             | xfixes.XFixesSelectionWindowDestroyNotifyMask
                                             | xfixes.XFixesSelectionClientCloseNotifyMask)
        self.x.sync()
        threading.Thread(target=self._watch, daemon=True).start()

    def await_changes(self, count, timeout=20.0):
        """Waits until there were `count` changes; returns the time of that change."""
        wait_until(lambda: len(self.changes) >= count, f"change {count} of the clipboard",
                   timeout, interval=0.002)
        return self.changes[count - 1][1]

    def _watch(self):
        try:
            while True:
                select.select([self.x], [], [])
                moment = time.monotonic()
                for _ in range(self.x.pending_events()):
                    event = self.x.next_event()
                    if hasattr(event, "owner"):
                        owner = event.owner
                        self.changes.append((getattr(owner, "id", owner), moment))
        except Exception:  # The display has gone.
            return
